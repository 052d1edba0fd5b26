#pragma once

#include "platform/foundation/Value.h"
#include "platform/objc/NSException.h"
#include "platform/objc/Object.h"

namespace lumora {

// NSDictionary (SafeGet)

/// The value under a key; the default when there is none. What was given for a dictionary may be of another
/// kind: an object is asked by key-value coding, and one that raises gives the default too. Any thread.
inline Value getElementFromDictionarySafely(
    const Value& dictionary, std::string_view key, const Value& defaultValue)
{
    try {
        const auto* entries = dictionary.dictionary();
        const std::shared_ptr<Object> object = dictionary.object();
        const Value value = entries ? (*entries)[key] : object ? object->valueForKey(key) : Value {};
        return value.isNothing() ? defaultValue : value;
    } catch (const NSException&) {
        return defaultValue;
    }
}

} // namespace lumora
