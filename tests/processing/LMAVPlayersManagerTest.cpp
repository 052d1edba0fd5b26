#include "processing/LMAVPlayersManager.h"

#include "platform/avkit/AVPlayerViewController.h"
#include "platform/uikit/UIButton.h"
#include "support/UIViewControllerExtensions.h"
#include "tests/processing/AdPage.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

constexpr const char* video = "https://cdn.example.com/v.mp4";

/// An ad whose page names a video, and the host's screen.
struct VideoAd : test::AdPage {
    explicit VideoAd(const char* record = test::recordWithMarkup)
        : AdPage(record)
    {
        load("#", std::string { "<video autoplay src='" } + video + "'></video>");
    }
    /// The ad starts a player over everything, and the player settles.
    std::shared_ptr<AVPlayerViewController> play(const char* url = video,
        AVPlayerControls controls = AVPlayerControls::ViewController, Class cls = nullptr)
    {
        auto controller = cls ? alloc<AVPlayerViewController>(cls) : alloc<AVPlayerViewController>();
        send(controller, sel::init);
        controller->setControls(controls);
        player->replaceCurrentItemWithPlayerItem(
            url ? AVPlayerItem::playerItemWithURL({ url }) : make<AVPlayerItem>());
        player->play();
        controller->setPlayer(player);
        currentViewController()->presentViewController(controller, false);
        world.phone.wait(1.5);
        return controller;
    }
    std::shared_ptr<LMObservedPlayer> observed() const
    {
        return LMAVPlayersManager::sharedInstance().findObservedAVPlayerWithAVPlayer(player.get());
    }
    bool isPlaying() const { return player->rate() > 0 && player->currentItem(); }

    std::shared_ptr<AVPlayer> player { AVPlayer::playerWithPlayerItem(nullptr) };
};

TEST(LMAVPlayersManagerTest, AVideoThatAnAdNamesIsStopped)
{
    for (const auto controls : { AVPlayerControls::ViewController, AVPlayerControls::Controller }) {
        VideoAd ad;
        const std::weak_ptr controller = ad.play(video, controls);
        EXPECT_EQ(ad.events(), "autoplay ");
        EXPECT_EQ(ad.world.lastReport()["video"], Value { video });
        EXPECT_EQ(ad.world.lastReport()["sdk"], Value { "Amazon" });
        EXPECT_EQ(ad.view->alpha(), 0);
        EXPECT_TRUE(ad.player->rate() == 0 && !ad.player->currentItem());
        EXPECT_TRUE(controller.expired()) << "its button has dismissed it";
        ad.play();
        EXPECT_EQ(ad.events(), "autoplay autoplay ") << "the record had gone with its video";
    }
}

TEST(LMAVPlayersManagerTest, OtherVideosPlayOn)
{
    struct Row {
        const char* name;
        const char* url;
        bool isSubclass { false };
        const char* record { test::recordWithMarkup };
    };
    for (const Row& row :
        { Row { "the host's own", "https://host.example.com/news.mp4" }, Row { "no address", nullptr },
            Row { "an empty address", "" }, Row { "the host's own player", video, true },
            Row { "pages are not inspected", video, false, R"({"active": true, "ttlConfig": 100000})" } }) {
        VideoAd ad(row.record);
        Class cls = row.isSubclass
            ? ClassBuilder("HostPlayerController", classOf<AVPlayerViewController>()).build()
            : nullptr;
        const auto controller = ad.play(row.url, AVPlayerControls::ViewController, cls);
        EXPECT_TRUE(ad.isPlaying()) << row.name;
        EXPECT_EQ(ad.events(), "") << row.name;
        EXPECT_EQ(ad.view->alpha(), 1) << row.name;
        const auto observed = ad.observed();
        EXPECT_EQ(observed == nullptr, row.isSubclass) << row.name;
    }
}

TEST(LMAVPlayersManagerTest, AVideoIsStoppedWhenItsAdComesLater)
{
    VideoAd ad;
    ad.load("#");
    const auto controller = ad.play();
    EXPECT_TRUE(ad.isPlaying());
    const auto later = creativeView(video, { 320, 50 });
    send(later, sel::setNavigationDelegate, ad.diary);
    ad.world.phone.wait(1);
    EXPECT_FALSE(ad.isPlaying());
    EXPECT_EQ(later->alpha(), 0);
}

TEST(LMAVPlayersManagerTest, OneVideoEndsACheckAndEachIsStoppedOnce)
{
    constexpr const char* other = "https://cdn.example.com/other.mp4";
    VideoAd ad;
    ad.load("#");
    const auto first = ad.play(video);
    const auto firstPlayer = std::exchange(ad.player, AVPlayer::playerWithPlayerItem(nullptr));
    const auto second = ad.play(other);
    ad.load("#", std::string { other } + " " + video);
    LMAVPlayersManager::sharedInstance().checkProcessorForPlayingVideo(ad.processor());
    ad.world.phone.wait(1);
    EXPECT_EQ(ad.world.lastReport()["video"], Value { video }) << "the one seen first, wherever it is named";
    EXPECT_TRUE(firstPlayer->rate() == 0 && ad.isPlaying());
    // Two processors of ads that name the other one.
    const auto twin = alloc<LMAdViewProcessor>();
    send(twin, sel::initWithAdObject, ad.view);
    ProcessorsManager::sharedInstance().addProcessor(twin);
    LMAVPlayersManager::sharedInstance().checkAllProcessors();
    ad.world.phone.wait(1);
    EXPECT_FALSE(ad.isPlaying());
    EXPECT_EQ(ad.events(), "autoplay autoplay autoplay ") << "the second by either processor of its ad";
}

TEST(LMAVPlayersManagerTest, TheControllerSeenLastIsLeft)
{
    VideoAd ad;
    ad.load("#");
    const auto before = ad.play();
    const auto observed = ad.observed();
    const auto after = alloc<AVPlayerViewController>();
    send(after, sel::init);
    after->setPlayer(ad.player);
    before->presentViewController(after, false);
    ad.world.phone.wait(1.5);
    EXPECT_EQ(observed->weakVC(), after);

    // A record whose controller is gone: what is on top may name one.
    observed->setWeakVC(nullptr);
    const auto top = make<UIViewController>();
    object_setInstanceVariable(*top, "delegate", Value::weak(before));
    after->presentViewController(top, false);
    LMAVPlayersManager::sharedInstance().disableFullscreenVideoWithProcessor(*ad.processor(), observed);
    ad.world.phone.wait(1);
    EXPECT_FALSE(ad.isPlaying());
}

TEST(LMAVPlayersManagerTest, AControllerWithoutAPlayerInItsPlaceIsPassedOver)
{
    VideoAd ad;
    const auto isPassedOver = [&](bool isLoaded, const std::shared_ptr<AVPlayer>& player, const Value& view) {
        const auto controller = alloc<AVPlayerViewController>();
        send(controller, sel::init);
        controller->setPlayer(player);
        if (isLoaded)
            controller->view();
        if (!view.isNothing())
            object_setInstanceVariable(*controller, "_playerLayerView", view);
        LMAVPlayersManager::sharedInstance().controllerAppeared(*controller);
        return !ad.observed();
    };
    EXPECT_TRUE(isPassedOver(false, ad.player, {})) << "its view is not loaded";
    EXPECT_TRUE(isPassedOver(true, nullptr, {}));
    EXPECT_TRUE(isPassedOver(true, ad.player, make<UIView>())) << "another release's";
    EXPECT_FALSE(isPassedOver(true, ad.player, {}));
}

TEST(LMAVPlayersManagerTest, AControllerMayGoBeforeItIsLookedAt)
{
    VideoAd ad;
    UIViewController& page = *ad.world.phone.window().rootViewController();
    auto controller = alloc<AVPlayerViewController>();
    send(controller, sel::init);
    controller->setPlayer(ad.player);
    page.presentViewController(controller, false);
    page.dismissViewController(false);
    const std::weak_ptr gone = std::exchange(controller, nullptr);
    ad.world.phone.wait(0.5);
    EXPECT_TRUE(gone.expired());
    ad.world.phone.wait(1);
    EXPECT_EQ(ad.observed(), nullptr);
}

TEST(LMAVPlayersManagerTest, AnAdThatIsNoViewAndAPlayerThatIsGoneAreLeftAllTheSame)
{
    VideoAd ad;
    ad.load("#");
    const auto controller = ad.play();
    const auto observed = ad.observed();
    controller->setPlayer(nullptr);
    ad.player.reset();
    ASSERT_EQ(observed->player(), nullptr);
    const auto object = make<NSObject>();
    const auto processor = alloc<LMAdViewProcessor>();
    send(processor, sel::initWithAdObject, object);
    LMAVPlayersManager::sharedInstance().disableFullscreenVideoWithProcessor(*processor, observed);
    ad.world.phone.wait(1);
    EXPECT_NE(currentViewController(), controller.get()) << "its button is pressed";
}

TEST(LMAVPlayersManagerTest, TheButtonIsLookedForFourTimesInNineSeconds)
{
    // Seconds after the first look: when the button comes, and when it is pressed.
    constexpr double never = 1000;
    for (const auto& [comes, pressed] :
        { std::pair { 0.1, 3.0 }, { 3.1, 6.0 }, { 6.1, 9.0 }, { 9.1, never } }) {
        VideoAd ad;
        const auto controller = ad.play("https://host.example.com/news.mp4", AVPlayerControls::None);
        const double first = ad.world.phone.process().now();
        LMAVPlayersManager::sharedInstance().disableAVPlayerVC(controller, ad.player, nullptr, 0);
        ad.world.phone.wait(comes);
        const auto controls = make<NSObject>();
        object_setInstanceVariable(*controls, "_doneButton", Value { make<UIButton>() });
        object_setInstanceVariable(*controller, "_playbackControlsViewController", Value { controls });
        EXPECT_EQ(ad.world.phone.waitUntil([&] { return !ad.isPlaying(); }, 20), pressed != never);
        if (pressed != never)
            EXPECT_NEAR(ad.world.phone.process().now() - first, pressed, 0.001);
    }
}

TEST(LMAVPlayersManagerTest, KeepsNothingAlive)
{
    VideoAd ad;
    std::weak_ptr weakController = ad.play(video, AVPlayerControls::None);
    EXPECT_EQ(ad.events(), "autoplay ");
    ad.world.phone.window().rootViewController()->dismissViewController(false);
    std::weak_ptr weakPlayer = std::exchange(ad.player, nullptr);
    ad.world.phone.wait(0.5);
    EXPECT_TRUE(weakController.expired() && weakPlayer.expired());
    ad.world.phone.wait(20);
}

} // namespace
} // namespace lumora
