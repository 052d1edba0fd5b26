#include "platform/linux/GStreamerDecoder.h"

#include "platform/process/Lock.h"
#include "platform/process/SignalsBlocked.h"

#include <atomic>
#include <cstring>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>
#include <utility>

namespace lumora {

namespace {

constexpr GstClockTime longestPreroll = 5 * GST_SECOND;
// playbin's own numbers: the video alone.
constexpr int videoOnly = 1;

template <auto Release> struct Releaser {
    template <typename T> void operator()(T* object) const { Release(object); }
};
using Element = std::unique_ptr<GstElement, Releaser<gst_object_unref>>;
using Sample = std::unique_ptr<GstSample, Releaser<gst_sample_unref>>;
using Caps = std::unique_ptr<GstCaps, Releaser<gst_caps_unref>>;

std::string findProblem()
{
    const SignalsBlocked signalsBlocked;
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        std::string problem = error ? error->message : "it does not start";
        g_clear_error(&error);
        return problem;
    }
    for (const char* name : { "playbin", "appsink" }) {
        const std::unique_ptr<GstElementFactory, Releaser<gst_object_unref>> factory(
            gst_element_factory_find(name));
        if (!factory)
            return std::string { "GStreamer has no " } + name;
    }
    return {};
}

UIImage imageOf(GstSample* sample)
{
    GstVideoInfo info;
    GstVideoFrame frame;
    GstCaps* const caps = gst_sample_get_caps(sample);
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    if (!caps || !buffer || !gst_video_info_from_caps(&info, caps)
        || !gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ))
        return {};
    const int width = GST_VIDEO_FRAME_WIDTH(&frame);
    const int height = GST_VIDEO_FRAME_HEIGHT(&frame);
    const size_t rowBytes = static_cast<size_t>(width) * 4;
    std::vector<uint8_t> pixels(rowBytes * static_cast<size_t>(height));
    const auto* row = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    for (int y = 0; y < height; y++, row += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0))
        std::memcpy(pixels.data() + rowBytes * static_cast<size_t>(y), row, rowBytes);
    gst_video_frame_unmap(&frame);
    return { width, height, std::move(pixels) };
}

/// Goes on from where the video is at another speed, once it is anywhere at all.
void seekToRate(GstElement* pipeline, double rate)
{
    constexpr auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    gint64 position = 0;
    gst_element_get_state(pipeline, nullptr, nullptr, longestPreroll);
    if (gst_element_query_position(pipeline, GST_FORMAT_TIME, &position))
        gst_element_seek(
            pipeline, rate, GST_FORMAT_TIME, flags, GST_SEEK_TYPE_SET, position, GST_SEEK_TYPE_NONE, 0);
}

/// What the decoder shares with the pipeline's threads. Lives until the pipeline has wound down.
class Playback {
public:
    explicit Playback(VideoDecoder::Handlers handlers)
        : m_handlers(std::move(handlers))
    {
    }
    void show(const Sample& sample)
    {
        if (!sample || !begin())
            return;
        const UIImage image = imageOf(sample.get());
        if (!image.isNull())
            m_handlers.frame(image);
        end();
    }
    void finish()
    {
        if (m_isFinished.exchange(true) || !begin())
            return;
        m_handlers.ended();
        end();
    }
    /// No handler runs from here on.
    void close()
    {
        Locker hold(m_lock);
        m_isClosed = true;
        while (m_running > 0)
            hold.wait(m_idle);
    }
    void setRate(float rate) { m_wantedRate = rate; }

    /// Brings the pipeline to where it was last wanted. Opening, seeking and winding down may wait for a file
    /// or a server, so this runs on GStreamer's threads, on several at once if it must.
    void apply(GstElement* pipeline)
    {
        Locker hold(m_applying);
        const float rate = m_wantedRate;
        if (isClosed()) {
            gst_element_set_state(pipeline, GST_STATE_NULL);
            return;
        }
        gst_element_set_state(pipeline, rate > 0 ? GST_STATE_PLAYING : GST_STATE_PAUSED);
        if (rate > 0 && std::exchange(m_rate, rate) != rate)
            seekToRate(pipeline, rate);
    }

private:
    bool begin()
    {
        Locker hold(m_lock);
        if (!m_isClosed)
            m_running++;
        return !m_isClosed;
    }
    void end()
    {
        Locker hold(m_lock);
        m_running--;
        m_idle.notify_all();
    }
    bool isClosed()
    {
        Locker hold(m_lock);
        return m_isClosed;
    }

    const VideoDecoder::Handlers m_handlers;
    std::atomic<bool> m_isFinished { false };
    std::atomic<float> m_wantedRate { 0 };
    Lock m_applying;
    // The speed it was last played at.
    float m_rate LUMORA_GUARDED_BY(m_applying) { 1 };
    Lock m_lock;
    std::condition_variable m_idle;
    bool m_isClosed LUMORA_GUARDED_BY(m_lock) { false };
    int m_running LUMORA_GUARDED_BY(m_lock) { 0 };
};
using SharedPlayback = std::shared_ptr<Playback>;

// What the pipeline calls us with: an owner of the playback.
Playback& playbackOf(gpointer owner) { return **static_cast<SharedPlayback*>(owner); }
void dropOwner(gpointer owner) { delete static_cast<SharedPlayback*>(owner); }

GstFlowReturn onSample(GstAppSink* sink, gpointer owner)
{
    playbackOf(owner).show(Sample { gst_app_sink_pull_sample(sink) });
    return GST_FLOW_OK;
}

GstFlowReturn onPreroll(GstAppSink* sink, gpointer owner)
{
    playbackOf(owner).show(Sample { gst_app_sink_pull_preroll(sink) });
    return GST_FLOW_OK;
}

GstBusSyncReply onMessage(GstBus*, GstMessage* message, gpointer owner)
{
    const GstMessageType type = GST_MESSAGE_TYPE(message);
    if (type == GST_MESSAGE_EOS || type == GST_MESSAGE_ERROR)
        playbackOf(owner).finish();
    gst_message_unref(message);
    return GST_BUS_DROP;
}

class GStreamerDecoder final : public VideoDecoder {
public:
    GStreamerDecoder(Element pipeline, SharedPlayback playback)
        : m_pipeline(std::move(pipeline))
        , m_playback(std::move(playback))
    {
    }
    ~GStreamerDecoder() override
    {
        m_playback->close();
        apply();
    }

    void setRate(float rate) override
    {
        m_playback->setRate(rate);
        apply();
    }
    double currentTime() override
    {
        gint64 position = 0;
        if (gst_element_query_position(m_pipeline.get(), GST_FORMAT_TIME, &position))
            m_time = static_cast<double>(position) / GST_SECOND;
        return m_time;
    }

private:
    void apply()
    {
        const SignalsBlocked signalsBlocked;
        gst_element_call_async(
            m_pipeline.get(), [](GstElement* pipeline, gpointer owner) { playbackOf(owner).apply(pipeline); },
            new SharedPlayback(m_playback), &dropOwner);
    }

    Element m_pipeline;
    SharedPlayback m_playback;
    double m_time { 0 };
};

} // namespace

const std::string& gstreamerProblem()
{
    static const std::string& problem = *new std::string { findProblem() };
    return problem;
}

std::unique_ptr<VideoDecoder> makeGStreamerDecoder(const std::string& url, VideoDecoder::Handlers handlers)
{
    if (!gstreamerProblem().empty())
        return nullptr;
    const SignalsBlocked signalsBlocked;
    Element pipeline(gst_element_factory_make("playbin", nullptr));
    Element sink(gst_element_factory_make("appsink", nullptr));
    if (!pipeline || !sink)
        return nullptr;
    // New elements float until somebody owns them: the pipeline, and for both of them this function.
    gst_object_ref_sink(pipeline.get());
    gst_object_ref_sink(sink.get());
    const auto playback = std::make_shared<Playback>(std::move(handlers));

    const Caps caps(gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "RGBA", nullptr));
    gst_app_sink_set_caps(GST_APP_SINK(sink.get()), caps.get());
    gst_app_sink_set_max_buffers(GST_APP_SINK(sink.get()), 1);
    gst_app_sink_set_drop(GST_APP_SINK(sink.get()), TRUE);
    GstAppSinkCallbacks callbacks {};
    callbacks.new_preroll = &onPreroll;
    callbacks.new_sample = &onSample;
    gst_app_sink_set_callbacks(
        GST_APP_SINK(sink.get()), &callbacks, new SharedPlayback(playback), &dropOwner);

    g_object_set(pipeline.get(), "uri", url.c_str(), "flags", videoOnly, "video-sink", sink.get(), nullptr);
    const std::unique_ptr<GstBus, Releaser<gst_object_unref>> bus(gst_element_get_bus(pipeline.get()));
    gst_bus_set_sync_handler(bus.get(), &onMessage, new SharedPlayback(playback), &dropOwner);
    return std::make_unique<GStreamerDecoder>(std::move(pipeline), playback);
}

} // namespace lumora
