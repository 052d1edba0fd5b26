#pragma once

#include "platform/uikit/UIImage.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lumora {

/// What plays one video for a player: it runs the video's time and hands out its pictures as they are due.
/// Paused at first. Owned by its player; main thread only, but for the handlers.
class VideoDecoder {
public:
    /// Called on any thread, and not any more once the decoder is gone.
    struct Handlers {
        std::function<void(UIImage)> frame;
        /// Once, at the end of the video or when it cannot be played.
        std::function<void()> ended;
    };

    virtual ~VideoDecoder() = default;
    /// Times the natural speed; 0 pauses.
    virtual void setRate(float rate) = 0;
    /// Seconds into the video.
    virtual double currentTime() = 0;
};

using VideoDecoderFactory
    = std::function<std::unique_ptr<VideoDecoder>(const std::string& url, VideoDecoder::Handlers handlers)>;
/// What the players that the current process makes from now on are driven by; unless set, videos without
/// pictures and without an end. Main thread.
void setVideoDecoderFactory(VideoDecoderFactory factory);
/// Never null.
std::unique_ptr<VideoDecoder> makeVideoDecoder(const std::string& url, VideoDecoder::Handlers handlers);

/// A video that is in memory, under the process's clock.
struct VideoInMemory {
    std::vector<UIImage> frames;
    /// Each frame's, in seconds.
    double frameDuration { 1.0 / 30 };
};
std::unique_ptr<VideoDecoder> makeInMemoryDecoder(VideoInMemory video, VideoDecoder::Handlers handlers);

} // namespace lumora
