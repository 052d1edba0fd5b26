#pragma once

#include "platform/objc/Object.h"

#include <optional>
#include <string>

namespace lumora {

/// The last resort for the creative of a Google ad: what the SDK keeps for its own debugging. Stateless; main
/// thread. Every step that finds nothing is logged as an error.
class LMGoogleCreativeIdHelper {
public:
    /// From the delegate of the view around the ad object: the creative in its debug texts; else an
    /// identifier of the query or of the request, with its label, as the services know it. Unset if none.
    static std::optional<std::string> getCreativeIdWithAdObject(Object* adObject);
    /// The digits behind the last label "Creative+ID+0=" in a debug text, letter case ignored. Unset if none.
    static std::optional<std::string> getCreativeIDFromDebugString(const Value& debugString);
};

} // namespace lumora
