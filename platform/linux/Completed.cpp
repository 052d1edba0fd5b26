#include "platform/dispatch/Executor.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"
#include "platform/linux/CurlTransport.h"
#include "platform/linux/LinuxNetworkPath.h"
#include "platform/process/ProcessConfiguration.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace lumora {

namespace fs = std::filesystem;

namespace {

class StandardErrorConsole final : public Console {
public:
    void write(std::string_view line) override
    {
        // One call, so that lines of several threads do not mix.
        const std::string whole = std::string { line } + "\n";
        std::fwrite(whole.data(), 1, whole.size(), stderr);
    }
};

/// The name of the running program.
std::string programName()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return program.filename().empty() ? std::string { "host" } : program.filename().string();
}

/// Beside the installed library, or in the build tree that made it.
fs::path defaultBundle()
{
    Dl_info here {};
    std::error_code error;
    if (dladdr(reinterpret_cast<void*>(&defaultBundle), &here) != 0 && here.dli_fname) {
        for (fs::path folder = fs::absolute(here.dli_fname, error).parent_path(); folder.has_relative_path();
             folder = folder.parent_path()) {
            fs::path bundle = folder / "share" / "lumora-3" / "Lumora.bundle";
            if (fs::exists(bundle / "Info.json", error))
                return bundle;
        }
    }
    return LUMORA_BUNDLE_DIR;
}

/// A folder of the application's own under $HOME/.lumora, or under that for temporary files where it cannot
/// be made.
fs::path defaultHome(const std::string& application)
{
    std::error_code error;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody sets it here
    if (const char* home = std::getenv("HOME"); home && *home) {
        fs::path path = fs::path { home } / ".lumora" / application;
        if (fs::create_directories(path, error); !error)
            return path;
    }
    const fs::path temporary = fs::temp_directory_path(error);
    return (error ? fs::path { "/tmp" } : temporary) / "lumora" / application;
}

/// The same at every start: kept in the home folder. One for this run only where that cannot be written.
std::string identifierOf(const fs::path& home)
{
    const fs::path path = home / "Library" / "identifier";
    constexpr size_t lengthOfUUID = 36;
    if (const std::optional<NSData> kept = contentsOfFile(path)) {
        if (std::string text = trimmed(kept->view()); text.size() == lengthOfUUID && isValidUTF8(text))
            return text;
    }
    std::string fresh = newUUIDString();
    replaceFile(path, { fresh });
    return fresh;
}

} // namespace

ProcessConfiguration completed(ProcessConfiguration configuration)
{
    if (configuration.mainBundleIdentifier.empty())
        configuration.mainBundleIdentifier = programName();
    if (configuration.home.empty())
        configuration.home = defaultHome(configuration.mainBundleIdentifier);
    if (!configuration.makeExecutor)
        configuration.makeExecutor = makeRealExecutor;
    if (!configuration.transport)
        configuration.transport = makeCurlTransport();
    if (!configuration.network)
        configuration.network = makeLinuxNetworkPath();
    if (!configuration.console)
        configuration.console = std::make_shared<StandardErrorConsole>();
    if (configuration.libraryBundle.empty())
        configuration.libraryBundle = defaultBundle();
    if (configuration.device.identifierForVendor.empty())
        configuration.device.identifierForVendor = identifierOf(configuration.home);
    return configuration;
}

} // namespace lumora
