#pragma once

#include "devservice/LocalServices.h"
#include "platform/foundation/HTTPTransport.h"
#include "platform/systemconfiguration/NetworkPath.h"

#include <atomic>
#include <memory>
#include <string>

namespace lumora {

/// The radio of a simulated phone: what the reachability of its processes reads. Any thread.
class Radio final : public NetworkPath {
public:
    enum class Link { None, WiFi, Cellular };

    uint32_t flags() override { return m_flags.load(std::memory_order_relaxed); }
    void connect(Link link);

private:
    std::atomic<uint32_t> m_flags { kSCNetworkReachabilityFlagsReachable };
};

/// Brings what is meant for the services' addresses to their stand-ins in the same program, in the time of
/// the process that started it: `latency` seconds each way, time-outs, refused connections and planned faults
/// included. Deterministic under the virtual clock. The services must outlive it.
class DirectTransport final : public HTTPTransport {
public:
    static constexpr double latency = 0.02;

    /// The base addresses as the services' clients have them: the one ends in "/api/v1/", the other in no
    /// slash.
    DirectTransport(LocalServices& services, std::string configurationURL, std::string collectorURL)
        : m_services(services)
        , m_configurationURL(std::move(configurationURL))
        , m_collectorURL(std::move(collectorURL))
    {
    }
    void start(HTTPExchangeRequest request, Completion completion) override;
    void stop() override { m_stopped = true; }
    /// Services that are away refuse connections.
    void setServiceAway(bool away) { m_away = away; }

private:
    std::string targetOf(const std::string& url) const;

    LocalServices& m_services;
    std::string m_configurationURL;
    std::string m_collectorURL;
    std::atomic<bool> m_stopped { false };
    std::atomic<bool> m_away { false };
};

/// Sends what is meant for the services to where they are served locally, and everything else on its way
/// unchanged: the name resolution and the certificates of the box.
class RoutedTransport final : public HTTPTransport {
public:
    RoutedTransport(std::unique_ptr<HTTPTransport> carrier, std::string from, std::string to)
        : m_carrier(std::move(carrier))
        , m_from(std::move(from))
        , m_to(std::move(to))
    {
    }
    void start(HTTPExchangeRequest request, Completion completion) override;
    void stop() override { m_carrier->stop(); }

private:
    std::unique_ptr<HTTPTransport> m_carrier;
    std::string m_from;
    std::string m_to;
};

} // namespace lumora
