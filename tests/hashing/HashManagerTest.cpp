#include "hashing/HashManager.h"

#include "platform/foundation/NSTimer.h"
#include "platform/objc/Message.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

TEST(HashManager, EndsTheTimerWhenTheLifetimeChanges)
{
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
    HashManager& manager = HashManager::sharedInstance();
    EXPECT_EQ(manager.maxAdsCount(), 3u);
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        100, make<NSObject>(), sel_registerName("description"), true);
    manager.setExpiryTimer(timer);
    manager.setAdsTTL(100);
    EXPECT_TRUE(timer->isValid()) << "as it was";
    manager.setAdsTTL(-1);
    EXPECT_FALSE(timer->isValid());
    EXPECT_FALSE(manager.expiryTimer());
}

} // namespace lumora
