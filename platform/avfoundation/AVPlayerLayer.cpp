#include "platform/avfoundation/AVPlayerLayer.h"

#include "platform/coregraphics/CGContext.h"

#include <algorithm>

namespace lumora {

const ClassDescription& AVPlayerLayer::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<AVPlayerLayer, CALayer>("AVPlayerLayer")
                                    .variable<&AVPlayerLayer::m_player>("player"));
    return description;
}
static const RegisteredClass registeredAVPlayerLayer { &AVPlayerLayer::classDescription };

std::shared_ptr<AVPlayerLayer> AVPlayerLayer::playerLayerWithPlayer(std::shared_ptr<AVPlayer> player)
{
    auto layer = make<AVPlayerLayer>();
    layer->m_player = std::move(player);
    return layer;
}

void AVPlayerLayer::drawInContext(CGContext& context, CGSize size) const
{
    CALayer::drawInContext(context, size);
    const AVPlayerItem* item = m_player ? m_player->currentItem() : nullptr;
    const UIImage frame = item ? item->currentFrame() : UIImage {};
    if (frame.isNull())
        return;
    const double scale = std::min(size.width / frame.size().width, size.height / frame.size().height);
    const CGSize fitted { frame.size().width * scale, frame.size().height * scale };
    context.drawImage(
        frame, { { (size.width - fitted.width) / 2, (size.height - fitted.height) / 2 }, fitted });
}

} // namespace lumora
