#include "tests/platform/avfoundation/AVPlayerTest.h"

#include "platform/avkit/AVPlayerViewController.h"
#include "platform/uikit/UIButton.h"

namespace lumora::test {

TEST_P(AVPlayerTest, ShowsPicturesAndStandsStillWhilePaused)
{
    phone.wait(0.1);
    EXPECT_FALSE(hasPicture());
    player->play();
    ASSERT_TRUE(phone.waitUntil([&] { return hasPicture() && player->currentTime() > 0.2; }, longest));
    player->pause();
    double time = 0;
    do {
        time = player->currentTime();
        phone.wait(0.1);
    } while (player->currentTime() != time);
    EXPECT_LT(time, 0.9);
    const UIImage picture = player->currentItem()->currentFrame();
    EXPECT_EQ(picture.size(), (CGSize { 64, 48 }));
    EXPECT_TRUE(picture.pixels()[0] > 200 && picture.pixels()[1] < 60 && picture.pixels()[3] == 255);
    phone.wait(0.3);
    EXPECT_EQ(player->currentTime(), time);
    EXPECT_EQ(player->currentItem()->currentFrame().pixels(), picture.pixels());
}

TEST_P(AVPlayerTest, IsSeenFullScreenUntilTheButtonIsTapped)
{
    const auto controller = make<AVPlayerViewController>();
    controller->setPlayer(player);
    UIViewController& root = *phone.window().rootViewController();
    root.presentViewController(controller, false);
    const auto redInTheMiddle = [&] {
        const UIImage screen = phone.screen();
        const auto width = static_cast<size_t>(screen.pixelWidth());
        const auto height = static_cast<size_t>(screen.pixelHeight());
        const uint8_t* const middle = screen.pixels() + 4 * (height / 2 * width + width / 2);
        return middle[0] > 200 && middle[1] < 60;
    };
    phone.wait(0.1);
    EXPECT_FALSE(redInTheMiddle());
    player->play();
    EXPECT_TRUE(phone.waitUntil([&] { return hasPicture(); }, longest));
    EXPECT_TRUE(redInTheMiddle());
    phone.tap(*controller->doneButton());
    EXPECT_TRUE(phone.waitUntil([&] { return !root.presentedViewController(); }, longest));
}

TEST_P(AVPlayerTest, PausesAtTheEnd)
{
    for (const float rate : { 1.0F, 2.0F }) {
        player->replaceCurrentItemWithPlayerItem(AVPlayerItem::playerItemWithURL({ url }));
        const double start = phone.process().now();
        player->setRate(rate);
        EXPECT_TRUE(phone.waitUntil([&] { return player->rate() == 0; }, longest));
        EXPECT_NEAR(player->currentTime(), 1, 0.1);
        const double slack = GetParam().hasVirtualTime ? 0.001 : longest;
        EXPECT_NEAR(phone.process().now() - start, 1 / rate, slack);
    }
}

TEST_P(AVPlayerTest, LetsItsVideoGoInTheMiddle)
{
    player->play();
    ASSERT_TRUE(phone.waitUntil([&] { return hasPicture(); }, longest));
    const auto next = AVPlayerItem::playerItemWithURL({ url });
    player->replaceCurrentItemWithPlayerItem(next);
    EXPECT_LT(player->currentTime(), 0.1);
    ASSERT_TRUE(phone.waitUntil([&] { return hasPicture(); }, longest)) << "the rate has stayed";
    player.reset();
    const UIImage last = next->currentFrame();
    phone.wait(0.3);
    EXPECT_EQ(next->currentFrame().pixels(), last.pixels());
}

} // namespace lumora::test
