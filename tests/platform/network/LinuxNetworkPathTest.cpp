#include "platform/linux/LinuxNetworkPath.h"

#include "core/Reachability.h"
#include "core/TDDeviceInformation.h"
#include "platform/linux/NetlinkReader.h"
#include "tests/platform/TestProcess.h"
#include "tests/platform/network/OwnNetwork.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <set>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>

namespace lumora {
namespace {

using test::OwnNetwork;

constexpr uint32_t reachable = kSCNetworkReachabilityFlagsReachable;
constexpr uint32_t cellular = reachable | kSCNetworkReachabilityFlagsIsWWAN;
constexpr uint32_t direct = reachable | kSCNetworkReachabilityFlagsIsDirect;
constexpr double longEnough = 20;

/// The kernel takes up to a second to notice a cable.
bool soon(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(longEnough);
    while (!condition() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return condition();
}

TEST(LinuxNetworkPath, RoutesAndLinksMakeTheFlags)
{
    OwnNetwork::run([](OwnNetwork& network) {
        const OwnNetwork::Route nowhere { .metric = 1, .type = RTN_UNREACHABLE };
        const OwnNetwork::Route cable { .links = { "eth0" }, .metric = 100 };
        const OwnNetwork::Route both { .links = { "wwp0s20", "eth0" }, .metric = 10 };
        auto add = [&](const OwnNetwork::Route& route) {
            return [&network, route] { network.addDefaultRoute(route); };
        };
        auto remove = [&](const OwnNetwork::Route& route) {
            return [&network, route] { network.removeDefaultRoute(route); };
        };
        auto setUp
            = [&](const char* link, bool up) { return [&network, link, up] { network.setUp(link, up); }; };
        constexpr NetworkFlags byCable { reachable, direct }, byModem { cellular, 0 };
        const struct {
            const char* what;
            std::function<void()> change;
            NetworkFlags flags;
        } steps[] = {
            { "nothing at all", [] {}, { 0, 0 } },
            { "a link without a route", [&] { network.addLink("eth0"); }, { 0, direct } },
            { "a route nowhere", add(nowhere), { 0, direct } },
            { "a worse route behind it", add(cable), { 0, direct } },
            { "a default route", remove(nowhere), byCable },
            { "a modem", [&] { network.addLink("wwp0s20"); }, byCable },
            { "with a worse route", add({ .links = { "wwp0s20" }, .metric = 700 }), byCable },
            { "the cable is out", [&] { network.plug("eth0", false); }, byModem },
            { "the cable is in", [&] { network.plug("eth0", true); }, byCable },
            { "a modem with a better route", add({ .links = { "wwp0s20" }, .metric = 50 }),
                { cellular, direct } },
            { "the modem is down", setUp("wwp0s20", false), byCable },
            { "no default route", remove(cable), { 0, direct } },
            { "IPv6 alone", add({ .links = { "eth0" }, .metric = 1024, .family = AF_INET6 }), byCable },
            { "and none, if all else fails",
                add({ .metric = UINT32_MAX, .family = AF_INET6, .type = RTN_UNREACHABLE }), byCable },
            { "the modem is up", setUp("wwp0s20", true), byCable },
            { "its route in a table of its own", add({ .links = { "wwp0s20" }, .metric = 5, .table = 1000 }),
                byCable },
            { "that alone", setUp("eth0", false), byModem },
            { "the cable again", setUp("eth0", true), { cellular, direct } },
            { "a route over both", add(both), byCable },
            { "both, one of them down", setUp("eth0", false), byModem },
            { "over neither", remove(both), byModem },
            { "the cable is up", setUp("eth0", true), { cellular, direct } },
            { "IPv6 over it", add({ .links = { "eth0" }, .metric = 1024, .family = AF_INET6, .prefix = 3 }),
                byCable },
            { "the modem alone", setUp("eth0", false), byModem },
            { "once more", setUp("eth0", true), { cellular, direct } },
            { "half of all addresses", add({ .links = { "eth0" }, .metric = 900, .prefix = 1 }), byCable },
            { "a bridge", [&] { network.addBridge("docker0", "eth0"); }, { reachable, 0 } },
        };
        for (const auto& step : steps) {
            step.change();
            std::optional<NetworkFlags> flags;
            EXPECT_TRUE(soon([&] { return (flags = NetlinkReader().read()) == step.flags; }))
                << step.what << ": " << flags->internet << ", " << flags->linkLocal;
        }
    });
}

TEST(LinuxNetworkPath, TheNotifierFollowsTheLink)
{
    OwnNetwork::run([](OwnNetwork& network) {
        network.addLink("eth0");
        network.addDefaultRoute({ .links = { "eth0" } });
        test::TemporaryFolder home;
        Process process { { .home = home.path } };
        Process::Scope scope(process);
        EXPECT_TRUE(soon([&] { return process.configuration().network->flags() == reachable; }));
        std::atomic<int> up { 0 };
        std::atomic<int> down { 0 };
        {
            const auto reachability = Reachability::reachabilityForInternetConnection();
            reachability->setReachableBlock([&](const auto&) { up++; });
            reachability->setUnreachableBlock([&](const auto&) { down++; });
            EXPECT_TRUE(reachability->startNotifier());
        }
        EXPECT_EQ(TDDeviceInformation::getConnectionType(), "WIFI");
        for (int times = 1; times <= 3; times++) {
            network.setUp("eth0", false);
            EXPECT_TRUE(process.executor().runMainLoop(longEnough, [&] { return down == times; }));
            EXPECT_EQ(TDDeviceInformation::getConnectionType(), "no internet");
            network.setUp("eth0", true);
            network.addDefaultRoute({ .links = { "eth0" } });
            EXPECT_TRUE(process.executor().runMainLoop(longEnough, [&] { return up == times; }));
            EXPECT_EQ(TDDeviceInformation::getConnectionType(), "WIFI");
        }
    });
}

TEST(LinuxNetworkPath, OutlivesMoreNoticesThanTheKernelKeeps)
{
    OwnNetwork::run([](OwnNetwork& network) {
        network.addLink("eth0");
        const auto path = makeLinuxNetworkPath();
        std::atomic<bool> isHeld { false };
        std::atomic<bool> isReleased { false };
        const auto listener = path->addListener([&] {
            isHeld = true;
            isHeld.notify_all();
            isReleased.wait(false);
        });
        network.addDefaultRoute({ .links = { "eth0" } });
        isHeld.wait(false);
        for (uint32_t i = 1; i <= 5000; i++)
            network.addDefaultRoute({ .links = { "eth0" }, .metric = i });
        network.setUp("eth0", false);
        isReleased = true;
        isReleased.notify_all();
        EXPECT_TRUE(soon([&] { return path->flags() == 0; }));
    });
}

/// The numbers below a folder of /proc.
std::set<int> numbersIn(const char* folder)
{
    std::set<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        numbers.insert(std::stoi(entry.path().filename()));
    return numbers;
}

TEST(LinuxNetworkPath, RecoversFromAHostThatClosesWhatItDidNotOpen)
{
    OwnNetwork::run([](OwnNetwork& network) {
        network.addLink("eth0");
        const auto before = numbersIn("/proc/self/fd");
        auto path = makeLinuxNetworkPath();
        std::atomic<bool> isTold { false };
        const auto listener = path->addListener([&] { isTold = true; });
        // Each is closed and, at once, the host's own.
        std::set<int> taken;
        for (const int file : numbersIn("/proc/self/fd")) {
            if (!before.contains(file) && dup2(STDIN_FILENO, file) == file)
                taken.insert(file);
        }
        EXPECT_GE(taken.size(), 3u);
        network.addDefaultRoute({ .links = { "eth0" } });
        EXPECT_TRUE(soon([&] { return path->flags() == reachable && isTold; }));
        path.reset();
        for (const int file : taken)
            EXPECT_EQ(close(file), 0) << "is the host's";
    });
}

TEST(LinuxNetworkPath, WithoutADescriptorItSupposesTheBestAndTriesAgain)
{
    OwnNetwork::run([](OwnNetwork&) {
        // Known to the sanitizers before, which look at a new type through descriptors.
        makeLinuxNetworkPath()->flags();
        const auto path = makeLinuxNetworkPath();
        rlimit former {};
        getrlimit(RLIMIT_NOFILE, &former);
        rlimit none { 0, former.rlim_max };
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_EQ(path->flags(), reachable);
        EXPECT_EQ(path->linkLocalFlags(), direct);
        setrlimit(RLIMIT_NOFILE, &former);
        EXPECT_EQ(path->flags(), 0u);
        const size_t before = numbersIn("/proc/self/task").size();
        EXPECT_TRUE(soon([&] { return path->flags() == 0 && numbersIn("/proc/self/task").size() > before; }));
    });
}

TEST(LinuxNetworkPath, AForksChildLeavesTheWatcherAlone)
{
    OwnNetwork::run([](OwnNetwork& network) {
        network.addLink("eth0");
        auto path = makeLinuxNetworkPath();
        EXPECT_EQ(path->flags(), 0u);
        const pid_t child = fork();
        if (child == 0) {
            network.addDefaultRoute({ .links = { "eth0" }, .metric = 1 });
            const bool isRead = soon([&] { return path->flags() == reachable; });
            path.reset();
            _exit(isRead ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(soon([&] { return path->flags() == reachable; }));
        network.setUp("eth0", false);
        EXPECT_TRUE(soon([&] { return path->flags() == 0; })) << "the watcher goes on";
    });
}

TEST(LinuxNetworkPath, ThreadsLeaveSignalsToTheHost)
{
    const auto before = numbersIn("/proc/self/task");
    test::TemporaryFolder home;
    Process process { { .home = home.path } };
    Process::Scope scope(process);
    TDDeviceInformation::getConnectionType();
    for (const int thread : numbersIn("/proc/self/task")) {
        if (before.contains(thread))
            continue;
        std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("SigBlk:")) {
                EXPECT_TRUE(std::stoull(line.substr(7), nullptr, 16) & (1U << (SIGTERM - 1))) << thread;
            }
        }
    }
    sigset_t mine;
    pthread_sigmask(SIG_BLOCK, nullptr, &mine);
    EXPECT_FALSE(sigismember(&mine, SIGTERM));
}

/// From now on this process gets no netlink socket.
bool refuseNetlink()
{
    std::array<sock_filter, 6> rules { {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    } };
    const sock_fprog program { rules.size(), rules.data() };
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(LinuxNetworkPath, WithoutNetlinkTriesForARoute)
{
    OwnNetwork::run([](OwnNetwork& network) {
        network.addLink("eth0");
        ASSERT_TRUE(refuseNetlink());
        const auto path = makeLinuxNetworkPath();
        EXPECT_EQ(path->flags(), 0u);
        const auto listener = path->addListener([] {});
        network.addDefaultRoute({ .links = { "eth0" } });
        EXPECT_EQ(path->flags(), reachable);
        EXPECT_EQ(path->linkLocalFlags(), direct);
        network.setUp("eth0", false);
        EXPECT_EQ(path->flags(), 0u);
    });
}

} // namespace
} // namespace lumora
