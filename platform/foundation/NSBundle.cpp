#include "platform/foundation/NSBundle.h"

#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/process/Lock.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

namespace {

std::optional<NSDictionary> dictionaryInFile(const std::filesystem::path& path)
{
    const std::optional<NSData> data = contentsOfFile(path);
    const std::optional<Value> read = data ? JSONObjectWithData(data->view()) : std::nullopt;
    return read && read->dictionary() ? std::optional(*read->dictionary()) : std::nullopt;
}

/// What the library's folder said when it first said something.
struct LibraryInfo {
    Lock lock;
    std::shared_ptr<const NSDictionary> read LUMORA_GUARDED_BY(lock);
};
const ProcessLocal<LibraryInfo> s_library;

std::shared_ptr<const NSDictionary> libraryInfo(const std::filesystem::path& folder)
{
    LibraryInfo& library = s_library.get();
    {
        Locker hold(library.lock);
        if (library.read)
            return library.read;
    }
    auto read = dictionaryInFile(folder / "Info.json");
    if (!read)
        return std::make_shared<NSDictionary>();
    auto info = std::make_shared<const NSDictionary>(std::move(*read));
    Locker hold(library.lock);
    library.read = info;
    return info;
}

} // namespace

NSBundle NSBundle::mainBundle()
{
    // The configuration lives as long as its process.
    const ProcessConfiguration& configuration = Process::current().configuration();
    return { configuration.mainBundleIdentifier, { std::shared_ptr<void> {}, &configuration.mainBundleInfo },
        {} };
}

NSBundle NSBundle::bundleForLibrary()
{
    const std::filesystem::path& folder = Process::current().configuration().libraryBundle;
    auto info = libraryInfo(folder);
    return { (*info)["CFBundleIdentifier"].stringOrEmpty(), info, folder };
}

std::optional<NSBundle> NSBundle::bundleWithIdentifier(std::string_view identifier)
{
    for (const NSBundle& bundle : { mainBundle(), bundleForLibrary() }) {
        if (!identifier.empty() && bundle.m_identifier == identifier)
            return bundle;
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> NSBundle::pathForResource(
    std::string_view name, std::string_view type) const
{
    if (m_folder.empty() || name.empty())
        return std::nullopt;
    std::filesystem::path path = m_folder / name;
    if (!type.empty())
        path += "." + std::string { type };
    std::error_code error;
    return std::filesystem::exists(path, error) ? std::optional(path) : std::nullopt;
}

std::string NSBundle::localizedString(std::string_view key) const
{
    if (const auto path = pathForResource("Localizable", "json")) {
        if (const auto texts = dictionaryInFile(*path); texts && (*texts)[key].isString())
            return (*texts)[key].stringOrEmpty();
    }
    return std::string { key };
}

} // namespace lumora
