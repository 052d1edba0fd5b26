#pragma once

#include <atomic>
#include <string>
#include <string_view>

namespace lumora {

/// The interned name of an operation, such as "setNavigationDelegate:". One per text in the whole program:
/// two selectors are equal exactly when their pointers are. Never destroyed. Any thread.
class Selector {
public:
    const std::string& name() const { return m_name; }

private:
    friend const Selector* sel_registerName(std::string_view);
    explicit Selector(std::string_view name)
        : m_name(name)
    {
    }
    std::string m_name;
};

using SEL = const Selector*;

/// Interns a name.
SEL sel_registerName(std::string_view name);
inline SEL NSSelectorFromString(std::string_view name) { return sel_registerName(name); }
inline const char* sel_getName(SEL selector)
{
    return selector ? selector->name().c_str() : "<null selector>";
}

inline SEL operator""_sel(const char* name, size_t length) { return sel_registerName({ name, length }); }

/// A selector declared once together with the C++ type of its operation, so that `send(view,
/// sel::layoutSubviews)` needs no type of its own and does not compile with wrong arguments. Receiver and
/// `_cmd` are not part of `F`. Constant-initialised, hence usable while other static objects are still being
/// made.
template <typename F> class TypedSelector {
public:
    using Function = F;
    constexpr explicit TypedSelector(const char* name)
        : m_name(name)
    {
    }
    TypedSelector(const TypedSelector&) = delete;
    TypedSelector& operator=(const TypedSelector&) = delete;

    operator SEL() const
    {
        if (SEL known = m_selector.load(std::memory_order_acquire))
            return known;
        SEL interned = sel_registerName(m_name);
        m_selector.store(interned, std::memory_order_release);
        return interned;
    }

private:
    const char* m_name;
    mutable std::atomic<SEL> m_selector { nullptr };
};

} // namespace lumora
