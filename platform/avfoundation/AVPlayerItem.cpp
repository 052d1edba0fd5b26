#include "platform/avfoundation/AVPlayerItem.h"

namespace lumora {

const ClassDescription& AVURLAsset::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<AVURLAsset, NSObject>("AVURLAsset").variable("URL", [](Object& object) {
            return Value { static_cast<AVURLAsset&>(object).URL() };
        }));
    return description;
}
static const RegisteredClass registeredAVURLAsset { &AVURLAsset::classDescription };

std::shared_ptr<AVURLAsset> AVURLAsset::assetWithURL(NSURLValue url)
{
    auto asset = make<AVURLAsset>();
    asset->m_url = std::move(url);
    return asset;
}

const ClassDescription& AVPlayerItem::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<AVPlayerItem, NSObject>("AVPlayerItem")
                                    .variable<&AVPlayerItem::m_asset>("asset"));
    return description;
}
static const RegisteredClass registeredAVPlayerItem { &AVPlayerItem::classDescription };

std::shared_ptr<AVPlayerItem> AVPlayerItem::playerItemWithURL(NSURLValue url)
{
    auto item = make<AVPlayerItem>();
    item->m_asset = AVURLAsset::assetWithURL(std::move(url));
    return item;
}

} // namespace lumora
