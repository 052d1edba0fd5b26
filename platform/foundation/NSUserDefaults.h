#pragma once

#include "platform/foundation/Value.h"
#include "platform/process/Lock.h"

#include <filesystem>
#include <map>

namespace lumora {

/// The settings store of an application: a binary property list under its home folder,
/// Library/Preferences/<bundle identifier>.plist, keys sorted, mode 0600. One per process, any thread.
///
/// Read on first use. Every change is written at once, to a new file that then takes the place of the former
/// one, so what was set before a kill is there after it. A write that fails keeps the value in memory and the
/// former file as it is, and is made up for by the next change or `synchronize`. A damaged file is set aside
/// as <name>.damaged, never overwritten. While a file is there that cannot be read, the store is empty and
/// takes nothing; each question tries again.
class NSUserDefaults {
public:
    static NSUserDefaults& standardUserDefaults();

    NSUserDefaults();
    /// The stored value, or nothing.
    Value objectForKey(std::string_view defaultName) const;
    /// Stores numbers, text, data, dates, arrays and dictionaries of these; nothing removes the key; anything
    /// else, or anything while the file cannot be read, is refused with a line on the console.
    void setObject(Value object, std::string_view forKey);
    void removeObjectForKey(std::string_view defaultName);
    /// False when absent; a text counts as true when it begins with Y, y, T, t or a digit from 1 to 9.
    bool boolForKey(std::string_view defaultName) const;
    void setBool(bool value, std::string_view forKey);
    /// Writes what is still unwritten. False when that fails.
    bool synchronize();

private:
    using Values = std::map<std::string, Value, std::less<>>;
    Values& valuesLocked() const LUMORA_REQUIRES(m_lock);
    bool setAsideLocked() const LUMORA_REQUIRES(m_lock);
    /// Tries to write; false only when a property list cannot hold what is there.
    bool writeLocked() LUMORA_REQUIRES(m_lock);

    std::filesystem::path m_path;
    mutable Lock m_lock;
    mutable Values m_values LUMORA_GUARDED_BY(m_lock);
    mutable bool m_isLoaded LUMORA_GUARDED_BY(m_lock) { false };
    // The file there is unreadable and still in its place.
    mutable bool m_isDamaged LUMORA_GUARDED_BY(m_lock) { false };
    bool m_isUnwritten LUMORA_GUARDED_BY(m_lock) { false };
};

} // namespace lumora
