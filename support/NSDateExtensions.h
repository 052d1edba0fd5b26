#pragma once

#include "platform/foundation/NSDate.h"

namespace lumora {

// NSDate (LMServerTimeInterval)

/// Seconds since 1970. Kept: it is the device's clock, which nothing sets right by the server's. Any thread.
inline double serverTimeIntervalSince1970() { return timeIntervalSince1970Now(); }

} // namespace lumora
