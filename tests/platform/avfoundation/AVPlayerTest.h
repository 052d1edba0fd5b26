#pragma once

#include "platform/avfoundation/AVPlayer.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora::test {

/// A decoder of either kind, and the same video for it: red, a second long, eight pictures of 64 x 48.
struct DecoderUnderTest {
    const char* name;
    bool hasVirtualTime;
    VideoDecoderFactory make;
    std::function<std::string()> url;
};

class AVPlayerTest : public testing::TestWithParam<DecoderUnderTest> {
protected:
    AVPlayerTest() { setVideoDecoderFactory(GetParam().make); }
    bool hasPicture() const { return !player->currentItem()->currentFrame().isNull(); }

    static constexpr double longest = 20;
    Phone phone { { .virtualTime = GetParam().hasVirtualTime } };
    std::string url { GetParam().url() };
    std::shared_ptr<AVPlayer> player { AVPlayer::playerWithPlayerItem(
        AVPlayerItem::playerItemWithURL({ url })) };
};

} // namespace lumora::test
