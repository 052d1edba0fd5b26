#include "platform/avfoundation/AVPlayer.h"

#include "platform/dispatch/Executor.h"

namespace lumora {

static IMP replaceCurrentItemMessage()
{
    return IMP { +[](id self, SEL, id item) {
        static_cast<AVPlayer*>(self)->replaceCurrentItemWithPlayerItem(retain(as<AVPlayerItem>(item)));
    } };
}

const ClassDescription& AVPlayer::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<AVPlayer, NSObject>("AVPlayer")
            .method<&AVPlayer::play>(sel::play)
            .method<&AVPlayer::pause>(sel::pause)
            .method<&AVPlayer::rate>(sel::rate)
            .method<&AVPlayer::setRate>(sel::setRate)
            .method<&AVPlayer::currentItem>(sel::currentItem)
            .method(sel::replaceCurrentItemWithPlayerItem, replaceCurrentItemMessage())
            .variable<&AVPlayer::m_rate>("rate"));
    return description;
}
static const RegisteredClass registeredAVPlayer { &AVPlayer::classDescription };

std::shared_ptr<AVPlayer> AVPlayer::playerWithPlayerItem(std::shared_ptr<AVPlayerItem> item)
{
    auto player = make<AVPlayer>();
    player->m_currentItem = std::move(item);
    return player;
}

void AVPlayer::replaceCurrentItemWithPlayerItem(std::shared_ptr<AVPlayerItem> item)
{
    m_decoder.reset();
    // The one that was there dies last: its end may ask for the player's new one.
    std::swap(m_currentItem, item);
    setRate(m_rate);
}

void AVPlayer::setRate(float rate)
{
    m_rate = rate;
    if (m_rate != 0 && !m_decoder)
        startDecoder();
    if (m_decoder)
        m_decoder->setRate(m_rate);
}

void AVPlayer::startDecoder()
{
    const AVURLAsset* const asset = m_currentItem ? m_currentItem->asset() : nullptr;
    if (!asset)
        return;
    const std::weak_ptr<AVPlayerItem> weakItem = m_currentItem;
    auto show = [weakItem](UIImage frame) {
        if (const auto item = weakItem.lock())
            item->setCurrentFrame(std::move(frame));
    };
    auto pauseAtEnd = [weakSelf = weakly(this), weakItem, &queue = dispatch_get_main_queue()] {
        queue.async([weakSelf, weakItem] {
            const auto self = weakSelf.lock();
            if (self && refersTo(weakItem, self->currentItem()))
                self->pause();
        });
    };
    m_decoder = makeVideoDecoder(asset->URL().absoluteString, { show, pauseAtEnd });
}

} // namespace lumora
