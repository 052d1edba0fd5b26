#include "devservice/ConfigurationService.h"

#include "devservice/ServiceJSON.h"

#include <algorithm>

namespace json = boost::json;

namespace lumora {

namespace {

bool bears(std::string_view authorization, std::string_view key)
{
    constexpr std::string_view scheme = "bearer ";
    const std::string_view given = authorization.substr(0, scheme.size());
    const CaseInsensitiveLess less;
    return !key.empty() && !less(given, scheme) && !less(scheme, given)
        && authorization.substr(scheme.size()) == key;
}

/// What the service expects of a body; empty when it is as expected.
std::string_view objection(ArrivalKind kind, const std::optional<json::value>& body)
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

ConfigurationService::ConfigurationService(ArrivalStore& store, std::string acceptedKey)
    : Service(store)
    , m_settings { std::move(acceptedKey), R"({"active":true})", "max-age=300" }
{
}

ArrivalKind ConfigurationService::kindOfAd(std::string_view body)
{
    const size_t first = body.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && body[first] == '[' ? ArrivalKind::Report
                                                                 : ArrivalKind::AdRecord;
}

ServiceAnswer ConfigurationService::answer(const ServiceRequest& request, Arrival& arrival)
{
    const auto body = parseJSON(request.body);
    arrival.isJSON = body.has_value();
    const Settings current = settings();
    if (!bears(arrival.authorization, current.acceptedKey)) {
        ServiceAnswer answer = errorAnswer(401, "the key in the Authorization header is missing or wrong");
        answer.headers.emplace("WWW-Authenticate", "Bearer");
        return answer;
    }
    if (const std::string_view problem = objection(arrival.kind, body); !problem.empty())
        return errorAnswer(400, problem);
    if (arrival.kind != ArrivalKind::ConfigurationFetch)
        return jsonAnswer(200, "{}");
    ServiceAnswer answer = jsonAnswer(200, current.record);
    if (!current.cacheControl.empty())
        answer.headers.emplace("Cache-Control", current.cacheControl);
    return answer;
}

Service::Change ConfigurationService::change(std::string_view setting, const json::value& value)
{
    if (setting == "key")
        return [this, key = textIn(setting, value)] { setAcceptedKey(key); };
    if (setting == "record")
        return [this, record = json::serialize(objectIn(setting, value))] { setRecord(record); };
    if (setting == "cacheControl") {
        std::string text = textIn(setting, value);
        validateCacheControl(text);
        return [this, text = std::move(text)] { setCacheControl(text); };
    }
    return nullptr;
}

void ConfigurationService::describeSettings(json::object& settings) const
{
    const Settings current = this->settings();
    settings["key"] = printable(current.acceptedKey);
    settings["record"] = parseJSON(current.record).value_or(nullptr);
    settings["cacheControl"] = current.cacheControl;
}

ConfigurationService::Settings ConfigurationService::settings() const
{
    const Locker locker(m_lock);
    return m_settings;
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

} // namespace lumora
