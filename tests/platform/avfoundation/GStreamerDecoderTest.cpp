#include "platform/linux/GStreamerDecoder.h"

#include "tests/platform/avfoundation/AVPlayerTest.h"

#include <filesystem>
#include <gst/gst.h>
#include <unistd.h>

namespace lumora::test {

/// A clip that is encoded here, and goes with the program.
struct Clip {
    Clip()
    {
        const std::string pipeline
            = "videotestsrc num-buffers=8 pattern=red ! video/x-raw,width=64,height=48,framerate=8/1 "
              "! vp8enc ! webmmux ! filesink location="
            + path.string();
        GstElement* const encoder = gst_parse_launch(pipeline.c_str(), nullptr);
        gst_element_set_state(encoder, GST_STATE_PLAYING);
        GstBus* const bus = gst_element_get_bus(encoder);
        GstMessage* const end = gst_bus_timed_pop_filtered(
            bus, 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
        EXPECT_TRUE(end && GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS);
        gst_message_unref(end);
        gst_object_unref(bus);
        gst_element_set_state(encoder, GST_STATE_NULL);
        gst_object_unref(encoder);
    }
    ~Clip() { std::filesystem::remove(path); }

    std::filesystem::path path { std::filesystem::temp_directory_path()
        / ("lumora-clip-" + std::to_string(getpid()) + ".webm") };
};

static std::string urlOfClip()
{
    EXPECT_EQ(gstreamerProblem(), "");
    static const Clip clip;
    return "file://" + clip.path.string();
}

INSTANTIATE_TEST_SUITE_P(GStreamer, AVPlayerTest,
    testing::Values(DecoderUnderTest { "GStreamer", false, makeGStreamerDecoder, urlOfClip }));

/// Waits for the last pipelines to wind down: what is on its way looks lost to the leak checker.
struct WindDown final : testing::Environment {
    void TearDown() override { gst_deinit(); }
};
static testing::Environment* const windDown = testing::AddGlobalTestEnvironment(new WindDown);

TEST(GStreamerDecoder, PausesAtWhatCannotBePlayed)
{
    for (const char* url : { "file:///nowhere/v.webm", "https://127.0.0.1:1/v.webm", "no address" }) {
        Phone phone { { .virtualTime = false } };
        setVideoDecoderFactory(makeGStreamerDecoder);
        const auto player = AVPlayer::playerWithPlayerItem(AVPlayerItem::playerItemWithURL({ url }));
        player->play();
        EXPECT_TRUE(phone.waitUntil([&] { return player->rate() == 0; }, 20)) << url;
    }
}

} // namespace lumora::test
