#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace lumora {

class LocalServices;

/// Serves the LocalServices over HTTP on 127.0.0.1. One thread of its own does all the work, so a delayed
/// answer holds nobody else up. Start, stop and the questions belong to one thread, the owner's; the services
/// must outlive it.
///
/// A body beyond the limit is answered 413, too long a header 431, what is no HTTP 400. A connection that
/// stays silent for 30 seconds is closed.
class LoopbackServer {
public:
    static constexpr size_t bodyLimit = 8U << 20; // bytes

    /// Port 0 is any free port, chosen at the first start and kept for later ones.
    explicit LoopbackServer(LocalServices&, uint16_t port = 0);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// Accepts connections from its return on. Throws std::system_error when the port is taken.
    void start();
    /// Drops all connections, also those waiting for a delayed answer; the port refuses from its return on.
    void stop();

    uint16_t port() const { return m_port; } ///< 0 before the first start
    // The services' base addresses.
    std::string configurationURL() const; ///< ends in "/api/v1/"
    std::string collectorURL() const; ///< without a slash at the end

private:
    struct Running;

    LocalServices& m_services;
    uint16_t m_port;
    std::unique_ptr<Running> m_running;
};

} // namespace lumora
