#pragma once

#include <optional>
#include <string>

namespace lumora {

/// The advertising identifier of the device, from the process's configuration. Any thread.
class ASIdentifierManager {
public:
    /// Nothing when the device has none.
    static std::optional<std::string> advertisingIdentifier();
    static bool isAdvertisingTrackingEnabled();
};

/// The telephony facts of the device, from the process's configuration. Any thread.
class CTTelephonyNetworkInfo {
public:
    /// Nothing without a SIM.
    static std::optional<std::string> carrierName();
};

} // namespace lumora
