#include "platform/foundation/NSUserDefaults.h"

#include "platform/foundation/Console.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSPropertyList.h"
#include "platform/process/ProcessLocal.h"

#include <algorithm>

namespace lumora {

namespace {

/// The identifier as the name of a file of its own folder.
std::string fileName(std::string identifier)
{
    std::replace(identifier.begin(), identifier.end(), '/', '_');
    return (identifier.empty() ? "application" : identifier) + ".plist";
}

} // namespace

NSUserDefaults& NSUserDefaults::standardUserDefaults()
{
    static const ProcessLocal<NSUserDefaults> s_defaults;
    return s_defaults.get();
}

NSUserDefaults::NSUserDefaults()
    : m_path(NSHomeDirectory() / "Library" / "Preferences"
        / fileName(Process::current().configuration().mainBundleIdentifier))
{
}

NSUserDefaults::Values& NSUserDefaults::valuesLocked() const
{
    if (m_isLoaded)
        return m_values;
    std::error_code unreadable;
    const std::optional<NSData> data = contentsOfFile(m_path, unreadable);
    // Not damaged: another time it may be read, so nothing is written in its place until then.
    if (unreadable)
        return m_values;
    m_isLoaded = true;
    const std::optional<Value> read = data ? propertyListWithData(data->view()) : std::nullopt;
    if (const NSDictionary* stored = read ? read->dictionary() : nullptr) {
        for (const auto& [key, value] : *stored)
            m_values.emplace(key, value);
    } else {
        std::error_code error;
        m_isDamaged = std::filesystem::exists(m_path, error) || error;
        setAsideLocked();
    }
    return m_values;
}

bool NSUserDefaults::setAsideLocked() const
{
    if (!m_isDamaged)
        return true;
    constexpr int mostKept = 10;
    std::error_code error;
    std::filesystem::path aside = m_path.string() + ".damaged";
    for (int i = 1; i < mostKept && std::filesystem::exists(aside, error); i++)
        aside = m_path.string() + ".damaged." + std::to_string(i);
    std::filesystem::rename(m_path, aside, error);
    m_isDamaged = static_cast<bool>(error);
    return !m_isDamaged;
}

bool NSUserDefaults::writeLocked()
{
    const Values& values = valuesLocked();
    const Value dictionary = NSDictionary::withDistinctKeys({ values.begin(), values.end() });
    const auto content = bytesOfPropertyList(dictionary);
    if (!content)
        return false;
    m_isUnwritten = !setAsideLocked() || !replaceFile(m_path, content->parts());
    return true;
}

Value NSUserDefaults::objectForKey(std::string_view defaultName) const
{
    Locker hold(m_lock);
    const Values& values = valuesLocked();
    auto entry = values.find(defaultName);
    return entry == values.end() ? Value {} : entry->second;
}

void NSUserDefaults::setObject(Value object, std::string_view forKey)
{
    if (object.isNothing())
        return removeObjectForKey(forKey);
    {
        Locker hold(m_lock);
        Values& values = valuesLocked();
        if (m_isLoaded) {
            auto [place, isNew] = values.try_emplace(std::string { forKey });
            std::swap(place->second, object);
            if (writeLocked())
                return;
            // A property list cannot hold it: the former value is back.
            std::swap(place->second, object);
            if (isNew)
                values.erase(place);
        }
    }
    NSLog("user defaults cannot hold what was set for " + std::string { forKey });
}

void NSUserDefaults::removeObjectForKey(std::string_view defaultName)
{
    Locker hold(m_lock);
    Values& values = valuesLocked();
    if (auto entry = values.find(defaultName); entry != values.end()) {
        values.erase(entry);
        writeLocked();
    }
}

bool NSUserDefaults::boolForKey(std::string_view defaultName) const
{
    const Value value = objectForKey(defaultName);
    if (const std::string* text = value.string())
        return !text->empty()
            && std::string_view { "YyTt123456789" }.find(text->front()) != std::string_view::npos;
    return value.boolValue();
}

void NSUserDefaults::setBool(bool value, std::string_view forKey) { setObject(value, forKey); }

bool NSUserDefaults::synchronize()
{
    Locker hold(m_lock);
    return !m_isUnwritten || (writeLocked() && !m_isUnwritten);
}

} // namespace lumora
