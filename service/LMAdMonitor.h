#pragma once

#include "platform/objc/Object.h"

namespace lumora {

class NSTimer;

/// Asks every live report button for its ad's record, as often as the configuration says. One per process;
/// main thread.
class LMAdMonitor final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static LMAdMonitor& sharedInstance();

    /// Re-arms the timer and runs a round when the configuration wants rounds; on the main queue.
    void configTimer();
    void sendAllAds();

private:
    std::shared_ptr<NSTimer> m_timer;
};

}
