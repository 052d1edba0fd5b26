#include "platform/objc/TypeEncoding.h"

#include "platform/process/Lock.h"

#include <unordered_map>

namespace lumora {

const TypeEncoding& registeredEncoding(const std::string& text)
{
    // Leaked on purpose: encodings outlive every static object.
    static auto& lock = *new Lock;
    static auto& table = *new std::unordered_map<std::string_view, const TypeEncoding*>;

    Locker hold(lock);
    if (auto known = table.find(text); known != table.end())
        return *known->second;
    const auto* encoding = new TypeEncoding(text);
    table.emplace(encoding->text, encoding);
    return *encoding;
}

} // namespace lumora
