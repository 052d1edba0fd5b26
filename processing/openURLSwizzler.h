#pragma once

#include "platform/objc/ClassRegistry.h"

#include <optional>
#include <string>

namespace lumora {

/// Looks on while the host opens addresses and store sheets. Its hooks pass everything through and raise
/// nothing; they keep the product of the last store sheet that was asked for. Stateless but for that; any
/// thread.
class openURLSwizzler final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Installs the four hooks.
    static void swizzleMethods();
    /// Kept: does nothing.
    static void customURLOpening(const Value& url);

    /// The product that the process's last store sheet was asked for; unset before one was.
    static std::optional<std::string> lastAppStoreId();
    /// Its address on the public app store.
    static std::optional<std::string> lastAppStoreAddress();
};

} // namespace lumora
