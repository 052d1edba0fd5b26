#include "devservice/LocalServices.h"

#include "devservice/InspectionPage.h"
#include "devservice/ServiceJSON.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace json = boost::json;

namespace lumora {

namespace {

// Of each kind.
constexpr int64_t shownOnPage = 50;
constexpr int64_t readForPage = 16 << 20; // bytes: the largest request and what is inside of it

struct Listing {
    ArrivalKind kind;
    std::string_view path;
    std::string_view title;
};
/// In the order of the page.
constexpr std::array<Listing, 10> listings { {
    { ArrivalKind::Report, "/reports", "Reports and events" },
    { ArrivalKind::Impression, "/impressions", "Impressions" },
    { ArrivalKind::AdRecord, "/ad-records", "Ad records" },
    { ArrivalKind::ConfigurationFetch, "/configuration-fetches", "Configuration fetches" },
    { ArrivalKind::Complaint, "/complaints", "Complaints" },
    { ArrivalKind::Event, "/collector-events", "Collector events" },
    { ArrivalKind::Batch, "/batches", "Batches of ads" },
    { ArrivalKind::Screenshots, "/screenshots", "Screenshots" },
    { ArrivalKind::SourceHashes, "/source-hashes", "Source hashes" },
    { ArrivalKind::Log, ServicePath::logs, "Logs" },
} };

/// Without which what came in could not be opened again later.
constexpr std::array<const char*, 2> keptHeaders { "lm-iv", "lm-s" };

std::string headersToKeep(const ServiceRequest& request)
{
    json::object kept;
    for (const char* name : keptHeaders) {
        if (request.headers.contains(name))
            kept[name] = printable(request.header(name));
    }
    return kept.empty() ? "" : json::serialize(kept);
}

std::string described(const Arrival& arrival)
{
    std::string fields = R"({"number":)" + std::to_string(arrival.number) + R"(,"receivedAt":)"
        + json::serialize(json::value(arrival.receivedAt)) + R"(,"target":)" + quoted(arrival.target)
        + R"(,"authorization":)" + quoted(arrival.authorization) + R"(,"status":)"
        + std::to_string(arrival.status) + R"(,"isJSON":)" + (arrival.isJSON ? "true" : "false")
        + (arrival.headers.empty() ? "" : R"(,"headers":)" + arrival.headers) + R"(,"body":)"
        + (arrival.isJSON ? arrival.body : quoted(arrival.body));
    if (!arrival.decrypted.empty())
        fields += R"(,"decrypted":)" + arrival.decrypted;
    return fields + "}";
}

} // namespace

LocalServices::LocalServices(std::string configurationKey, const std::string& database)
    : m_store(database)
    , m_configuration(m_store, std::move(configurationKey))
    , m_collector(m_store)
{
}

std::vector<LocalServices::Route> LocalServices::makeRoutes()
{
    const auto toConfiguration = [this](ArrivalKind kind) {
        return
            [this, kind](const ServiceRequest& request) { return exchange(m_configuration, kind, request); };
    };
    const auto toCollector = [this](ArrivalKind kind) {
        return [this, kind](const ServiceRequest& request) { return exchange(m_collector, kind, request); };
    };
    std::vector<Route> routes {
        { "GET", ServicePath::configuration, toConfiguration(ArrivalKind::ConfigurationFetch) },
        { "POST", ServicePath::impression, toConfiguration(ArrivalKind::Impression) },
        { "POST", ServicePath::ad,
            [this](const ServiceRequest& request) {
                return exchange(m_configuration, ConfigurationService::kindOfAd(request.body), request);
            } },
        { "POST", ServicePath::batch, toCollector(ArrivalKind::Batch) },
        { "POST", ServicePath::screenshots, toCollector(ArrivalKind::Screenshots) },
        { "POST", ServicePath::sourceHashes, toCollector(ArrivalKind::SourceHashes) },
        { "POST", ServicePath::complaint, toCollector(ArrivalKind::Complaint) },
        { "POST", ServicePath::event, toCollector(ArrivalKind::Event) },
        { "POST", ServicePath::logs, toCollector(ArrivalKind::Log) },
        { "GET", "/", [this](const ServiceRequest&) { return page(); } },
        { "GET", "/control", [this](const ServiceRequest&) { return settings(); } },
        { "POST", "/control", [this](const ServiceRequest& request) { return control(request.body); } },
    };
    for (const Listing& listing : listings)
        routes.push_back({ "GET", listing.path,
            [this, kind = listing.kind](const ServiceRequest&) { return list(kind); } });
    return routes;
}

ServiceAnswer LocalServices::handle(const ServiceRequest& request) noexcept
{
    try {
        return dispatch(request);
    } catch (const std::invalid_argument& error) {
        return errorAnswer(400, error.what());
    } catch (const std::exception& error) {
        return errorAnswer(500, error.what());
    }
}

ServiceAnswer LocalServices::dispatch(const ServiceRequest& request)
{
    std::string allowed;
    for (const Route& route : m_routes) {
        if (!pathMatches(route.pattern, request.path()))
            continue;
        if (route.method == request.method)
            return route.answer(request);
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
    }
    if (allowed.empty())
        return errorAnswer(404, "there is nothing at this path");
    ServiceAnswer answer = errorAnswer(405, "this path takes " + allowed);
    answer.headers.emplace("Allow", allowed);
    return answer;
}

ServiceAnswer LocalServices::exchange(Service& service, ArrivalKind kind, const ServiceRequest& request)
{
    Arrival arrival { .kind = kind,
        .receivedAt = request.receivedAt,
        .target = request.target,
        .authorization = request.header("Authorization"),
        .body = request.body,
        .headers = headersToKeep(request) };
    ServiceAnswer answer = service.answer(request, arrival);
    if (const auto planned = m_faults.take(request.path()))
        planned->apply(answer);
    arrival.status = answer.ending == Ending::CloseWithoutAnswer ? 0 : answer.status;
    m_store.add(arrival);
    return answer;
}

ServiceAnswer LocalServices::control(const std::string& body)
{
    const json::value value = parseJSON(body).value_or(nullptr);
    std::vector<Service::Change> changes;
    std::vector<Fault> faults;
    bool clears = false;
    for (const auto& [field, setting] : objectIn("body", value)) {
        const std::string_view name(field.data(), field.size());
        if (name == "clearFaults") {
            clears = flagIn(name, setting);
        } else if (name == "faults") {
            if (!setting.is_array())
                reject(name, "must be an array");
            for (const json::value& fault : setting.get_array())
                faults.emplace_back(Fault::fromJSON(fault)).validate();
        } else {
            Service::Change change;
            for (Service* service : m_services)
                change = change ? std::move(change) : service->change(name, setting);
            if (!change)
                reject(name, "is nothing that can be set");
            changes.push_back(std::move(change));
        }
    }
    for (const Service::Change& change : changes)
        change();
    if (clears)
        m_faults.clear();
    m_faults.add(std::move(faults));
    return settings();
}

ServiceAnswer LocalServices::settings() const
{
    json::object settings;
    for (const Service* service : m_services)
        service->describeSettings(settings);
    settings["faults"] = m_faults.toJSON();
    return jsonAnswer(200, json::serialize(settings));
}

ServiceAnswer LocalServices::list(ArrivalKind kind)
{
    std::string entries;
    for (const Arrival& arrival : m_store.oldestFirst(kind))
        entries += (entries.empty() ? "" : ",\n") + described(arrival);
    return jsonAnswer(200, "[" + entries + "]\n");
}

ServiceAnswer LocalServices::page()
{
    std::vector<PageSection> sections(listings.size());
    std::transform(listings.begin(), listings.end(), sections.begin(), [this](const Listing& listing) {
        return PageSection { listing.title, listing.path, m_store.count(listing.kind),
            m_store.newestFirst(listing.kind, shownOnPage, readForPage) };
    });
    return { 200,
        { { "Content-Type", "text/html; charset=utf-8" },
            { "Content-Security-Policy", "default-src 'none'; img-src data:; style-src 'unsafe-inline'" } },
        inspectionPage(sections) };
}

} // namespace lumora
