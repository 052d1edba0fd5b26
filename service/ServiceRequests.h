#pragma once

#include "platform/foundation/NSURLSession.h"

namespace lumora {

// What both services are sent alike. Any thread.

/// The device fields that have one name and one value for both.
NSDictionary commonDeviceFields();
/// A request that carries JSON, with a time-out of 15 s, that ignores local caches. No authorisation.
NSMutableURLRequest jsonRequest(const std::string& url, const std::string& method);

} // namespace lumora
