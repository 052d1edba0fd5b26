#include "support/UIViewExtensions.h"

#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UINavigationController.h"
#include "platform/uikit/UISplitViewController.h"
#include "platform/uikit/UITabBarController.h"
#include "platform/webkit/WKWebView.h"
#include "support/NSDictionaryExtensions.h"
#include "support/UIViewControllerExtensions.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

TEST(UIViewExtensions, PhotographsTheFrameOfAVideoAnywhereInTheView)
{
    Phone phone;
    auto ad = phone.add(CGRectMake(0, 0, 40, 20));
    auto inner = phone.add(CGRectMake(0, 0, 40, 20), ad.get());
    auto layer = as<AVPlayerLayer>(class_createInstance(NSClassFromString("AVPlayerLayer")));
    layer->setFrame(CGRectMake(0, 0, 40, 20));
    inner->layer().addSublayer(make<CALayer>());
    inner->layer().addSublayer(layer);
    EXPECT_EQ(getVideoScreenshotView(*ad), ad) << "no player";
    layer->setValueForKey(AVPlayer::playerWithPlayerItem(nullptr), "player");
    EXPECT_EQ(getVideoScreenshotView(*ad), ad) << "no item";
    auto item = AVPlayerItem::playerItemWithURL({ "https://cdn.example/a.mp4" });
    send(layer->player(), sel::replaceCurrentItemWithPlayerItem, item);
    EXPECT_EQ(getVideoScreenshotView(*ad), ad) << "no frame yet";
    item->setCurrentFrame({ 2, 2, std::vector<uint8_t>(16, 255), 0.5 });
    auto frame = as<UIImageView>(getVideoScreenshotView(*ad));
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->frame(), (CGRect { {}, frame->image().size() }));
    EXPECT_EQ(takeScreenshot(*frame).pixelWidth(), 2) << "no larger than the video";
    // In its own proportions: the middle shows it, the edges nothing.
    const UIImage shown = takeScreenshot(*ad);
    auto alphaAt = [&](int x) { return shown.pixels()[4 * (5 * shown.pixelWidth() + x) + 3]; };
    EXPECT_EQ(alphaAt(shown.pixelWidth() / 2), 255);
    EXPECT_EQ(alphaAt(1), 0);
    inner->setHidden(true);
    EXPECT_EQ(getVideoScreenshotView(*ad), ad) << "ended, under its end card";
    inner->setHidden(false);
    layer->setOpacity(0);
    EXPECT_EQ(getVideoScreenshotView(*ad), ad) << "transparent";
}

TEST(UIViewExtensions, VideoObjectsAnswerKeyPaths)
{
    Phone phone;
    auto layer = AVPlayerLayer::playerLayerWithPlayer(
        AVPlayer::playerWithPlayerItem(AVPlayerItem::playerItemWithURL({ "https://cdn.example/a.mp4" })));
    send(layer->player(), sel::play);
    EXPECT_EQ(layer->valueForKeyPath("player.rate"), Value { 1 });
    const Value url = layer->valueForKeyPath("player.currentItem.asset.URL");
    ASSERT_TRUE(url.url());
    EXPECT_EQ(url.url()->absoluteString, "https://cdn.example/a.mp4");
}

TEST(UIViewExtensions, KnowsWhatIsHidden)
{
    struct Row {
        const char* name;
        CGRect frame;
        bool hidden;
        bool clips;
        bool expected;
    };
    const Row rows[] {
        { "plain", CGRectMake(0, 0, 10, 10), false, false, false },
        { "hidden", CGRectMake(0, 0, 10, 10), true, false, true },
        { "no size, not clipped", CGRectMake(5, 5, 0, 0), false, false, false },
        { "no size, clipped", CGRectMake(5, 5, 0, 0), false, true, true },
        { "flat, clipped", CGRectMake(5, 5, 10, 0), false, true, false },
        { "off to the left", CGRectMake(-1, 0, 10, 10), false, false, true },
        { "off the top", CGRectMake(0, -1, 10, 10), false, false, true },
        { "off to the right", CGRectMake(9000, 0, 10, 10), false, false, false },
    };
    Phone phone;
    for (const Row& row : rows) {
        auto view = phone.add(row.frame);
        view->setHidden(row.hidden);
        view->setClipsToBounds(row.clips);
        EXPECT_EQ(isSuperviewHidden(*view), row.expected) << row.name;
        EXPECT_EQ(isSuperviewHidden(*phone.add(CGRectMake(0, 0, 1, 1), view.get())), row.expected)
            << "inside: " << row.name;
    }
}

/// A view that is equal to every other one of its kind.
class EqualView final : public UIView {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<EqualView, UIView>("EqualView");
        return description;
    }
    bool isEqual(const Object* other) const override { return dynamic_cast<const EqualView*>(other); }
};

TEST(UIViewExtensions, SearchesTheTree)
{
    Phone phone;
    auto root = phone.add(CGRectMake(0, 0, 9, 9));
    auto branch = phone.add(CGRectMake(0, 0, 9, 9), root.get());
    EXPECT_FALSE(getWebView(*root));
    auto deep = phone.add<WKWebView>(CGRectMake(0, 0, 9, 9), branch.get());
    auto inside = phone.add<WKWebView>(CGRectMake(0, 0, 9, 9), deep.get());
    auto later = phone.add<WKWebView>(CGRectMake(0, 0, 9, 9), root.get());
    EXPECT_EQ(getWebView(*root), deep);
    EXPECT_EQ(getWebViews(*root), (std::vector { deep, later }));
    EXPECT_EQ(getWebView(*later), nullptr);

    EXPECT_EQ(findSubViewIn(root.get(), "WKWebView"), deep);
    EXPECT_EQ(findSubViewIn(deep.get(), "UIView"), deep) << "a subclass";
    EXPECT_FALSE(findSubViewIn(root.get(), "UIImageView"));
    EXPECT_FALSE(findSubViewIn(root.get(), "NoSuchView"));
    EXPECT_FALSE(findSubViewIn(nullptr, "UIView"));

    EXPECT_TRUE(containsSubview(*root, *inside));
    EXPECT_FALSE(containsSubview(*inside, *root));
    EXPECT_FALSE(containsSubview(*root, *root));
    const auto twin = make<EqualView>();
    EXPECT_FALSE(containsSubview(*root, *twin));
    phone.add<EqualView>(CGRectMake(0, 0, 1, 1), branch.get());
    EXPECT_TRUE(containsSubview(*root, *twin)) << "an equal one";
}

TEST(UIViewExtensions, RendersTheLayerAtItsModelValues)
{
    Phone phone;
    auto view = phone.add(CGRectMake(50, 50, 10, 20));
    UIView::animateWithDuration(1, [&] { view->setBackgroundColor(UIColor::whiteColor()); });
    const UIImage image = getScreenshot(*view);
    EXPECT_EQ(image.size(), (CGSize { 10, 20 }));
    EXPECT_EQ(image.pixels()[0], 255);
}

TEST(UIViewControllerExtensions, FindsTheControllerAUserSees)
{
    Phone phone;
    EXPECT_EQ(currentViewController(), nullptr) << "a window without a controller";
    auto leaf = make<UIViewController>();
    auto other = make<UIViewController>();
    auto navigation = make<UINavigationController>();
    auto tabs = make<UITabBarController>();
    auto split = make<UISplitViewController>();
    EXPECT_EQ(findBestViewController(nullptr), nullptr);
    for (UIViewController* empty :
        std::initializer_list<UIViewController*> { navigation.get(), tabs.get(), split.get() })
        EXPECT_EQ(findBestViewController(empty), empty) << empty->description();
    // The last of a split's, the selected of the tabs, the top of a navigation.
    split->setViewControllers({ other, tabs });
    tabs->setViewControllers({ navigation });
    for (const auto& controller : { make<UIViewController>(), leaf })
        navigation->pushViewController(controller, false);
    phone.window->setRootViewController(split);
    EXPECT_EQ(currentViewController(), leaf.get());

    auto second = make<UIWindow>();
    auto empty = make<UIWindow>();
    for (const auto& window : { empty, second })
        window->makeKeyAndVisible();
    auto third = make<UIViewController>();
    second->setRootViewController(third);
    EXPECT_EQ(currentViewControllers(), (std::vector<UIViewController*> { leaf.get(), third.get() }));
    EXPECT_EQ(currentViewController(), third.get());
    auto presented = make<UIViewController>();
    split->presentViewController(presented, false);
    EXPECT_EQ(currentViewControllers().front(), presented.get()) << "before what the container shows";
    second.reset();
    EXPECT_EQ(currentViewController(), nullptr) << "no key window";
}

TEST(NSDictionaryExtensions, AnswersTheDefaultForWhatCannotBeRead)
{
    Phone phone;
    const NSDictionary entries { { "a.b", 1 }, { "null", NSNull {} } };
    EXPECT_EQ(getElementFromDictionarySafely(entries, "a.b", 2), Value { 1 });
    EXPECT_EQ(getElementFromDictionarySafely(entries, "null", 2), Value { NSNull {} });
    EXPECT_EQ(getElementFromDictionarySafely(entries, "c", 2), Value { 2 });
    EXPECT_EQ(getElementFromDictionarySafely(make<UIView>(), "c", 2), Value { 2 }) << "raises";
}

} // namespace lumora::test
