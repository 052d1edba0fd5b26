#include "platform/foundation/NSDate.h"

#include "platform/process/Process.h"

namespace lumora {

double timeIntervalSince1970Now() { return Process::current().now(); }

} // namespace lumora
