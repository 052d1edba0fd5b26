#include "hashing/UIImageHashing.h"
#include "platform/foundation/NSString.h"
#include "service/LMAPI.h"
#include "tests/platform/drawing/Pixels.h"
#include "tests/world/World.h"

namespace lumora {
namespace {

using test::World;

/// The library's client and the service's stand-in, which know nothing of each other but the protocol.
class CollectorRoundTrip : public testing::Test {
protected:
    CollectorRoundTrip() { world.start(); }
    /// What became of a batch with one ad for each screenshot's hash.
    std::string sendBatch(const std::vector<std::string>& hashes)
    {
        NSArray ads;
        for (const std::string& hash : hashes)
            ads.emplace_back(NSDictionary { { "phash", hash } });
        std::string outcome;
        auto missing = [&](const NSDictionary& items, const NSDictionary&) {
            outcome = "missing " + items["images"].description();
        };
        LMAPI::sendStoredData(
            ads, missing, missing, [&](const auto&, const NSDictionary&) { outcome = "failed"; },
            [&](bool, const NSDictionary&) { outcome = "delete all"; });
        world.phone.clock().advance(1);
        return outcome;
    }

    World world;
    CollectorService& collector { world.services.collector() };
};

TEST_F(CollectorRoundTrip, OpensWhatWasEncrypted)
{
    std::vector<bool> delivered;
    auto note = [&](bool outcome) { delivered.push_back(outcome); };
    LMAPI::sendComplaintInfo(
        NSDictionary { { "reason", "m\u00FCde \U0001F4A4" }, { "model", "mine" } }, note);
    LMAPI::sendEventInfo(NSDictionary { { "type", "tap" } }, true, note);
    LMAPI::sendEventInfo(NSDictionary { { "type", "tap/2" } }, false, note);
    world.phone.clock().advance(1);
    EXPECT_EQ(delivered, (std::vector<bool> { true, true, true }));
    const NSDictionary complaint = soleObjectIn(collector.complaints().at(0).decrypted);
    EXPECT_EQ(complaint["reason"], "m\u00FCde \U0001F4A4");
    EXPECT_EQ(complaint["model"], "mine") << "the caller's fields win";
    EXPECT_EQ(
        soleObjectIn(collector.events().at(0).decrypted)["event"], (NSDictionary { { "type", "tap" } }));
    EXPECT_EQ(soleObjectIn(collector.events().at(1).body)["event"], (NSDictionary { { "type", "tap/2" } }));
}

TEST_F(CollectorRoundTrip, BringsWhatABatchLacks)
{
    const std::string here = getPHash(test::patterned(40, 40, true));
    const std::string late = getPHash(test::patterned(41, 50, true));
    LMAPI::sendScreenshot(NSDictionary { { "phash", here } }, nullptr, nullptr);
    world.phone.clock().advance(1);
    EXPECT_EQ(sendBatch({ here, late }), "missing (" + late + ")");
    LMAPI::sendScreenshot(NSDictionary { { "phash", late } }, nullptr, nullptr);
    world.phone.clock().advance(1);
    EXPECT_EQ(sendBatch({ here, late }), "delete all");
    EXPECT_EQ(collector.batches().size(), 2U);
    world.setServiceAway(true);
    EXPECT_EQ(sendBatch({ here }), "failed");
}

} // namespace
} // namespace lumora
