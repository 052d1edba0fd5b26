#pragma once

#include "platform/objc/Class.h"

namespace lumora {

/// Picks the metadata class for a web view that a network has just given a delegate. Stateless; any thread.
class TDMetadataClassesFactory {
public:
    /// Decided by the delegate alone. Null for none, for a delegate of no known network, and where that
    /// network's metadata class does not exist.
    static Class getMetadataClassForObject(const Object* webView, const Object* andDelegate);
};

} // namespace lumora
