#pragma once

namespace lumora {

/// The event pipeline's one question. Stateless; any thread.
class LMInternetReachabilityChecker {
public:
    static bool isInternetAvailable();
};

} // namespace lumora
