#pragma once

#include <cstdint>

namespace lumora {

/// The built-in limits of the processors pipeline.
class LMDefaultConfig {
public:
    /// Seconds. An ad that is shown for longer is no longer looked at.
    static constexpr int64_t maxScreenshotTime() { return 300; }
    /// How many ads are looked at in one tick.
    static constexpr int64_t maxCountOfActiveAd() { return 4; }
    /// Kept beside the others; nobody reads it.
    static constexpr int64_t screenshotInterval() { return 4; }
};

} // namespace lumora
