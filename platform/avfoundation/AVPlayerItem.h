#pragma once

#include "platform/foundation/Value.h"
#include "platform/objc/Message.h"
#include "platform/process/AtomicProperty.h"
#include "platform/uikit/UIImage.h"

namespace lumora {

/// A video by its address. Immutable; any thread.
class AVURLAsset final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<AVURLAsset> assetWithURL(NSURLValue url);

    const NSURLValue& URL() const { return m_url; }

private:
    NSURLValue m_url;
};

/// A video as it is played: which one, and the picture it is at. Owned by its players. The picture comes from
/// whoever decodes the video, on a thread of its own; until then, and for a video without pictures, it is a
/// null one. Any thread.
class AVPlayerItem final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<AVPlayerItem> playerItemWithURL(NSURLValue url);

    /// Borrowed; null for an item that was made without one.
    AVURLAsset* asset() const { return m_asset.get(); }
    UIImage currentFrame() const { return m_currentFrame.get(); }
    void setCurrentFrame(UIImage frame) { m_currentFrame.set(std::move(frame)); }

private:
    std::shared_ptr<AVURLAsset> m_asset;
    AtomicProperty<UIImage> m_currentFrame;
};

} // namespace lumora
