#pragma once

#include "platform/objc/NSException.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace lumora {

/// A set of objects that it does not own, in the order in which they came; the dead leave by themselves.
/// Adding null raises NSInvalidArgumentException. Not synchronised: its owner locks.
template <typename T> class NSHashTable {
public:
    /// Adding a member again changes nothing.
    void addObject(const std::shared_ptr<T>& object)
    {
        if (!object)
            throw NSException(NSInvalidArgumentException, "a hash table holds no null");
        if (!containsObject(object.get()))
            m_members.push_back(object);
    }
    void removeObject(const T* object)
    {
        std::erase_if(
            m_members, [&](const auto& member) { return member.expired() || isSame(member, object); });
    }
    bool containsObject(const T* object) const
    {
        return std::any_of(
            m_members.begin(), m_members.end(), [&](const auto& member) { return isSame(member, object); });
    }
    /// The living members, each held by the answer.
    std::vector<std::shared_ptr<T>> allObjects() const
    {
        std::vector<std::shared_ptr<T>> living;
        std::erase_if(m_members, [&](const auto& member) {
            if (auto object = member.lock())
                living.push_back(std::move(object));
            return member.expired();
        });
        return living;
    }
    /// The members without holding them: for whoever must not be the one that lets the last reference go.
    std::vector<std::weak_ptr<T>> allReferences() const { return m_members; }
    size_t count() const { return allObjects().size(); }
    void removeAllObjects() { m_members.clear(); }

private:
    // By owner: a strong reference taken to compare could be the last one, and the member die under its
    // owner's lock.
    static bool isSame(const std::weak_ptr<T>& member, const T* object)
    {
        if constexpr (requires { object->weak_from_this(); }) {
            const auto owner = object ? object->weak_from_this() : decltype(object->weak_from_this()) {};
            return object && !member.owner_before(owner) && !owner.owner_before(member);
        } else
            return object && member.lock().get() == object;
    }

    mutable std::vector<std::weak_ptr<T>> m_members;
};

/// Keys it owns to objects it does not, in the order in which the keys came; an entry leaves when its object
/// dies. Setting null raises NSInvalidArgumentException. Not synchronised: its owner locks.
template <typename K, typename T> class NSMapTable {
public:
    using Entry = std::pair<K, std::shared_ptr<T>>;

    /// A key that is there keeps its place.
    void setObject(const K& key, const std::shared_ptr<T>& object)
    {
        if (!object)
            throw NSException(NSInvalidArgumentException, "a map table holds no null");
        std::erase_if(m_entries, [](const auto& entry) { return entry.second.expired(); });
        if (auto entry = find(key); entry != m_entries.end())
            entry->second = object;
        else
            m_entries.emplace_back(key, object);
    }
    /// The living object under a key, or null.
    std::shared_ptr<T> objectForKey(const K& key) const
    {
        auto entry = find(key);
        return entry == m_entries.end() ? nullptr : entry->second.lock();
    }
    void removeObject(const K& key)
    {
        std::erase_if(m_entries, [&](const auto& entry) { return entry.first == key; });
    }
    /// The living entries, each object held by the answer.
    std::vector<Entry> allEntries() const
    {
        std::vector<Entry> living;
        std::erase_if(m_entries, [&](const auto& entry) {
            if (auto object = entry.second.lock())
                living.emplace_back(entry.first, std::move(object));
            return entry.second.expired();
        });
        return living;
    }
    size_t count() const { return allEntries().size(); }
    void removeAllObjects() { m_entries.clear(); }

private:
    auto find(const K& key) const
    {
        return std::find_if(
            m_entries.begin(), m_entries.end(), [&](const auto& entry) { return entry.first == key; });
    }

    mutable std::vector<std::pair<K, std::weak_ptr<T>>> m_entries;
};

} // namespace lumora
