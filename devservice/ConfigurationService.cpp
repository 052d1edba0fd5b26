#include "devservice/ConfigurationService.h"

#include "devservice/InspectionPage.h"
#include "devservice/ServiceJSON.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace json = boost::json;

namespace lumora {

namespace {

constexpr int64_t shownOnPage = 50;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

ServiceAnswer jsonAnswer(int status, std::string body)
{
    return { status, { { "Content-Type", "application/json" } }, std::move(body) };
}

ServiceAnswer errorAnswer(int status, std::string_view message)
{
    return jsonAnswer(status, R"({"error":)" + quoted(message) + "}");
}

/// All values of the header, so that a header sent twice is seen as what it is.
std::string authorizationIn(const ServiceHeaders& headers)
{
    std::string values;
    const auto [begin, end] = headers.equal_range(std::string_view("Authorization"));
    for (auto field = begin; field != end; ++field)
        values += (field == begin ? "" : ", ") + field->second;
    return values;
}

std::string_view pathOf(std::string_view target) { return target.substr(0, target.find_first_of("?#")); }

bool bears(std::string_view authorization, std::string_view key)
{
    constexpr std::string_view scheme = "bearer ";
    return !key.empty() && authorization.size() == scheme.size() + key.size()
        && std::equal(scheme.begin(), scheme.end(), authorization.begin(),
            [](char expected, char actual) { return expected == lower(actual); })
        && authorization.ends_with(key);
}

ArrivalKind adKind(std::string_view body)
{
    const size_t first = body.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && body[first] == '[' ? ArrivalKind::Report
                                                                 : ArrivalKind::AdRecord;
}

/// What the service expects of a body; empty when it is as expected.
std::string_view complaint(ArrivalKind kind, const std::optional<json::value>& body)
{
    if (kind == ArrivalKind::ConfigurationFetch)
        return {};
    if (!body)
        return "the body is not JSON";
    if (kind == ArrivalKind::Report)
        return body->get_array().size() == 1 && body->get_array()[0].is_object()
            ? std::string_view()
            : "a report is an array holding one object";
    return body->is_object() ? std::string_view() : "the body must be a JSON object";
}

void validateRecord(std::string_view record) { objectIn("record", parseJSON(record).value_or(nullptr)); }

void validateCacheControl(std::string_view value)
{
    if (std::any_of(value.begin(), value.end(), [](char c) { return c < ' ' || c > '~'; }))
        reject("cacheControl", "must be printable ASCII");
}

} // namespace

bool CaseInsensitiveLess::operator()(std::string_view a, std::string_view b) const
{
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) < lower(y); });
}

ConfigurationService::ConfigurationService(std::string acceptedKey, const std::string& database)
    : m_store(database)
    , m_settings { std::move(acceptedKey), R"({"active":true})", "max-age=300", {} }
{
}

ServiceAnswer ConfigurationService::handle(const ServiceRequest& request) noexcept
{
    try {
        return dispatch(request);
    } catch (const std::invalid_argument& error) {
        return errorAnswer(400, error.what());
    } catch (const std::exception& error) {
        return errorAnswer(500, error.what());
    }
}

ServiceAnswer ConfigurationService::dispatch(const ServiceRequest& request)
{
    using Self = ConfigurationService&;
    using Request = const ServiceRequest&;
    struct Route {
        std::string_view method;
        std::string_view path;
        ServiceAnswer (*answer)(Self, Request);
    };
    static constexpr std::array<Route, 10> routes { {
        { "GET", ServicePath::configuration,
            [](Self s, Request r) { return s.exchange(ArrivalKind::ConfigurationFetch, r); } },
        { "POST", ServicePath::impression,
            [](Self s, Request r) { return s.exchange(ArrivalKind::Impression, r); } },
        { "POST", ServicePath::ad, [](Self s, Request r) { return s.exchange(adKind(r.body), r); } },
        { "GET", "/", [](Self s, Request) { return s.page(); } },
        { "GET", "/configuration-fetches",
            [](Self s, Request) { return s.list(ArrivalKind::ConfigurationFetch); } },
        { "GET", "/impressions", [](Self s, Request) { return s.list(ArrivalKind::Impression); } },
        { "GET", "/ad-records", [](Self s, Request) { return s.list(ArrivalKind::AdRecord); } },
        { "GET", "/reports", [](Self s, Request) { return s.list(ArrivalKind::Report); } },
        { "GET", "/control", [](Self s, Request) { return s.settings(); } },
        { "POST", "/control", [](Self s, Request r) { return s.control(r.body); } },
    } };
    std::string allowed;
    for (const Route& route : routes) {
        if (route.path != pathOf(request.target))
            continue;
        if (route.method == request.method)
            return route.answer(*this, request);
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
    }
    if (allowed.empty())
        return errorAnswer(404, "there is nothing at this path");
    ServiceAnswer answer = errorAnswer(405, "this path takes " + allowed);
    answer.headers.emplace("Allow", allowed);
    return answer;
}

ServiceAnswer ConfigurationService::exchange(ArrivalKind kind, const ServiceRequest& request)
{
    const auto body = parseJSON(request.body);
    Arrival arrival { 0, kind, request.receivedAt, request.target, authorizationIn(request.headers),
        request.body, body.has_value(), 0 };
    const std::string_view objection = complaint(kind, body);

    const Locker locker(m_lock);
    ServiceAnswer answer = judge(arrival, objection);
    if (const auto planned = takeFault(pathOf(request.target)))
        planned->apply(answer);
    arrival.status = answer.ending == Ending::CloseWithoutAnswer ? 0 : answer.status;
    m_store.add(arrival);
    return answer;
}

ServiceAnswer ConfigurationService::judge(const Arrival& arrival, std::string_view complaint) const
{
    if (!bears(arrival.authorization, m_settings.acceptedKey)) {
        ServiceAnswer answer = errorAnswer(401, "the key in the Authorization header is missing or wrong");
        answer.headers.emplace("WWW-Authenticate", "Bearer");
        return answer;
    }
    if (!complaint.empty())
        return errorAnswer(400, complaint);
    if (arrival.kind != ArrivalKind::ConfigurationFetch)
        return jsonAnswer(200, "{}");
    ServiceAnswer answer = jsonAnswer(200, m_settings.record);
    if (!m_settings.cacheControl.empty())
        answer.headers.emplace("Cache-Control", m_settings.cacheControl);
    return answer;
}

std::optional<Fault> ConfigurationService::takeFault(std::string_view path)
{
    const auto found = std::find_if(m_settings.faults.begin(), m_settings.faults.end(),
        [path](const Fault& fault) { return fault.concerns(path); });
    if (found == m_settings.faults.end())
        return std::nullopt;
    if (found->times && --*found->times == 0) {
        Fault last = std::move(*found);
        m_settings.faults.erase(found);
        return last;
    }
    return *found;
}

ServiceAnswer ConfigurationService::control(const std::string& body)
{
    const json::value value = parseJSON(body).value_or(nullptr);
    std::optional<std::string> key;
    std::optional<std::string> record;
    std::optional<std::string> cacheControl;
    std::vector<Fault> faults;
    bool clears = false;
    for (const auto& [field, setting] : objectIn("body", value)) {
        const std::string_view name(field.data(), field.size());
        if (name == "key") {
            key = textIn(name, setting);
        } else if (name == "record") {
            record = json::serialize(objectIn(name, setting));
        } else if (name == "cacheControl") {
            cacheControl = textIn(name, setting);
            validateCacheControl(*cacheControl);
        } else if (name == "clearFaults") {
            clears = flagIn(name, setting);
        } else if (name == "faults" && setting.is_array()) {
            for (const json::value& fault : setting.get_array())
                faults.emplace_back(Fault::fromJSON(fault)).validate();
        } else {
            reject(name, name == "faults" ? "must be an array" : "is nothing that can be set");
        }
    }
    {
        const Locker locker(m_lock);
        m_settings.acceptedKey = key.value_or(m_settings.acceptedKey);
        m_settings.record = record.value_or(m_settings.record);
        m_settings.cacheControl = cacheControl.value_or(m_settings.cacheControl);
        if (clears)
            m_settings.faults.clear();
        m_settings.faults.insert(m_settings.faults.end(), faults.begin(), faults.end());
    }
    return settings();
}

ServiceAnswer ConfigurationService::settings() const
{
    Settings settings;
    {
        const Locker locker(m_lock);
        settings = m_settings;
    }
    json::array faults;
    for (const Fault& fault : settings.faults)
        faults.push_back(fault.toJSON());
    return jsonAnswer(200,
        R"({"key":)" + quoted(settings.acceptedKey) + R"(,"record":)" + settings.record
            + R"(,"cacheControl":)" + quoted(settings.cacheControl) + R"(,"faults":)"
            + json::serialize(faults) + "}");
}

ServiceAnswer ConfigurationService::list(ArrivalKind kind) const
{
    std::string entries;
    for (const Arrival& arrival : arrivals(kind)) {
        entries += (entries.empty() ? "" : ",\n") + (R"({"number":)" + std::to_string(arrival.number))
            + R"(,"receivedAt":)" + json::serialize(json::value(arrival.receivedAt)) + R"(,"target":)"
            + quoted(arrival.target) + R"(,"authorization":)" + quoted(arrival.authorization)
            + R"(,"status":)" + std::to_string(arrival.status) + R"(,"isJSON":)"
            + (arrival.isJSON ? "true" : "false") + R"(,"body":)"
            + (arrival.isJSON ? arrival.body : quoted(arrival.body)) + "}";
    }
    return jsonAnswer(200, "[" + entries + "]\n");
}

ServiceAnswer ConfigurationService::page() const
{
    std::vector<PageSection> sections {
        { "Reports and events", "/reports", ArrivalKind::Report },
        { "Impressions", "/impressions", ArrivalKind::Impression },
        { "Ad records", "/ad-records", ArrivalKind::AdRecord },
        { "Configuration fetches", "/configuration-fetches", ArrivalKind::ConfigurationFetch },
    };
    for (PageSection& section : sections) {
        const Locker locker(m_lock);
        section.total = m_store.count(section.kind);
        section.newest = m_store.newestFirst(section.kind, shownOnPage);
    }
    return { 200,
        { { "Content-Type", "text/html; charset=utf-8" },
            { "Content-Security-Policy", "default-src 'none'; img-src data:; style-src 'unsafe-inline'" } },
        inspectionPage(sections) };
}

std::vector<Arrival> ConfigurationService::arrivals(ArrivalKind kind) const
{
    std::vector<Arrival> arrivals;
    {
        const Locker locker(m_lock);
        arrivals = m_store.newestFirst(kind);
    }
    std::reverse(arrivals.begin(), arrivals.end());
    return arrivals;
}

void ConfigurationService::setAcceptedKey(std::string key)
{
    const Locker locker(m_lock);
    m_settings.acceptedKey = std::move(key);
}

void ConfigurationService::setRecord(std::string jsonObject)
{
    validateRecord(jsonObject);
    const Locker locker(m_lock);
    m_settings.record = std::move(jsonObject);
}

void ConfigurationService::setCacheControl(std::string value)
{
    validateCacheControl(value);
    const Locker locker(m_lock);
    m_settings.cacheControl = std::move(value);
}

void ConfigurationService::addFault(Fault fault)
{
    fault.validate();
    const Locker locker(m_lock);
    m_settings.faults.push_back(std::move(fault));
}

void ConfigurationService::clearFaults()
{
    const Locker locker(m_lock);
    m_settings.faults.clear();
}

} // namespace lumora
