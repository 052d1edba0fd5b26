#pragma once

namespace lumora {

/// Remembers, in the user defaults, whether the library has run on this installation before. Main thread.
class LMFirstTimeLaunchDetector {
public:
    static LMFirstTimeLaunchDetector& sharedInstance();

    /// True exactly once per installation: asking consumes the answer.
    bool isFirstLaunch();
    void markAsFirstLaunchHappened();
    bool getValue() const;
};

} // namespace lumora
