#pragma once

#include "platform/dispatch/VirtualExecutor.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/HTTPTransport.h"
#include "platform/process/Process.h"
#include "platform/systemconfiguration/NetworkPath.h"

#include <cstdlib>

namespace lumora::test {

/// A folder for the length of a test.
struct TemporaryFolder {
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "lumora-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path;
};

class RecordingConsole final : public Console {
public:
    void write(std::string_view line) override
    {
        Locker hold(m_lock);
        m_lines.emplace_back(line);
    }
    std::vector<std::string> lines() const
    {
        Locker hold(m_lock);
        return m_lines;
    }

private:
    mutable Lock m_lock;
    std::vector<std::string> m_lines LUMORA_GUARDED_BY(m_lock);
};

/// Keeps what was started; the test answers when it likes.
class HeldTransport final : public HTTPTransport {
public:
    void start(HTTPExchangeRequest request, Completion completion) override
    {
        requests.push_back(std::move(request));
        completions.push_back(std::move(completion));
    }
    void stop() override { completions.clear(); }

    std::vector<HTTPExchangeRequest> requests;
    std::vector<Completion> completions;
};

/// A network whose flags the test sets.
class SetNetworkPath final : public NetworkPath {
public:
    uint32_t flags() override { return m_flags; }
    void set(uint32_t flags)
    {
        m_flags = flags;
        changed();
    }

private:
    std::atomic<uint32_t> m_flags { kSCNetworkReachabilityFlagsReachable };
};

/// A process under virtual time, entered for the length of a test. Made again on the same home, it is a
/// restart.
struct TestProcess {
    explicit TestProcess(const std::filesystem::path& home, ProcessConfiguration configuration = {})
        : process(complete(home, std::move(configuration)))
        , scope(process)
    {
    }

    VirtualExecutor& executor() { return static_cast<VirtualExecutor&>(process.executor()); }

    std::shared_ptr<RecordingConsole> console { std::make_shared<RecordingConsole>() };
    std::shared_ptr<HeldTransport> transport { std::make_shared<HeldTransport>() };
    std::shared_ptr<SetNetworkPath> network { std::make_shared<SetNetworkPath>() };
    Process process;
    Process::Scope scope;

private:
    ProcessConfiguration complete(const std::filesystem::path& home, ProcessConfiguration configuration)
    {
        configuration.home = home;
        configuration.mainBundleIdentifier = "com.example.host";
        configuration.console = console;
        configuration.transport = transport;
        configuration.network = network;
        configuration.device.identifierForVendor = "3F2504E0-4F89-41D3-9A0C-0305E82C3301";
        configuration.makeExecutor = [](Process& made) { return std::make_unique<VirtualExecutor>(made); };
        return configuration;
    }
};

} // namespace lumora::test
