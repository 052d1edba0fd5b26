#include "interception/TDMetadataClassProtocol.h"
#include "platform/webkit/WKWebView.h"
#include "simulator/networks/StandIn.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

using tests::World;

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

} // namespace
} // namespace lumora
