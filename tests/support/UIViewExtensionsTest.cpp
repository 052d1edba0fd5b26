#include "support/UIViewExtensions.h"

#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIImageView.h"
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
    EXPECT_EQ(frame->frame(), CGRectMake(0, 0, 4, 4));
    EXPECT_EQ(frame->image().pixels(), item->currentFrame().pixels());
    // In its own proportions: the middle shows it, the edges nothing.
    const UIImage shown = takeScreenshot(*ad);
    auto alphaAt = [&](int x) { return shown.pixels()[4 * (5 * shown.pixelWidth() + x) + 3]; };
    EXPECT_EQ(alphaAt(shown.pixelWidth() / 2), 255);
    EXPECT_EQ(alphaAt(1), 0);
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

} // namespace lumora::test
