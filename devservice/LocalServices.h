#pragma once

#include "devservice/CollectorService.h"
#include "devservice/ConfigurationService.h"
#include "devservice/Fault.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// The local stand-in for the remote services, without sockets: a LoopbackServer or a simulated network
/// carries requests to handle(), which brings each to the service that it is for. What a service is sent is
/// kept, refused or not, with the status it was answered. "/" shows it on a page, "/control" shows the
/// settings and changes them, all that it is told or nothing; more paths give lists as JSON. Any thread may
/// call anything. Bad requests get a 4xx answer with a JSON "error", a failing store a 500 answer.
class LocalServices {
public:
    /// `configurationKey` is the bearer key that the configuration service lets in, `database` a file or
    /// ":memory:". Throws StoreError when it cannot be opened.
    explicit LocalServices(std::string configurationKey, const std::string& database = ":memory:");

    ServiceAnswer handle(const ServiceRequest&) noexcept;

    ConfigurationService& configuration() { return m_configuration; }
    CollectorService& collector() { return m_collector; }

    /// Of the faults for a path the oldest is acted out, until it is used up. Throws std::invalid_argument
    /// when this one cannot be.
    void addFault(Fault fault) { m_faults.add({ std::move(fault) }); }
    void clearFaults() { m_faults.clear(); }

private:
    struct Route {
        std::string_view method;
        std::string_view pattern;
        std::function<ServiceAnswer(const ServiceRequest&)> answer;
    };

    std::vector<Route> makeRoutes();
    ServiceAnswer dispatch(const ServiceRequest&);
    ServiceAnswer exchange(Service&, ArrivalKind, const ServiceRequest&);
    ServiceAnswer control(const std::string& body);
    ServiceAnswer settings() const;
    ServiceAnswer list(ArrivalKind);
    ServiceAnswer page();

    ArrivalStore m_store;
    FaultPlan m_faults;
    ConfigurationService m_configuration;
    CollectorService m_collector;
    std::vector<Service*> m_services { &m_configuration, &m_collector };
    std::vector<Route> m_routes { makeRoutes() };
};

} // namespace lumora
