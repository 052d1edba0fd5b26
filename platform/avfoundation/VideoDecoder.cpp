#include "platform/avfoundation/VideoDecoder.h"

#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "platform/process/ProcessLocal.h"

#include <algorithm>
#include <utility>

namespace lumora {

namespace {

// Main thread only.
const ProcessLocal<VideoDecoderFactory> s_factory;

/// Shows what it has, one frame after the other. Without any it never ends.
class InMemoryDecoder final : public VideoDecoder {
public:
    InMemoryDecoder(VideoInMemory video, Handlers handlers)
        : m_video(std::move(video))
        , m_handlers(std::move(handlers))
    {
    }

    void setRate(float rate) override
    {
        m_time = currentTime();
        m_since = Process::current().now();
        m_rate = std::max(rate, 0.0F);
        m_self = std::make_shared<InMemoryDecoder*>(this);
        if (m_rate > 0 && !m_video.frames.empty())
            next();
    }
    double currentTime() override
    {
        const double time = m_time + (Process::current().now() - m_since) * m_rate;
        return m_video.frames.empty() ? time : std::min(time, length());
    }

private:
    double length() const { return m_video.frameDuration * static_cast<double>(m_video.frames.size()); }

    /// Shows the frames that are due, and waits for the one after.
    void next()
    {
        // What is lost in a division must not cost a frame its time.
        constexpr double tolerance = 1e-6;
        const auto due = static_cast<size_t>(currentTime() / m_video.frameDuration + tolerance);
        if (m_shown <= due && m_shown < m_video.frames.size()) {
            m_shown = std::min(due, m_video.frames.size() - 1) + 1;
            m_handlers.frame(m_video.frames[m_shown - 1]);
        }
        if (due >= m_video.frames.size()) {
            if (!std::exchange(m_hasEnded, true))
                m_handlers.ended();
            return;
        }
        const double wait = (static_cast<double>(m_shown) * m_video.frameDuration - currentTime()) / m_rate;
        dispatch_get_main_queue().asyncAfter(wait, [weakSelf = std::weak_ptr(m_self)] {
            if (const auto self = weakSelf.lock())
                (*self)->next();
        });
    }

    VideoInMemory m_video;
    Handlers m_handlers;
    float m_rate { 0 };
    double m_time { 0 };
    double m_since { 0 };
    size_t m_shown { 0 };
    bool m_hasEnded { false };
    // Goes with this object, and with each change of the rate: what was waited for is out of date then.
    std::shared_ptr<InMemoryDecoder*> m_self;
};

} // namespace

void setVideoDecoderFactory(VideoDecoderFactory factory) { s_factory.get() = std::move(factory); }

std::unique_ptr<VideoDecoder> makeVideoDecoder(const std::string& url, VideoDecoder::Handlers handlers)
{
    const VideoDecoderFactory& factory = s_factory.get();
    if (factory) {
        if (auto decoder = factory(url, handlers))
            return decoder;
    }
    return makeInMemoryDecoder({}, std::move(handlers));
}

std::unique_ptr<VideoDecoder> makeInMemoryDecoder(VideoInMemory video, VideoDecoder::Handlers handlers)
{
    return std::make_unique<InMemoryDecoder>(std::move(video), std::move(handlers));
}

} // namespace lumora
