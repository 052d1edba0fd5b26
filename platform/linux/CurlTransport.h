#pragma once

#include "platform/foundation/HTTPTransport.h"

#include <memory>

namespace lumora {

/// HTTP over libcurl, all exchanges on one thread, which starts with the first. Follows up to 20 redirects,
/// none from HTTPS to HTTP, takes proxies from the environment, speaks HTTP and HTTPS only. An answer beyond
/// the caps of HTTPAnswerCollector is read no further and counts with the status it has; in what was packed,
/// the unpacked bytes count. What is cancelled is broken off at once. Error codes are those of
/// NSURLErrorDomain. `stop` is not for its own thread.
std::unique_ptr<HTTPTransport> makeCurlTransport();

} // namespace lumora
