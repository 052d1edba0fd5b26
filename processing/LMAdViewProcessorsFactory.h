#pragma once

#include "platform/objc/Class.h"
#include "processing/LMAdViewProcessor.h"

namespace lumora {

/// Decides which processor understands an object that the hooks have met, and makes it. Knows networks and
/// processors by their classes' names only: a network that is not linked never matches, and a processor class
/// that is not there counts as none. Stateless; main thread.
class LMAdViewProcessorsFactory {
public:
    /// Asks the object first, then the delegate its web view has from the network; the first match decides.
    /// Null when nothing matches.
    static Class getProcessorClassForObject(Object* object, Object* andWebViewDelegate);
    /// The same for an ad as the hooks meet it: for exactly a web view, the delegate is the one behind its
    /// proxy; none for any other object.
    static Class getProcessorClassForAd(Object* object);
    /// A new processor for an ad, made with `initWithAdObject:`; null when no class understands the ad, or
    /// its initialiser gives nothing or raises.
    static std::shared_ptr<LMAdViewProcessor> getProcessorForObject(Object* object);
};

} // namespace lumora
