#include "processing/LMObservedPlayer.h"

namespace lumora {

const ClassDescription& LMObservedPlayer::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<LMObservedPlayer, NSObject>("LMObservedPlayer"));
    return description;
}
static const RegisteredClass registered { &LMObservedPlayer::classDescription };

std::shared_ptr<LMObservedPlayer> LMObservedPlayer::with(
    AVPlayer* player, AVPlayerItem* playerItem, std::optional<NSURLValue> url)
{
    auto observed = make<LMObservedPlayer>();
    observed->m_player = weakly(player);
    observed->m_playerItem = weakly(playerItem);
    if (url && !url->absoluteString.empty())
        observed->m_videoURL.set(std::move(url));
    return observed;
}

} // namespace lumora
