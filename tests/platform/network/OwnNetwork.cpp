#include "tests/platform/network/OwnNetwork.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace lumora::test {

namespace {

constexpr const char* mark = "LUMORA_INSIDE_OWN_NETWORK";
constexpr int refused = 77;

/// Raised where the kernel has no such facility; the test is skipped.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A change of the kernel's network, sent and acknowledged.
class Change {
public:
    Change(uint16_t type, uint16_t flags)
    {
        m_message->nlmsg_type = type;
        m_message->nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | NLM_F_ACK | flags);
    }
    template <typename T> T& header()
    {
        return *static_cast<T*>(mnl_nlmsg_put_extra_header(m_message, sizeof(T)));
    }
    void put(int type, uint32_t value) { mnl_attr_put_u32(m_message, static_cast<uint16_t>(type), value); }
    void put(int type, const std::string& text)
    {
        mnl_attr_put_strz(m_message, static_cast<uint16_t>(type), text.c_str());
    }
    void put(int type, const std::array<uint8_t, 16>& bytes)
    {
        mnl_attr_put(m_message, static_cast<uint16_t>(type), bytes.size(), bytes.data());
    }
    template <typename F> void nest(int type, const F& inside)
    {
        nlattr* begin = mnl_attr_nest_start(m_message, static_cast<uint16_t>(type));
        inside();
        mnl_attr_nest_end(m_message, begin);
    }
    void send(mnl_socket& socket)
    {
        std::array<char, 4096> answer {};
        if (mnl_socket_sendto(&socket, m_message, m_message->nlmsg_len) < 0)
            throw Refused("netlink");
        const ssize_t size = mnl_socket_recvfrom(&socket, answer.data(), answer.size());
        if (size < 0 || mnl_cb_run(answer.data(), static_cast<size_t>(size), 0, 0, nullptr, nullptr) < 0) {
            if (errno == EOPNOTSUPP || errno == EPERM)
                throw Refused("links of the test's own");
            throw std::runtime_error(std::string { "netlink: " } + std::strerror(errno));
        }
    }

private:
    std::array<char, 1024> m_buffer {};
    nlmsghdr* m_message { mnl_nlmsg_put_header(m_buffer.data()) };
};

using Socket = std::unique_ptr<mnl_socket, int (*)(mnl_socket*)>;

Socket openSocket()
{
    Socket socket { mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC), &mnl_socket_close };
    if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0)
        throw Refused("netlink");
    return socket;
}

void change(mnl_socket& socket, const std::string& link, bool up)
{
    Change change(RTM_NEWLINK, 0);
    auto& header = change.header<ifinfomsg>();
    header.ifi_change = IFF_UP;
    header.ifi_flags = up ? IFF_UP : 0;
    change.put(IFLA_IFNAME, link);
    change.send(socket);
}

bool writeText(const char* path, const std::string& text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    const bool written
        = file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return written;
}

/// The same program again, with the test that runs, in a fresh namespace. Between fork and exec only system
/// calls.
int runAgain()
{
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter
        = std::string { "--gtest_filter=" } + test->test_suite_name() + "." + test->name();
    const std::string users = "0 " + std::to_string(getuid()) + " 1";
    const std::string groups = "0 " + std::to_string(getgid()) + " 1";
    std::string program = "/proc/self/exe";
    std::string brief = "--gtest_brief=1";
    std::array<char*, 4> arguments { program.data(), const_cast<char*>(filter.data()), brief.data(),
        nullptr };
    std::string inside = std::string { mark } + "=1";
    std::vector<char*> environment { inside.data() };
    for (char** at = environ; *at; at++) {
        if (!std::string_view { *at }.starts_with("GTEST_"))
            environment.push_back(*at);
    }
    environment.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNET) == 0
            || (unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && writeText("/proc/self/setgroups", "deny")
                && writeText("/proc/self/uid_map", users) && writeText("/proc/self/gid_map", groups)))
            execve(program.c_str(), arguments.data(), environment.data());
        _exit(refused);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

void OwnNetwork::run(const std::function<void(OwnNetwork&)>& body)
{
    if (!getenv(mark)) {
        const int code = runAgain();
        if (code == refused)
            GTEST_SKIP() << "the kernel allows no network of the test's own here";
        EXPECT_EQ(code, 0) << "see above";
        return;
    }
    try {
        OwnNetwork network;
        body(network);
    } catch (const Refused& facility) {
        std::fprintf(stderr, "refused: %s\n", facility.what());
        _exit(refused);
    }
}

OwnNetwork::OwnNetwork()
    : m_farSocket(openSocket())
    , m_farNamespace(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC))
    , m_socket(nullptr, &mnl_socket_close)
{
    // The namespace the process was started in becomes the far one.
    if (unshare(CLONE_NEWNET) != 0)
        throw Refused("a second namespace");
    m_socket = openSocket();
}

void OwnNetwork::addLink(const std::string& link) const
{
    Change change(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
    change.header<ifinfomsg>();
    change.put(IFLA_IFNAME, link);
    change.nest(IFLA_LINKINFO, [&] {
        change.put(IFLA_INFO_KIND, "veth");
        change.nest(IFLA_INFO_DATA, [&] {
            change.nest(VETH_INFO_PEER, [&] {
                change.header<ifinfomsg>();
                change.put(IFLA_IFNAME, link);
                change.put(IFLA_NET_NS_FD, static_cast<uint32_t>(m_farNamespace));
            });
        });
    });
    change.send(*m_socket);
    plug(link, true);
    setUp(link, true);
}

void OwnNetwork::setUp(const std::string& link, bool up) const { change(*m_socket, link, up); }
void OwnNetwork::plug(const std::string& link, bool in) const { change(*m_farSocket, link, in); }

void OwnNetwork::addBridge(const std::string& bridge, const std::string& port) const
{
    Change made(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
    made.header<ifinfomsg>();
    made.put(IFLA_IFNAME, bridge);
    made.nest(IFLA_LINKINFO, [&] { made.put(IFLA_INFO_KIND, "bridge"); });
    made.send(*m_socket);
    Change joined(RTM_NEWLINK, 0);
    joined.header<ifinfomsg>();
    joined.put(IFLA_IFNAME, port);
    joined.put(IFLA_MASTER, if_nametoindex(bridge.c_str()));
    joined.send(*m_socket);
    setUp(bridge, true);
}

void OwnNetwork::addDefaultRoute(const Route& route) const
{
    changeRoute(RTM_NEWROUTE, NLM_F_CREATE | NLM_F_EXCL, route);
}

void OwnNetwork::removeDefaultRoute(const Route& route) const { changeRoute(RTM_DELROUTE, 0, route); }

void OwnNetwork::changeRoute(uint16_t type, uint16_t flags, const Route& route) const
{
    Change change(type, flags);
    auto& header = change.header<rtmsg>();
    header.rtm_family = static_cast<uint8_t>(route.family);
    header.rtm_type = route.type;
    header.rtm_protocol = RTPROT_STATIC;
    header.rtm_scope
        = route.family == AF_INET && route.type == RTN_UNICAST ? RT_SCOPE_LINK : RT_SCOPE_UNIVERSE;
    header.rtm_dst_len = route.prefix;
    if (route.prefix != 0 && route.family == AF_INET6)
        change.put(RTA_DST, std::array<uint8_t, 16> { 0x20 });
    change.put(RTA_TABLE, route.table);
    change.put(RTA_PRIORITY, route.metric);
    if (route.links.size() == 1)
        change.put(RTA_OIF, if_nametoindex(route.links.front().c_str()));
    if (route.links.size() > 1) {
        change.nest(RTA_MULTIPATH, [&] {
            for (const std::string& link : route.links) {
                auto& hop = change.header<rtnexthop>();
                hop.rtnh_len = sizeof hop;
                hop.rtnh_ifindex = static_cast<int>(if_nametoindex(link.c_str()));
            }
        });
    }
    change.send(*m_socket);
}

} // namespace lumora::test
