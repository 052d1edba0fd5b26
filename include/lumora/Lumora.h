#pragma once

#include <string>
#include <string_view>

/// Which build this is: "@(#)PROGRAM:Lumora  PROJECT:Lumora-3" and a line feed.
extern "C" const char LumoraVersionString[];
/// The build as a number: 3.0.
extern "C" const double LumoraVersionNumber;

namespace lumora {

/// The library's front door. A host calls `initiateTrackerWithKey` once, early, on its main thread;
/// everything else starts from there. Holds no state of its own.
class Lumora {
public:
    /// Checks the authorisation key, hands it to the services' client and starts the library, once per
    /// process. A key of fewer than 30 characters after trimming is refused with a line on the system
    /// console, and nothing is touched; a later call with a valid one still starts. A second valid call
    /// replaces the key. Calls that come while start-up runs on another thread wait for it. Any thread; never
    /// throws, never waits for the network.
    static void initiateTrackerWithKey(std::string_view key);
    /// The same for a text that may be null, which counts as empty.
    static void initiateTrackerWithKey(const char* key)
    {
        initiateTrackerWithKey(std::string_view { key ? key : "" });
    }
    static void initiateTrackerWithKey(const std::string& key)
    {
        initiateTrackerWithKey(std::string_view { key });
    }

private:
    static void initAutomaticMode();
    static void setupSwizzlers();
    static void setupPlacements();
    static void enableDB();
};

} // namespace lumora
