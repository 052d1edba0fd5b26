#pragma once

#include "platform/foundation/NSURLSession.h"

#include <optional>
#include <string>

namespace lumora {

/// The client of the collector service. Stateless but for its key. Any thread; answers arrive on the HTTP
/// session's queue.
class LMAPI {
public:
    /// Replaces the collector's key; an absent one is ignored.
    static void setNewAuthKey(const std::optional<std::string>& key);
    /// A request with a time-out of 15 s that ignores local caches; "Authorization" is the key as stored,
    /// "(null)" without one.
    static NSMutableURLRequest createURLRequestWithURL(const std::string& url, const std::string& andMethod);
    /// Uploads the log file as text. The file is removed once the request is built, so a failed send loses
    /// its lines.
    static void sendLog();
};

} // namespace lumora
