#pragma once

#include "platform/foundation/Value.h"

namespace lumora {

/// The alerts that are kept from showing: those of which the list holds both the alert itself and the entry
/// {title: message}, empty texts for what it lacks. Empty from the start, and kept so by the library, so that
/// every alert shows; an alert leaves the list when it is to show. One list a process; main thread. The hook
/// on `show` that reads it is the class operation `swizzleMethods` of "UIAlertView".
NSArray& alertsToShow();

} // namespace lumora
