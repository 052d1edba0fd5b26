#pragma once

#include "interception/Extraction.h"

namespace lumora {

/// Tells from the custom targeting of a Google ad request which header bidder won it. Stateless; main thread.
/// Never raises.
class CustomTargetingFactory {
public:
    /// What is known of an ad's header bidder: Amazon's dictionary, or nothing.
    static Value getCustomTargetDictionaryWithObject(const Object* adObject)
    {
        return checkObjectForAmazon(adObject);
    }
    /// {"DTB(Amazon)": its version} when the targeting has every key that Amazon leaves there; else nothing.
    static Value checkObjectForAmazon(const Object* adObject);
    /// The first value on the key paths, in order; one that raises is passed over.
    static Value getValueFromObject(const Object* object, const KeyPaths& keyPathes)
    {
        return lumora::getValueFromObject(object, keyPathes);
    }
};

} // namespace lumora
