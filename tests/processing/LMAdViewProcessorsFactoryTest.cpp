#include "processing/LMAdViewProcessorsFactory.h"

#include "lumora/LMLog.h"
#include "platform/webkit/WKWebView.h"
#include "processing/ProxyDelegate.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

class LMAdViewProcessorsFactoryTest : public testing::Test {
protected:
    LMAdViewProcessorsFactoryTest()
    {
        ClassBuilder("DFPBannerView", standInClass("GADBannerView", classOf<UIView>()));
    }
    static std::string processorFor(id object, id delegate)
    {
        return NSStringFromClass(LMAdViewProcessorsFactory::getProcessorClassForObject(object, delegate));
    }
    static std::shared_ptr<UIView> viewOf(const char* className)
    {
        auto made = alloc<UIView>(standInClass(className, classOf<UIView>()));
        send(made, sel::initWithFrame, CGRect { { 0, 0 }, { 10, 10 } });
        return made;
    }

    Phone phone { {} };
};

TEST_F(LMAdViewProcessorsFactoryTest, ObjectsAndDelegatesByTheirKind)
{
    struct Row {
        const char* processor;
        std::vector<std::string> kinds;
    };
    const Row objects[] = {
        { "LMGADInterstitialProcessor", { "GADInterstitial" } },
        { "LMAdColonyInterstitialProcessor", { "AdColonyInterstitial" } },
        { "LMMoPubBannerProcessor", { "MPAdView" } },
        { "LMMoPubInterstitialProcessor", { "MPInterstitialAdController" } },
        { "LMDFPBannerProcessor", { "DFPBannerView" } },
        { "LMGADViewProcessor", { "GADBannerView" } },
        { "LMRubiconProcessor", { "RFMAdView", "RFMWebView" } },
        { "LMFacebookProcessor", { "FBAdView", "FBInterstitialAd", "FBInterstitialVideoAdContentView" } },
        { "LMIronSourceProcessor", { "SSWVWKWebView" } },
        { "LMSmaatoProcessor", { "SOMAWKWebView" } },
        { "LMAOLProcessor", { "MMWebView", "MMWebComponent" } },
        { "LMInMobiProcessor", { "IMUIView" } },
        { "", { "SOMAAdRenderer", "GADUIKitWebView", "Stranger" } },
    };
    const Row delegates[] = {
        { "LMFacebookProcessor", { "FBAdWebKitContentContainer" } },
        { "LMAmazonProcessor", { "AMMRAdView", "AMAMraidInterstitialAdView" } },
        { "LMSmaatoProcessor", { "SOMAAdRenderer" } },
        { "LMOpenXProcessor", { "OXMWebView" } },
        { "LMAOLProcessor", { "MMWebComponent" } },
        { "LMIronSourceProcessor", { "SSWVWKWebView", "ISInterstitialDelegate" } },
        { "LMInMobiProcessor",
            { "INMMoatWebViewAndBridge", "IMWKWebViewController", "IMUIWebViewController" } },
        { "LMAppNexusProcessor", { "ANAdWebViewController" } },
        { "LMGADViewProcessor",
            { "GADUIKitWebView", "GADWebKitWebView", "GADUIWebViewDelegateProxy", "GADWebViewDelegateProxy",
                "GADWebKitWebViewController" } },
        { "", { "GADInterstitial", "MPAdView", "Stranger" } },
    };
    const auto childOf = [](const std::string& kind) {
        Class cls = standInClass("Child" + kind, standInClass(kind, classOf<NSObject>()));
        return class_createInstance(cls);
    };
    const auto stranger = standInObject("Stranger", {});
    for (const Row& row : objects) {
        for (const std::string& kind : row.kinds)
            EXPECT_EQ(processorFor(childOf(kind).get(), stranger.get()), row.processor) << kind;
    }
    for (const Row& row : delegates) {
        for (const std::string& kind : row.kinds)
            EXPECT_EQ(processorFor(stranger.get(), childOf(kind).get()), row.processor) << kind;
    }
    const auto sharethrough = alloc<Object>(
        ClassBuilder("AnyAd", NSClassFromString("GADBannerView")).protocol("STRAdView").build());
    EXPECT_EQ(processorFor(sharethrough.get(), nullptr), "STProcessor") << "before all others";
    EXPECT_EQ(processorFor(standInObject("IMUIView", {}).get(), standInObject("SOMAAdRenderer", {}).get()),
        "LMInMobiProcessor")
        << "the object before the delegate";
    EXPECT_EQ(processorFor(nullptr, nullptr), "");
    EXPECT_EQ(processorFor(stranger.get(), nullptr), "");
}

TEST_F(LMAdViewProcessorsFactoryTest, MoPubsConfigurationSaysWhichAdItIs)
{
    const auto view = viewOf("UIView");
    const auto asked = [&](const Value& delegate) {
        return processorFor(view.get(), standInObject("MPWebView", { { "_delegate", delegate } }).get());
    };
    const auto ofType = [&](const Value& type) {
        const auto configuration = standInObject("MPAdConfiguration", { { "_adType", type } });
        return asked(standInObject("MRController", { { "_configuration", configuration } }));
    };
    EXPECT_EQ(ofType(1), "LMMoPubInterstitialProcessor");
    EXPECT_EQ(ofType(0), "LMMoPubBannerProcessor");
    EXPECT_EQ(ofType("1"), "LMMoPubInterstitialProcessor") << "a text is read as a number";
    EXPECT_EQ(ofType(2), "") << "any other type is nobody's";
    ClassBuilder("SOMAAdRenderer", standInClass("MPWebView", classOf<NSObject>()));
    const auto configuration = standInObject("MPAdConfiguration", { { "_adType", "2" } });
    const auto controller = standInObject("MRController", { { "_configuration", configuration } });
    const auto both = standInObject("SOMAAdRenderer", { { "_delegate", controller } });
    EXPECT_EQ(processorFor(view.get(), both.get()), "LMSmaatoProcessor") << "later rows are asked";
    EXPECT_EQ(asked({}), "LMMoPubBannerProcessor") << "nothing counts as 0";
    EXPECT_EQ(asked(standInObject("Unexpected", {})), "LMMoPubBannerProcessor") << "so does an unknown key";
}

TEST_F(LMAdViewProcessorsFactoryTest, AGoogleWebViewBelongsToWhatItIsIn)
{
    const auto google = standInObject("GADWebKitWebView", {});
    const auto processorInside = [&](const char* outer) {
        const auto banner = viewOf(outer);
        const auto container = viewOf("Container");
        const auto webView = make<WKWebView>();
        banner->addSubview(container);
        container->addSubview(webView);
        return processorFor(webView.get(), google.get());
    };
    EXPECT_EQ(processorInside("DFPBannerView"), "LMDFPBannerProcessor");
    EXPECT_EQ(processorInside("GADBannerView"), "LMGADViewProcessor");
    EXPECT_EQ(processorInside("GADInterstitial"), "LMGADInterstitialProcessor");
    EXPECT_EQ(processorInside("Stranger"), "LMGADViewProcessor");
    const auto outermost = viewOf("DFPBannerView"), inner = viewOf("MPAdView");
    const auto webView = make<WKWebView>();
    outermost->addSubview(inner);
    inner->addSubview(webView);
    EXPECT_EQ(processorFor(webView.get(), google.get()), "LMMoPubBannerProcessor") << "the nearest";

    const auto alone = [](const char* key, const char* controller, const char* kind = "GADUIKitWebView") {
        const auto holder = standInObject("Holder", { { key, standInObject(controller, {}) } });
        return processorFor(make<WKWebView>().get(), standInObject(kind, { { "_delegate", holder } }).get());
    };
    EXPECT_EQ(alone("_viewController", "GADInterstitialViewController"), "LMGADInterstitialProcessor");
    EXPECT_EQ(alone("_videoController", "GADAdViewVideoController"), "LMGADInterstitialProcessor");
    EXPECT_EQ(alone("_viewController", "UIViewController"), "LMGADViewProcessor");
    EXPECT_EQ(
        alone("_viewController", "GADInterstitialViewController", "GADWebKitWebView"), "LMGADViewProcessor");
}

TEST_F(LMAdViewProcessorsFactoryTest, OnlyAPlainWebViewIsKnownByTheProxysOrigin)
{
    const auto renderer = standInObject("SOMAAdRenderer", {});
    const auto proxy = alloc<ProxyDelegate>();
    proxy->initWithDelegate(renderer.get());
    const auto webView = make<WKWebView>();
    const auto created = [&](id view) { return LMAdViewProcessorsFactory::getProcessorForObject(view); };
    webView->setNavigationDelegate(renderer.get());
    EXPECT_EQ(created(webView.get()), nullptr) << "not behind a proxy";
    webView->setNavigationDelegate(proxy.get());
    ASSERT_TRUE(created(webView.get()));
    EXPECT_EQ(created(webView.get())->adObject(), webView);
    EXPECT_EQ(created(webView.get())->isa()->name(), "LMSmaatoProcessor");
    class_replaceMethod(
        classOf<WKWebView>(), sel::navigationDelegate,
        +[](id, SEL) -> std::shared_ptr<Object> { throw std::runtime_error("a host's own"); },
        &methodEncoding<std::shared_ptr<Object>>());
    EXPECT_EQ(created(webView.get()), nullptr) << "a getter that raises counts as none";
    const auto own = alloc<WKWebView>(ClassBuilder("OwnWebView", classOf<WKWebView>()).build());
    own->setNavigationDelegate(proxy.get());
    EXPECT_EQ(created(own.get()), nullptr);
}

TEST_F(LMAdViewProcessorsFactoryTest, AProcessorThatCannotBeMadeIsNoneAndSaysSo)
{
    const auto makes = [](const char* processor, id (*init)(id, SEL, id)) {
        const TypeEncoding* types = &methodEncoding<id, id>();
        class_replaceMethod(NSClassFromString(processor), sel::initWithAdObject, init, types);
    };
    makes(
        "LMRubiconProcessor", +[](id, SEL, id) -> id { throw std::runtime_error("no"); });
    makes(
        "LMFacebookProcessor", +[](id, SEL, id) -> id { return nullptr; });
    LMLog::setLogLevel(0);
    for (const char* kind : { "RFMAdView", "FBAdView" })
        EXPECT_EQ(LMAdViewProcessorsFactory::getProcessorForObject(viewOf(kind).get()), nullptr) << kind;
    EXPECT_EQ(LMAdViewProcessorsFactory::getProcessorForObject(nullptr), nullptr);
    size_t complaints = 0;
    for (const std::string& line : phone.console().lines())
        complaints += line
            == "[Lumora] [ProcessorFactory] class is supporting, but failed when creating AdViewProcessor";
    EXPECT_EQ(complaints, 2u);
}

} // namespace
} // namespace lumora
