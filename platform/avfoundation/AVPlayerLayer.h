#pragma once

#include "platform/avfoundation/AVPlayer.h"
#include "platform/quartzcore/CALayer.h"

namespace lumora {

/// Shows the picture a player's item is at, whole and in its own proportions, in the middle of the layer.
/// Owns its player. Main thread only.
class AVPlayerLayer final : public CALayer {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<AVPlayerLayer> playerLayerWithPlayer(std::shared_ptr<AVPlayer> player);

    const std::shared_ptr<AVPlayer>& player() const { return m_player; }
    void setPlayer(std::shared_ptr<AVPlayer> player) { std::swap(m_player, player); }

    void drawInContext(CGContext& context, CGSize size) const override;

private:
    std::shared_ptr<AVPlayer> m_player;
};

} // namespace lumora
