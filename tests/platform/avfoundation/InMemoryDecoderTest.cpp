#include "tests/platform/avfoundation/AVPlayerTest.h"

namespace lumora::test {

static DecoderUnderTest inMemory()
{
    auto make = [](const std::string&, VideoDecoder::Handlers handlers) {
        std::vector<uint8_t> pixels;
        for (int i = 0; i < 64 * 48; i++)
            pixels.insert(pixels.end(), { 255, 0, 0, 255 });
        VideoInMemory video { {}, 0.125 };
        for (int i = 0; i < 8; i++)
            video.frames.emplace_back(64, 48, pixels);
        return makeInMemoryDecoder(std::move(video), std::move(handlers));
    };
    return { "InMemory", true, make, [] { return "https://cdn.example.com/v.mp4"; } };
}

INSTANTIATE_TEST_SUITE_P(InMemory, AVPlayerTest, testing::Values(inMemory()));

TEST(AVPlayer, WithoutADecoderTimeGoesOnAndNothingIsSeen)
{
    Phone phone { {} };
    const auto player
        = AVPlayer::playerWithPlayerItem(AVPlayerItem::playerItemWithURL({ "https://a.example/v" }));
    player->play();
    phone.wait(100);
    EXPECT_EQ(player->rate(), 1);
    EXPECT_NEAR(player->currentTime(), 100, 0.001);
    EXPECT_TRUE(player->currentItem()->currentFrame().isNull());
}

} // namespace lumora::test
