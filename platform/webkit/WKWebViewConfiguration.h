#pragma once

#include "platform/objc/Message.h"

namespace lumora {

/// How a web view may play media; this platform's engines play none, so it is kept and told. Main thread
/// only.
class WKWebViewConfiguration final : public NSObject {
public:
    static const ClassDescription& classDescription();

    bool allowsInlineMediaPlayback() const { return m_allowsInlineMediaPlayback; }
    void setAllowsInlineMediaPlayback(bool allows) { m_allowsInlineMediaPlayback = allows; }
    /// A set of bits: 1 audio, 2 video.
    int64_t mediaTypesRequiringUserActionForPlayback() const { return m_mediaTypes; }
    void setMediaTypesRequiringUserActionForPlayback(int64_t types) { m_mediaTypes = types; }

private:
    bool m_allowsInlineMediaPlayback { false };
    int64_t m_mediaTypes { 0 };
};

} // namespace lumora
