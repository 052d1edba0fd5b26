#include "interception/TDMetadataClassProtocol.h"
#include "platform/webkit/WKWebView.h"
#include "simulator/networks/StandIn.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

using tests::World;

TEST(MoPubHookTest, TheButtonSitsOnTheWebViewAndTheImpressionNamesTheCreative)
{
    World world;
    world.start();
    const auto banner = world.showMoPub();
    const auto button = tests::buttonOn(*banner);
    ASSERT_TRUE(button);
    EXPECT_TRUE(as<WKWebView>(button->superview()));
    const NSDictionary impression = world.lastImpression();
    EXPECT_EQ(impression["sdk"], Value { "MoPub" });
    EXPECT_EQ(impression["sdkVersion"], Value { MoPubStandIn::version });
    EXPECT_EQ(impression["adType"], Value { "banner" });
    EXPECT_EQ(impression["creativeId"], Value { "dsp-1" });
}

TEST(MoPubHookTest, TheBuyersCreativeComesFirst)
{
    World world;
    world.start();
    world.showMoPub({ .html = "", .creativeId = "own" });
    EXPECT_EQ(world.lastImpression()["creativeId"], Value { "own" });
    world.showMoPub({ .html = "" });
    EXPECT_EQ(world.lastImpression()["creativeId"], Value { "" }) << "empty, never absent";
}

TEST(MoPubHookTest, AnotherThreadAndAForeignViewDoNoHarm)
{
    World world;
    world.start();
    const auto banner = MoPubStandIn::makeBanner({ 300, 250 });
    const auto noView = make<NSObject>();
    EXPECT_NO_THROW(send<void>(banner.get(), "managerDidLoadAd:"_sel, static_cast<id>(nullptr)));
    std::thread network([&] { send<void>(banner.get(), "managerDidLoadAd:"_sel, static_cast<id>(nullptr)); });
    network.join();
    world.phone.wait(2);
    EXPECT_FALSE(tests::buttonOn(*banner));
}

TEST(GoogleHookTest, AdMobAndAdManagerAreToldApartByTheClassName)
{
    World world;
    world.start();
    const std::pair<const char*, const char*> rows[]
        = { { "GADBannerView", "AdMob" }, { "DFPBannerView", "DFP" } };
    for (const auto& [className, sdk] : rows) {
        const auto banner = GoogleStandIn::makeBanner({ 320, 50 }, className);
        world.phone.content().addSubview(banner);
        GoogleStandIn::load(*banner, { .html = "", .debugText = "0=987 crid:12345" });
        world.phone.wait(1.1);
        EXPECT_EQ(world.lastImpression()["sdk"], Value { sdk });
        EXPECT_EQ(world.lastImpression()["creativeId"], Value { "987" }) << "the first prefix wins";
        EXPECT_EQ(world.lastImpression()["sdkVersion"], Value { GoogleStandIn::version });
    }
}

TEST(GoogleHookTest, MissingPrivateObjectsMeanNoButton)
{
    World world;
    world.start();
    const auto banner = GoogleStandIn::makeBanner({ 320, 50 });
    object_setInstanceVariable(*banner, "_bannerView", standInObject("GADOBannerView", {}));
    // The stand-in itself needs its objects: what it raises is the network's own business and passes through.
    EXPECT_THROW(
        send<void>(banner.get(), "adViewDidReceiveAd:"_sel, static_cast<id>(nullptr)), std::exception);
    world.phone.wait(2);
    EXPECT_FALSE(tests::buttonOn(*banner));
    EXPECT_EQ(world.service.impressions().size(), 0u);
}

std::string googleCreativeId(const std::string& debugText)
{
    auto protection = standInObject("P", { { "_debugDialogString", debugText } });
    auto delegate = standInObject("D", { { "_clickProtection", protection } });
    auto support = standInObject("S", { { "_delegate", delegate } });
    return send(NSClassFromString("TDMetaclass_AdMobV42_banner"),
        sel::getCreativeIDWithObject_withSupportObject, static_cast<id>(nullptr), support);
}

TEST(GoogleMetadataTest, CreativeIdsOutOfTheDebugText)
{
    Phone phone { {} };
    const std::pair<const char*, const char*> rows[] = {
        { "crid:12345", "12345" },
        { "x crid:1 0=987", "987" },
        { "CRID:77", "77" },
        { "crid:", "" },
        { "0=abc crid:5x", "5" },
        { "", "" },
    };
    for (const auto& [text, creativeId] : rows)
        EXPECT_EQ(googleCreativeId(text), creativeId) << text;
    EXPECT_EQ(
        send(NSClassFromString("TDMetaclass_AdMobV42_banner"), sel::getCreativeIDWithObject_withSupportObject,
            static_cast<id>(nullptr), static_cast<id>(nullptr)),
        "");
}

TEST(GoogleMetadataTest, VersionsWithAndWithoutTheirClasses)
{
    Phone phone { {} };
    const Class metaclass = NSClassFromString("TDMetaclass_AdMobV42_banner");
    EXPECT_EQ(send(metaclass, sel::getVersion), "version param is not available");
    static const auto seven = +[](id, SEL) { return std::string { "7.0" }; };
    static const auto eight = +[](id, SEL) { return std::string { "8.0" }; };
    ClassBuilder("GADRequest", classOf<NSObject>()).classMethod("sdkVersion"_sel, seven);
    EXPECT_EQ(send(metaclass, sel::getVersion), "7.0");
    ClassBuilder("GADORequest", classOf<NSObject>()).classMethod("sdkVersion"_sel, eight);
    EXPECT_EQ(send(metaclass, sel::getVersion), "8.0");
    EXPECT_EQ(send(NSClassFromString("TDMetaclass_MoPub_banner"), sel::getVersion),
        "version param is not available");
}

TEST(GoogleMetadataTest, AmazonsBidIsKnownByAllItsKeys)
{
    Phone phone { {} };
    NSDictionary targeting { { "amzn_b", "1" }, { "amzn_h", "1" }, { "amznp", "1" }, { "amznrdr", "1" },
        { "amznslots", "1" }, { "dc", "1" } };
    const auto infoFor = [](const NSDictionary& entries) {
        const auto view = standInObject(
            "V", { { "_lastRequest", standInObject("R", { { "_customTargeting", entries } }) } });
        return send(NSClassFromString("TDMetaclass_DFPV42_banner"), sel::getOtherInfoForView, view);
    };
    EXPECT_EQ(infoFor(targeting), (Value { NSDictionary { { "DTB(Amazon)", "" } } }));
    targeting.remove("dc");
    EXPECT_TRUE(infoFor(targeting).isNothing());
    EXPECT_TRUE(send(
        NSClassFromString("TDMetaclass_DFPV42_banner"), sel::getOtherInfoForView, static_cast<id>(nullptr))
                    .isNothing());
}

} // namespace
} // namespace lumora
