#include "platform/dispatch/Executor.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"
#include "platform/linux/CurlTransport.h"
#include "platform/linux/LinuxNetworkPath.h"
#include "platform/process/ProcessConfiguration.h"

#include <cstdio>
#include <cstdlib>

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

/// $HOME/.lumora, or a folder for temporary files where that cannot be made.
fs::path defaultHome()
{
    std::error_code error;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody sets it here
    if (const char* home = std::getenv("HOME"); home && *home) {
        fs::path path = fs::path { home } / ".lumora";
        if (fs::create_directories(path, error); !error)
            return path;
    }
    const fs::path temporary = fs::temp_directory_path(error);
    return (error ? fs::path { "/tmp" } : temporary) / "lumora";
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
    replaceFile(path, fresh);
    return fresh;
}

}

ProcessConfiguration completed(ProcessConfiguration configuration)
{
    if (configuration.home.empty())
        configuration.home = defaultHome();
    if (!configuration.makeExecutor)
        configuration.makeExecutor = makeRealExecutor;
    if (!configuration.transport)
        configuration.transport = makeCurlTransport();
    if (!configuration.network)
        configuration.network = makeLinuxNetworkPath();
    if (!configuration.console)
        configuration.console = std::make_shared<StandardErrorConsole>();
#ifdef LUMORA_BUNDLE_DIR
    if (configuration.libraryBundle.empty())
        configuration.libraryBundle = LUMORA_BUNDLE_DIR;
#endif
    if (configuration.device.identifierForVendor.empty())
        configuration.device.identifierForVendor = identifierOf(configuration.home);
    return configuration;
}

}
