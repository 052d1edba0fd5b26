#include "devservice/Fault.h"

#include "devservice/ServiceJSON.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace json = boost::json;

namespace lumora {

namespace {

constexpr double longestDelay = 3600; // seconds

struct EndingName {
    Ending ending;
    std::string_view name;
};
constexpr std::array<EndingName, 3> endingNames { {
    { Ending::Normal, "normal" },
    { Ending::CloseWithoutAnswer, "closeWithoutAnswer" },
    { Ending::CloseMidBody, "closeMidBody" },
} };

Ending endingIn(std::string_view name, const json::value& value)
{
    const std::string text = textIn(name, value);
    for (const EndingName& known : endingNames) {
        if (known.name == text)
            return known.ending;
    }
    reject(name, "must be normal, closeWithoutAnswer or closeMidBody");
}

template <typename Number> Number numberIn(std::string_view name, const json::value& value)
{
    json::error_code error;
    const auto number = value.to_number<Number>(error);
    if (error)
        reject(name, "is not a number that fits");
    return number;
}

bool isBodiless(int status) { return status == 204 || status == 304; }

} // namespace

std::string Fault::garbage() { return "{\"active\": tr\xFF\xFE]]>\x01"; }

Fault Fault::fromJSON(const json::value& value)
{
    Fault fault;
    for (const auto& [key, field] : objectIn("faults", value)) {
        const std::string_view name(key.data(), key.size());
        if (name == "path") {
            fault.path = textIn(name, field);
        } else if (name == "times") {
            if (field.is_null())
                fault.times.reset();
            else
                fault.times = numberIn<uint32_t>(name, field);
        } else if (name == "status") {
            fault.status = numberIn<int>(name, field);
        } else if (name == "delay") {
            fault.delaySeconds = numberIn<double>(name, field);
        } else if (name == "body") {
            fault.body = textIn(name, field);
        } else if (name == "garbage") {
            if (flagIn(name, field))
                fault.body = Fault::garbage();
        } else if (name == "ending") {
            fault.ending = endingIn(name, field);
        } else {
            reject(name, "is nothing a fault has");
        }
    }
    return fault;
}

json::object Fault::toJSON() const
{
    json::object fields { { "path", path }, { "delay", delaySeconds } };
    if (times)
        fields["times"] = *times;
    else
        fields["times"] = nullptr;
    if (status)
        fields["status"] = *status;
    if (body)
        fields["body"] = printable(*body);
    for (const EndingName& known : endingNames) {
        if (known.ending == ending)
            fields["ending"] = json::string(known.name.data(), known.name.size());
    }
    return fields;
}

void Fault::validate() const
{
    const bool isServed = std::any_of(ServicePath::all.begin(), ServicePath::all.end(),
        [this](std::string_view served) { return pathMatches(served, path); });
    if (!path.empty() && !isServed)
        reject("path", "is none of the services' paths: " + path);
    if (times == 0U)
        reject("times", "must be at least 1");
    if (status && (*status < 200 || *status > 599))
        reject("status", "must be from 200 to 599");
    if (!(delaySeconds >= 0 && delaySeconds <= longestDelay))
        reject("delay", "must be from 0 to 3600 seconds");
    if (ending == Ending::CloseMidBody && (isBodiless(status.value_or(200)) || body == ""))
        reject("ending", "needs a body to close in the middle of");
}

void Fault::apply(ServiceAnswer& answer) const
{
    answer.status = status.value_or(answer.status);
    if (body)
        answer.body = *body;
    if (isBodiless(answer.status))
        answer.body.clear();
    answer.delaySeconds = delaySeconds;
    answer.ending = ending;
}

void FaultPlan::add(std::vector<Fault> faults)
{
    for (const Fault& fault : faults)
        fault.validate();
    const Locker locker(m_lock);
    std::move(faults.begin(), faults.end(), std::back_inserter(m_faults));
}

void FaultPlan::clear()
{
    const Locker locker(m_lock);
    m_faults.clear();
}

std::optional<Fault> FaultPlan::take(std::string_view path)
{
    const Locker locker(m_lock);
    const auto found = std::find_if(
        m_faults.begin(), m_faults.end(), [path](const Fault& fault) { return fault.concerns(path); });
    if (found == m_faults.end())
        return std::nullopt;
    if (found->times && --*found->times == 0) {
        Fault last = std::move(*found);
        m_faults.erase(found);
        return last;
    }
    return *found;
}

json::array FaultPlan::toJSON() const
{
    const Locker locker(m_lock);
    json::array faults;
    for (const Fault& fault : m_faults)
        faults.push_back(fault.toJSON());
    return faults;
}

} // namespace lumora
