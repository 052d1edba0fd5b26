#pragma once

#include <cstdint>
#include <functional>
#include <linux/rtnetlink.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <vector>

struct mnl_socket;

namespace lumora::test {

/// A network of a test's own, with real links and routes: a fresh namespace of the kernel, which at first has
/// nothing but a loopback that is down. Each link is a cable whose other end lies in a namespace beside it.
class OwnNetwork {
public:
    /// Runs the body in a process of its own inside such a network, and fails when the body fails there.
    /// Skips where the kernel allows no namespaces. Nothing else belongs into the test that calls it.
    static void run(const std::function<void(OwnNetwork&)>& body);

    /// A link that is up, its cable plugged in at both ends.
    void addLink(const std::string& link) const;
    void setUp(const std::string& link, bool up) const;
    void plug(const std::string& link, bool in) const;
    /// A bridge that is up, with that link as its only port.
    void addBridge(const std::string& bridge, const std::string& port) const;

    struct Route {
        std::vector<std::string> links;
        uint32_t metric { 0 };
        int family { AF_INET };
        uint32_t table { RT_TABLE_MAIN };
        uint8_t type { RTN_UNICAST };
        /// 0.0.0.0 or 2000:: with that many bits.
        uint8_t prefix { 0 };
    };
    void addDefaultRoute(const Route& route) const;
    void removeDefaultRoute(const Route& route) const;

private:
    OwnNetwork();
    void changeRoute(uint16_t type, uint16_t flags, const Route& route) const;

    using Socket = std::unique_ptr<mnl_socket, int (*)(mnl_socket*)>;
    Socket m_farSocket;
    int m_farNamespace;
    Socket m_socket;
};

} // namespace lumora::test
