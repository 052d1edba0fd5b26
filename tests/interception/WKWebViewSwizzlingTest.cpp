#include "interception/WKWebViewSwizzling.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "processing/ProxyDelegate.h"
#include "processing/WebViewTracker.h"
#include "simulator/networks/StandInObjects.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

using test::World;

std::string nameOf(id delegate)
{
    if (const auto* proxy = as<ProxyDelegate>(delegate))
        return "proxy(" + nameOf(proxy->originDelegate().get()) + ")";
    return object_getClassName(delegate);
}

/// What the replaced implementations ran with, in order.
struct Previous {
    Lock lock;
    std::vector<std::string> runs LUMORA_GUARDED_BY(lock);
    /// What a host's own override does, once, on its way.
    std::function<void()> midway;
} previous;

void recordDelegate(id self, SEL, id delegate)
{
    const bool onMain = self->isa()->registry().process().isMainThread();
    Locker hold(previous.lock);
    previous.runs.push_back(nameOf(delegate) + (onMain ? "" : " off main"));
}
void recordNavigationDelegate(id self, SEL _cmd, id delegate)
{
    recordDelegate(self, _cmd, delegate);
    // The main thread's alone, as the tests that set it are.
    const bool onMain = self->isa()->registry().process().isMainThread();
    if (const auto midway = onMain ? std::exchange(previous.midway, nullptr) : nullptr)
        midway();
    static_cast<WKWebView*>(self)->setNavigationDelegate(delegate);
}

std::shared_ptr<WKWebView> viewOf(const char* className = "WKWebView")
{
    auto made = alloc<WKWebView>(NSClassFromString(className));
    send(made, sel::init);
    return made;
}
/// An object of a class of that name; "nil", or a "proxy" of another object, on wish.
std::shared_ptr<Object> delegateOf(const std::string& className, id origin = nullptr)
{
    if (className == "nil")
        return nullptr;
    if (className != "proxy")
        return standInObject(className, {});
    const auto proxy = alloc<ProxyDelegate>();
    proxy->initWithDelegate(origin);
    return proxy;
}
std::string told()
{
    std::vector<std::string> runs;
    Locker hold(previous.lock);
    runs.swap(previous.runs);
    std::string text;
    for (const std::string& run : runs)
        text += (text.empty() ? "" : ", ") + run;
    return text;
}
std::string set(const std::shared_ptr<WKWebView>& view, const std::shared_ptr<Object>& delegate)
{
    send(view, sel::setNavigationDelegate, delegate);
    return told();
}

class WKWebViewSwizzlingTest : public testing::Test {
protected:
    explicit WKWebViewSwizzlingTest(const World::Options& options = {})
        : world(options)
    {
        told();
        previous.midway = nullptr;
        class_replaceMethod(classOf<WKWebView>(), sel::setNavigationDelegate, &recordNavigationDelegate,
            &methodEncoding<void, id>());
        for (const char* view : { "SOMAWKWebView", "MMWebComponent", "RFMCreativeView" })
            ClassBuilder(view, classOf<WKWebView>()).method("setDelegate:"_sel, &recordDelegate);
    }
    /// The hooks alone: the first question to the gate starts a fetch.
    static void startWithoutRecord()
    {
        TDAPI::setNewAuthKey(test::validKey);
        TDActivationManager::sharedInstance().activate();
        send(NSClassFromString("WKWebView"), sel::swizzleMethods);
    }

    World world;
    std::shared_ptr<WKWebView> view { viewOf() };
    const std::shared_ptr<Object> renderer { delegateOf("SOMAAdRenderer") };
};

TEST_F(WKWebViewSwizzlingTest, WhatThePreviousImplementationRunsWith)
{
    struct Row {
        const char *name, *view, *current, *delegate, *runs;
    };
    world.start();
    const auto host = delegateOf("Host");
    for (const Row& row :
        {
            Row { "a stranger", "WKWebView", "nil", "Stranger", "Stranger" },
            Row { "a network's", "WKWebView", "nil", "SOMAAdRenderer", "proxy(SOMAAdRenderer)" },
            Row { "one without a processor", "WKWebView", "nil", "VungleWebView", "VungleWebView" },
            Row { "nil over nothing", "WKWebView", "nil", "nil", "nil" },
            Row { "nil over a stranger", "WKWebView", "Stranger", "nil", "nil" },
            Row { "nil over a network's", "WKWebView", "SOMAAdRenderer", "nil", "proxy(nil)" },
            Row { "nil over a proxy", "WKWebView", "proxy", "nil", "nil, nil" },
            Row { "a proxy again", "WKWebView", "nil", "proxy", "proxy(Host), proxy(Host)" },
            Row { "a network's view", "SOMAWKWebView", "nil", "Stranger", "proxy(Stranger)" },
            Row { "nil there", "SOMAWKWebView", "nil", "nil", "proxy(nil)" },
            Row { "nil over a proxy there", "SOMAWKWebView", "proxy", "nil", "nil, proxy(nil)" },
            Row { "a proxy again there", "SOMAWKWebView", "nil", "proxy", "proxy(Host), proxy(proxy(Host))" },
        }) {
        view = viewOf(row.view);
        const auto current = delegateOf(row.current, host.get());
        const auto delegate = delegateOf(row.delegate, host.get());
        view->setNavigationDelegate(current.get());
        EXPECT_EQ(set(view, delegate), row.runs) << row.name;
        const id controller = send(view, sel::proxyController);
        EXPECT_EQ(WebViewTracker::sharedTracker().isTrackered(view.get()), controller != nullptr) << row.name;
        EXPECT_EQ(view->navigationDelegate().get(), controller ? controller : delegate.get()) << row.name;
    }
}

TEST_F(WKWebViewSwizzlingTest, WhenFeaturesMayNotRunNothingChanges)
{
    world.service.setRecord(R"({"active": false, "ttlConfig": 3600})");
    world.start();
    EXPECT_EQ(set(viewOf(), renderer), "SOMAAdRenderer");
    dispatch_get_global_queue().async(
        [&] { EXPECT_EQ(set(viewOf(), renderer), "SOMAAdRenderer off main") << "not even the thread"; });
    world.phone.wait(0);
}

TEST_F(WKWebViewSwizzlingTest, ALateAnswerFindsWebViewAndDelegateAlive)
{
    startWithoutRecord();
    const std::weak_ptr<WKWebView> watched = view;
    EXPECT_EQ(set(view, delegateOf("SOMAAdRenderer")), "");
    view.reset();
    world.phone.wait(1);
    EXPECT_EQ(told(), "proxy(SOMAAdRenderer)");
    EXPECT_TRUE(watched.expired());
}

TEST_F(WKWebViewSwizzlingTest, ACallThatWaitedGivesWayToANewerOne)
{
    startWithoutRecord();
    EXPECT_EQ(set(view, renderer), "");
    EXPECT_EQ(set(viewOf(), renderer), "SOMAAdRenderer") << "the gate says no while it loads";
    EXPECT_EQ(set(view, nullptr), "nil");
    world.phone.wait(1);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(view->navigationDelegate(), nullptr);
}

TEST_F(WKWebViewSwizzlingTest, AFailedFetchLetsTheDelegateThrough)
{
    world.setServiceAway(true);
    startWithoutRecord();
    EXPECT_EQ(set(view, renderer), "");
    world.phone.wait(1);
    EXPECT_EQ(told(), "SOMAAdRenderer");
}

TEST_F(WKWebViewSwizzlingTest, ACallOffTheMainThreadGoesOnThere)
{
    world.start();
    std::thread network([&] { EXPECT_EQ(set(view, renderer), "") << "a thread of no process"; });
    network.join();
    world.phone.wait(0);
    EXPECT_EQ(told(), "proxy(SOMAAdRenderer)");
    dispatch_get_global_queue().async([&] {
        dispatch_get_main_queue().async([&] { EXPECT_EQ(set(view, nullptr), "nil, nil"); });
        EXPECT_EQ(set(view, renderer), "");
    });
    world.phone.wait(0);
    EXPECT_EQ(told(), "") << "what the main thread set meanwhile is newer";
}

std::function<void()> whileAsked;
Value askAdType(id, SEL)
{
    if (const auto act = std::exchange(whileAsked, nullptr))
        act();
    return {};
}

TEST_F(WKWebViewSwizzlingTest, ANewerCallFromInsideWins)
{
    world.start();
    ClassBuilder("MPWebView", classOf<NSObject>()).method("_delegate"_sel, &askAdType);
    const auto setNewer = [&] { send(view, sel::setNavigationDelegate, renderer); };
    whileAsked = setNewer;
    EXPECT_EQ(set(view, delegateOf("MPWebView")), "proxy(SOMAAdRenderer)") << "during the hook's own work";
    const auto proxy = view->navigationDelegate();
    previous.midway = setNewer;
    EXPECT_EQ(set(view, proxy), "proxy(SOMAAdRenderer), proxy(SOMAAdRenderer)") << "between two forwards";
    EXPECT_NE(view->navigationDelegate(), nullptr);
    whileAsked = [&] { lumora_webViewSetDelegate(view.get(), "setDelegate:"_sel, nullptr); };
    webViewSetDelegateIMP.store(world.phone.process().classes(), IMP { &recordDelegate }.function);
    EXPECT_EQ(set(view, delegateOf("MPWebView")), "nil, nil, proxy(MPWebView)") << "each hook counts its own";
}

TEST_F(WKWebViewSwizzlingTest, AThreadKeepsItsOwnOrderWhenTheFeaturesGoOff)
{
    world.start();
    const auto stranger = delegateOf("Stranger");
    std::thread network([&] {
        EXPECT_EQ(set(view, renderer), "");
        Process::Scope scope(world.phone.process());
        TDActivationManager::sharedInstance().getNewConfig();
        EXPECT_EQ(set(view, stranger), "") << "not before the first";
    });
    network.join();
    world.phone.wait(1);
    EXPECT_EQ(told(), "Stranger");
    EXPECT_EQ(view->navigationDelegate(), stranger);
}

TEST_F(WKWebViewSwizzlingTest, AFormerProxyStaysUntilTheNewOneIsInPlace)
{
    world.start();
    auto first = delegateOf("SOMAAdRenderer");
    set(view, first);
    const std::weak_ptr<Object> former = view->navigationDelegate();
    first.reset();
    previous.midway = [&] {
        EXPECT_EQ(view->navigationDelegate(), former.lock());
        throw std::domain_error("the host's own");
    };
    EXPECT_THROW(set(view, delegateOf("SOMAAdRenderer")), std::domain_error);
    EXPECT_TRUE(former.lock());
    EXPECT_EQ(send(view, sel::proxyController), former.lock().get()) << "put back";
    set(view, delegateOf("SOMAAdRenderer"));
    EXPECT_TRUE(former.expired());
}

TEST_F(WKWebViewSwizzlingTest, ProxiesAreNotNestedWithoutBound)
{
    world.start();
    view = viewOf("SOMAWKWebView");
    set(view, renderer);
    for (int i = 0; i < 100; i++)
        set(view, view->navigationDelegate());
    EXPECT_EQ(ProxyDelegate::layers(view->navigationDelegate().get()), 32u);
}

class RealTimeHookTest : public WKWebViewSwizzlingTest {
protected:
    RealTimeHookTest()
        : WKWebViewSwizzlingTest({ .adjust = [](Phone::Options& options) { options.virtualTime = false; } })
    {
    }
};

TEST_F(RealTimeHookTest, ThreadsThatMeetTheAnswerLoseNoCall)
{
    startWithoutRecord();
    std::vector<std::shared_ptr<WKWebView>> views(32);
    std::generate(views.begin(), views.end(), [] { return viewOf(); });
    std::vector<std::thread> networks;
    for (size_t first = 0; first < 4; first++) {
        networks.emplace_back([&, first] {
            for (size_t i = first; i < views.size(); i += 4)
                send(views[i], sel::setNavigationDelegate, renderer);
        });
    }
    const auto all = [&] {
        Locker hold(previous.lock);
        return previous.runs.size() == views.size();
    };
    EXPECT_TRUE(world.phone.waitUntil(all, 10));
    for (std::thread& network : networks)
        network.join();
}

TEST_F(RealTimeHookTest, OneViewSetFromSeveralThreadsKeepsTheLast)
{
    world.start();
    const auto isOn = [] {
        const auto config = TDActivationManager::sharedInstance().getConfig();
        return config && config->active().boolValue();
    };
    ASSERT_TRUE(world.phone.waitUntil(isOn, 10));
    std::atomic<int> done { 0 };
    std::vector<std::thread> networks(4);
    for (std::thread& network : networks) {
        network = std::thread([&] {
            Process::Scope scope(world.phone.process());
            for (int i = 0; i < 50; i++)
                send(view, sel::setNavigationDelegate, delegateOf("SOMAAdRenderer"));
            done++;
        });
    }
    EXPECT_TRUE(world.phone.waitUntil([&] { return set(view, nullptr), done == 4; }, 10));
    for (std::thread& network : networks)
        network.join();
    set(view, renderer);
    world.phone.wait(0);
    EXPECT_EQ(nameOf(view->navigationDelegate().get()), "proxy(SOMAAdRenderer)");
    EXPECT_EQ(as<ProxyDelegate>(view->navigationDelegate())->originDelegate(), renderer);
}

class DyingWebView final : public WKWebView {
public:
    ~DyingWebView() override { send(this, sel::setNavigationDelegate, static_cast<id>(nullptr)); }
};
class DyingDelegate final : public NSObject {
public:
    ~DyingDelegate() override { send(view, sel::setNavigationDelegate, this); }
    std::shared_ptr<WKWebView> view;
};

TEST_F(WKWebViewSwizzlingTest, WhatIsBeingDestroyedIsPassedOnAtOnce)
{
    startWithoutRecord();
    make<DyingWebView>().reset();
    EXPECT_EQ(told(), "nil");
    EXPECT_EQ(set(view, delegateOf("SOMAAdRenderer")), "");
    auto delegate = make<DyingDelegate>();
    delegate->view = view;
    delegate.reset();
    EXPECT_EQ(told(), "NSObject");
    world.phone.wait(1);
    EXPECT_EQ(told(), "") << "the one that waited is the older one";
}

TEST_F(WKWebViewSwizzlingTest, OnlyADelegateOfANetworksKindBringsAButton)
{
    world.start();
    standInClass("SubAMMRAdView", standInClass("AMMRAdView", classOf<NSObject>()));
    for (const std::string kind : { "SubAMMRAdView", "Stranger", "nil" }) {
        view = creativeView("<h1>Ad</h1>", { 300, 250 });
        world.phone.content().addSubview(view);
        set(view, delegateOf(kind));
        world.phone.wait(1.1);
        EXPECT_EQ(test::buttonOn(*view) != nullptr, kind == "SubAMMRAdView") << kind;
    }
}

TEST_F(WKWebViewSwizzlingTest, OfTheTwoHooksTheFirstGoesIn)
{
    class_addMethod(classOf<WKWebView>(), "setDelegate:"_sel, &recordDelegate);
    world.start();
    send<void>(viewOf().get(), "setDelegate:"_sel, renderer.get());
    EXPECT_EQ(told(), "SOMAAdRenderer");
    EXPECT_EQ(set(viewOf(), renderer), "proxy(SOMAAdRenderer)");
}

TEST_F(WKWebViewSwizzlingTest, TheOtherHookWorksWhereItIsPutByHand)
{
    struct Row {
        const char *view, *delegate, *runs;
    };
    world.start();
    for (const Row& row :
        { Row { "SOMAWKWebView", "nil", "proxy(nil)" }, Row { "MMWebComponent", "nil", "nil" },
            Row { "RFMCreativeView", "nil", "nil" }, Row { "MMWebComponent", "Stranger", "proxy(Stranger)" },
            Row { "RFMCreativeView", "SOMAAdRenderer", "proxy(SOMAAdRenderer)" } }) {
        class_swizzleMethodAndStore(
            NSClassFromString(row.view), "setDelegate:"_sel, &lumora_webViewSetDelegate, nullptr);
        webViewSetDelegateIMP.store(world.phone.process().classes(), IMP { &recordDelegate }.function);
        view = viewOf(row.view);
        view->setNavigationDelegate(renderer.get());
        send<void>(view.get(), "setDelegate:"_sel, delegateOf(row.delegate).get());
        EXPECT_EQ(told(), row.runs) << row.view;
    }
}

TEST_F(WKWebViewSwizzlingTest, TwoPropertiesOfOneNameStayApart)
{
    const auto first = delegateOf("First");
    const auto second = delegateOf("Second");
    send(view, sel::setProxyController, first);
    ReferenceCategory::setProxyController(view.get(), sel::setProxyController, second.get());
    EXPECT_EQ(send(view, sel::proxyController), first.get()) << "the hooks' own is found by name";
    EXPECT_EQ(view->valueForKey("proxyController"), Value { first });
    EXPECT_EQ(ReferenceCategory::proxyController(view.get(), sel::proxyController), second.get());
}

} // namespace
} // namespace lumora
