#include "interception/TDMetadataClassProtocol.h"
#include "processing/ProcessorsManager.h"
#include "simulator/networks/StandIns.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::World;

std::string nameOf(const testing::TestParamInfo<const StandInNetwork*>& info) { return info.param->name; }

/// The rows of one network. A row is an ad of a format with what it is told to get wrong.
class NetworksTest : public testing::TestWithParam<const StandInNetwork*> {
protected:
    using Fields = std::map<std::string, std::string>;
    static std::string rowName(const StandInFormat& format, int place, const std::string& fault)
    {
        return std::string { GetParam()->name } + "/" + format.name + "/" + std::to_string(place) + " "
            + fault;
    }

    /// Shows an ad in a process that has only this network's SDK, and expects its processor, the button on
    /// its view, and impression and report to say what the ad says, the `lost` fields apart.
    static StandInAd::Steps check(const StandInFormat& format, int place, const StandInFault& fault,
        const std::vector<std::string>& lost, const std::string& name)
    {
        SCOPED_TRACE(name);
        World world(onlyWith(*GetParam()));
        world.start();
        StandInAd ad(*world.phone.window().rootViewController(), place, fault);
        EXPECT_NO_THROW(format.show(ad));
        world.phone.wait(1.1);
        EXPECT_EQ(takeReceived(), ad.sent());
        if (std::find(lost.begin(), lost.end(), anything) != lost.end())
            return ad.steps();
        // A key that raises gives its object a class of its own, and only exactly a web view has a delegate
        // that tells its network.
        if (!fault.raisingStep.starts_with("WKWebView:"))
            expectProcessor(ad, lost);

        const auto button = ad.adView ? directButtonOn(*ad.adView) : nullptr;
        const bool isDue = ad.adView && std::find(lost.begin(), lost.end(), "button") == lost.end();
        EXPECT_EQ(button != nullptr, isDue);
        EXPECT_EQ(world.service.impressions().size(), isDue ? 1u : 0u);
        if (!button || !isDue)
            return ad.steps();
        button->buttonHandler()->sendReportWithInfo("fraud");
        world.phone.wait(0.5);
        EXPECT_EQ(fieldsOf(world.lastReport(), "adFormat"), expectedFields(ad, lost, true));
        EXPECT_EQ(fieldsOf(world.lastImpression(), "adType"), expectedFields(ad, lost, false));
        return ad.steps();
    }

    template <typename Row> static void forEachPlace(const Row& row)
    {
        for (const StandInFormat& format : GetParam()->formats) {
            for (int place = 0; place < format.places; place++)
                row(format, place);
        }
    }

    static constexpr const char* anything = "anything";

private:
    /// Every processor is of the ad's; the newest, which a report asks, says what the ad says.
    static void expectProcessor(const StandInAd& ad, const std::vector<std::string>& lost)
    {
        Fields found;
        for (const auto& processor : ProcessorsManager::sharedInstance().getAllProcessors()) {
            EXPECT_TRUE(found.empty() || found["class"] == processor->isa()->name());
            found
                = { { "class", processor->isa()->name() }, { "sdk", send(processor->isa(), sel::getSDKName) },
                      { "sdkVersion", send(processor->isa(), sel::getVersion) },
                      { "adFormat", processor->getAdFormatInString() },
                      { "creativeId", processor->getCreativeID() },
                      { "placementId", processor->getPlacementID() } };
        }
        Fields expected;
        for (const auto& [name, value] : ad.expectedOfProcessor(lost))
            expected[name] = value.description();
        EXPECT_EQ(found, expected);
    }
    static World::Options onlyWith(const StandInNetwork& network)
    {
        return { .adjust = [&network](Phone::Options& options) {
            options.onBoot = network.install;
            // Every report carries a picture of the ad.
            options.screen
                = { .width = 320, .height = 120, .scale = 1, .safeAreaTop = 0, .safeAreaBottom = 0 };
        } };
    }
    static std::shared_ptr<TDReportButtonView> directButtonOn(UIView& adView)
    {
        for (const auto& subview : adView.subviews()) {
            if (auto button = as<TDReportButtonView>(subview))
                return button;
        }
        return nullptr;
    }
    static Fields fieldsOf(const NSDictionary& body, const char* format)
    {
        Fields fields { { "adFormat", body[format].description() } };
        for (const char* name : { "sdk", "sdkVersion", "creativeId" })
            fields[name] = body[name].description();
        const Value& metadata = body["metadata"];
        for (const auto& [name, value] : metadata.isDictionary() ? *metadata.dictionary() : NSDictionary {})
            fields[name] = value.description();
        fields.erase("config");
        return fields;
    }
    static Fields expectedFields(const StandInAd& ad, const std::vector<std::string>& lost, bool isReport)
    {
        NSDictionary expected { { "creativeId", "" }, { "placementId", "" } };
        expected.addEntriesFrom(ad.expected());
        expected.remove("button");
        for (const std::string& field : lost) {
            if (const Value& otherwise = ad.expectedOtherwise()[field]; !otherwise.isNothing())
                expected.set(field, otherwise);
            else if (field == "creativeId" || field == "placementId")
                expected.set(field, "");
            else
                expected.remove(field);
        }
        Fields fields;
        for (const auto& [name, value] : expected) {
            const bool isBasic
                = name == "sdk" || name == "sdkVersion" || name == "adFormat" || name == "creativeId";
            if (isReport || isBasic)
                fields[name] = value.description();
        }
        return fields;
    }
};

TEST_P(NetworksTest, AdsAreReportedAsWhatTheyAre)
{
    forEachPlace([](const StandInFormat& format, int place) {
        check(format, place, {}, {}, rowName(format, place, ""));
    });
    for (const StandInFormat& format : GetParam()->formats)
        check(
            format, StandInAd::everyPlace, {}, {}, rowName(format, StandInAd::everyPlace, "the first wins"));
}

TEST_P(NetworksTest, AdsAreSeenWithoutTheirPages)
{
    for (const StandInFormat& format : GetParam()->formats)
        check(format, 0, { .silentDelegates = true }, {}, rowName(format, 0, "silent pages"));
}

TEST_P(NetworksTest, ALostKeyLosesExactlyWhatIsReadThroughIt)
{
    forEachPlace([](const StandInFormat& format, int place) {
        for (const auto& [step, fields] : check(format, place, {}, {}, rowName(format, place, ""))) {
            check(format, place, { .renamedStep = step }, fields, rowName(format, place, step + " renamed"));
            if (!step.starts_with("key:"))
                check(
                    format, place, { .raisingStep = step }, fields, rowName(format, place, step + " raises"));
        }
    });
}

TEST_P(NetworksTest, WithoutItsPrivateObjectsTheSDKRunsOn)
{
    for (const StandInFormat& format : GetParam()->formats) {
        check(format, 0, { .nothingPrivate = true }, { anything }, rowName(format, 0, "nothing private"));
        check(format, 0, { .noCreative = true }, { anything }, rowName(format, 0, "no creative"));
    }
}

INSTANTIATE_TEST_SUITE_P(All, NetworksTest, testing::ValuesIn(allStandIns()), &nameOf);
INSTANTIATE_TEST_SUITE_P(Alone, NetworksTest, testing::Values(&aatKitStandIn()), &nameOf);

} // namespace
} // namespace lumora
