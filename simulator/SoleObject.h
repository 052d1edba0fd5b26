#pragma once

#include "platform/foundation/NSJSONSerialization.h"

#include <string_view>

namespace lumora {

/// The one JSON object of a body that a service got: the whole of it, or the only one in a list. Empty for
/// everything else. Any thread.
inline NSDictionary soleObjectIn(std::string_view json)
{
    const auto value = JSONObjectWithData(json);
    if (!value)
        return {};
    if (const NSArray* list = value->array(); list && list->size() == 1 && list->front().isDictionary())
        return *list->front().dictionary();
    return value->isDictionary() ? *value->dictionary() : NSDictionary {};
}

} // namespace lumora
