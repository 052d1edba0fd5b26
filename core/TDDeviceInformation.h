#pragma once

#include <string>

namespace lumora {

/// What both services are told about device, host application and library. Stateless; every call reads
/// afresh. Any thread.
class TDDeviceInformation {
public:
    /// The per-vendor identifier, as the platform writes it.
    static std::string getUUID();
    static std::string getOSVersion();
    /// "no internet", "mobile internet", "WIFI" or "no access to connection type".
    static std::string getConnectionType();
    static std::string getBundleID();
    /// The host's CFBundleVersion, its build number. Kept: the services expect the crossing with
    /// `getBuildNumber`.
    static std::string getAppVersion();
    /// The host's CFBundleShortVersionString, its marketing version. Kept: see `getAppVersion`.
    static std::string getBuildNumber();
    /// "No Carrier" without a SIM.
    static std::string getCarrierName();
    /// The library's version and build, joined by a colon; ":" when its bundle is missing.
    static std::string getLMVersion();
    static std::string getLMVersionWithoutBuild();
    /// The device's generic model name.
    static std::string getDeviceName();
    static bool isAdTrackingEnabled();
    static std::string getIDFA();
};

} // namespace lumora
