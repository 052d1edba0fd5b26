#pragma once

#include "platform/process/Lock.h"

#include <utility>

namespace lumora {

/// A property whose accessors are atomic: one event may be changed on one queue while another reads it.
template <typename T> class AtomicProperty {
public:
    AtomicProperty() = default;
    explicit AtomicProperty(T value)
        : m_value(std::move(value))
    {
    }
    T get() const
    {
        Locker hold(m_lock);
        return m_value;
    }
    void set(T value)
    {
        Locker hold(m_lock);
        std::swap(m_value, value);
    }
    template <typename Change> void update(const Change& change)
    {
        Locker hold(m_lock);
        change(m_value);
    }

private:
    mutable Lock m_lock;
    T m_value LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
