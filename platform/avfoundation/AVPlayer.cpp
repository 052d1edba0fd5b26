#include "platform/avfoundation/AVPlayer.h"

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
    // The one that was there dies last: its end may ask for the player's new one.
    std::swap(m_currentItem, item);
}

} // namespace lumora
