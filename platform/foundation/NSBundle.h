#pragma once

#include "platform/foundation/Value.h"

#include <filesystem>

namespace lumora {

/// A bundle: an information dictionary and, for the library's, a folder of resources. The main bundle has
/// what the process was configured with and no folder. The library's Info.json is read until it has been
/// read once, then kept for the process. A plain value, any thread.
class NSBundle {
public:
    static NSBundle mainBundle();
    /// The main bundle or the library's, by identifier; nothing when neither has it, or the library's folder
    /// is missing.
    static std::optional<NSBundle> bundleWithIdentifier(std::string_view identifier);
    /// The library's own; without information when its folder is missing or damaged.
    static NSBundle bundleForLibrary();

    /// Empty when the information names none.
    std::string bundleIdentifier() const { return m_identifier; }
    /// Nothing when absent.
    Value objectForInfoDictionaryKey(std::string_view key) const { return (*m_info)[key]; }
    /// The path of a resource that exists.
    std::optional<std::filesystem::path> pathForResource(std::string_view name, std::string_view type) const;
    /// The text under a key in the bundle's Localizable.json; the key itself when there is none.
    std::string localizedString(std::string_view key) const;

private:
    NSBundle(std::string identifier, std::shared_ptr<const NSDictionary> info, std::filesystem::path folder)
        : m_identifier(std::move(identifier))
        , m_info(std::move(info))
        , m_folder(std::move(folder))
    {
    }

    std::string m_identifier;
    std::shared_ptr<const NSDictionary> m_info;
    std::filesystem::path m_folder;
};

} // namespace lumora
