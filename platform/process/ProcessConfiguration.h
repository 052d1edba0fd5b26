#pragma once

#include "platform/foundation/Value.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumora {

class Console;
class Executor;
class HTTPTransport;
class NetworkPath;

/// What `UIDevice`, the advertising identifier manager and the telephony information answer.
struct DeviceFacts {
    std::string model { "iPhone" };
    std::string systemVersion { "13.3" };
    std::string identifierForVendor;
    /// Nothing when the device has none.
    std::optional<std::string> advertisingIdentifier;
    bool advertisingTrackingEnabled { false };
    /// Nothing without a SIM.
    std::optional<std::string> carrierName;
};

/// The main screen, in points, and its scale in pixels per point.
struct ScreenFacts {
    double width { 375 };
    double height { 812 };
    double scale { 2 };
    /// What the safe area leaves free at the top and the bottom of a full-screen window.
    double safeAreaTop { 44 };
    double safeAreaBottom { 34 };
};

/// Everything a process is made from. What is left empty is filled with this machine's own facility.
struct ProcessConfiguration {
    /// The application's home folder; user defaults, documents and logs live under it.
    std::filesystem::path home;
    /// Made once; the real clock and threads when absent.
    std::function<std::unique_ptr<Executor>(class Process&)> makeExecutor;
    /// The host application's information dictionary, and its bundle identifier: the program's name when
    /// empty.
    NSDictionary mainBundleInfo;
    std::string mainBundleIdentifier;
    /// The library's bundle: a folder with Info.json, interface files, images and fonts.
    std::filesystem::path libraryBundle;
    DeviceFacts device;
    ScreenFacts screen;
    std::shared_ptr<HTTPTransport> transport;
    std::shared_ptr<NetworkPath> network;
    std::shared_ptr<Console> console;
};

/// Fills what is empty in a configuration with this machine's facilities: home folder, real executor, HTTP
/// client, network state, console on standard error, the installed library bundle. Defined by the platform
/// that is linked.
ProcessConfiguration completed(ProcessConfiguration configuration);

} // namespace lumora
