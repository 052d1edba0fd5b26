#pragma once

#include "platform/avfoundation/AVPlayerItem.h"
#include "platform/avfoundation/VideoDecoder.h"

namespace lumora {

namespace sel {
inline constinit const TypedSelector<void()> play { "play" };
inline constinit const TypedSelector<void()> pause { "pause" };
inline constinit const TypedSelector<float()> rate { "rate" };
inline constinit const TypedSelector<void(float)> setRate { "setRate:" };
inline constinit const TypedSelector<id()> currentItem { "currentItem" };
inline constinit const TypedSelector<void(id)> replaceCurrentItemWithPlayerItem {
    "replaceCurrentItemWithPlayerItem:"
};
} // namespace sel

/// Plays one item at a time: the item's pictures come from a decoder, which is made when it first plays. At
/// its end, or when it cannot be played, the player pauses. Owned by whoever shows it; owns its item. Main
/// thread only.
class AVPlayer final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<AVPlayer> playerWithPlayerItem(std::shared_ptr<AVPlayerItem> item);

    /// Borrowed; null when there is nothing to play.
    AVPlayerItem* currentItem() const { return m_currentItem.get(); }
    /// Null leaves the player without an item. The rate stays.
    void replaceCurrentItemWithPlayerItem(std::shared_ptr<AVPlayerItem> item);
    void play() { setRate(1); }
    void pause() { setRate(0); }
    /// Times the natural speed; 0 is paused.
    float rate() const { return m_rate; }
    void setRate(float rate);
    /// Seconds into the item's video.
    double currentTime() { return m_decoder ? m_decoder->currentTime() : 0; }

private:
    void startDecoder();

    std::shared_ptr<AVPlayerItem> m_currentItem;
    float m_rate { 0 };
    std::unique_ptr<VideoDecoder> m_decoder;
};

} // namespace lumora
