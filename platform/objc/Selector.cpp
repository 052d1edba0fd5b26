#include "platform/objc/Selector.h"

#include "platform/process/Lock.h"

#include <unordered_map>

namespace lumora {

SEL sel_registerName(std::string_view name)
{
    // Leaked on purpose: selectors outlive every static object.
    static auto& lock = *new Lock;
    static auto& table = *new std::unordered_map<std::string_view, SEL>;

    Locker hold(lock);
    if (auto known = table.find(name); known != table.end())
        return known->second;
    SEL selector = new Selector(name);
    table.emplace(selector->name(), selector);
    return selector;
}

} // namespace lumora
