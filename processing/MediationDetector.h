#pragma once

#include "platform/objc/Class.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// Tells which networks had a part in an ad: the one whose view it is, and those whose views lie around it,
/// because one network's ad is often served by another. Stateless; main thread, as it walks the views. What a
/// network's own view or processor raises passes through.
class MediationDetector {
public:
    /// The classes of the processors that the ad and the views around it have, the outermost first; views
    /// without one are left out. Unset for no view and for exactly a `UIWindow`.
    static std::optional<std::vector<Class>> checkForMediation(Object* view);
    /// {"name": ..., "version": ...} as reported: those of all networks in the chain, joined by ":", when the
    /// innermost one is the given processor's; else of that innermost one and the processor's own.
    static NSDictionary getFinalSDKNameAndVersion(Object* view, Class processor);
    /// Whether the innermost network of the chain has another name.
    static bool isAdMediated(Object* view, std::string_view sdkName);
    /// Does nothing: kept for those who call it, it has no output.
    static void printSuperviews(Object*, int64_t) { }
};

} // namespace lumora
