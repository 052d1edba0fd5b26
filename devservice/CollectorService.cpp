#include "devservice/CollectorService.h"

#include "devservice/CollectorCipher.h"
#include "devservice/ServiceJSON.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace json = boost::json;

namespace lumora {

namespace {

/// What hashes are brought by: where its body lists them, and the name of one there and in an ad.
struct Upload {
    ArrivalKind kind;
    const char* list;
    const char* hash;
};
constexpr std::array<Upload, 2> uploads { {
    { ArrivalKind::Screenshots, "screenshots", "phash" },
    { ArrivalKind::SourceHashes, "sources", "sourceHash" },
} };

std::string textUnder(const char* name, const json::object& fields)
{
    const json::value* text = fields.if_contains(name);
    return text && text->is_string() ? std::string(text->get_string()) : std::string();
}

std::vector<std::string> broughtHashes(const Upload& upload, const json::object& body)
{
    std::vector<std::string> hashes;
    const auto add = [&](const json::value& value) {
        if (value.is_string())
            hashes.emplace_back(value.get_string());
        else if (value.is_object())
            hashes.push_back(textUnder(upload.hash, value.get_object()));
    };
    const json::value* list = body.if_contains(upload.list);
    if (list && list->is_array())
        std::for_each(list->get_array().begin(), list->get_array().end(), add);
    else if (list)
        add(*list);
    return hashes;
}

} // namespace

ServiceAnswer CollectorService::answer(const ServiceRequest& request, Arrival& arrival)
{
    auto body = arrival.kind == ArrivalKind::Log ? std::nullopt : parseJSON(request.body);
    arrival.isJSON = body.has_value();
    const bool isEncrypted
        = arrival.kind == ArrivalKind::Complaint || (arrival.kind == ArrivalKind::Event && !body);
    if (isEncrypted) {
        arrival.decrypted = arrival.kind == ArrivalKind::Event
            ? decryptedEvent(request.body)
            : decryptedComplaint(request.body, request.header("lm-s"), request.header("lm-iv"));
        body = parseJSON(arrival.decrypted);
        if (!body)
            arrival.decrypted.clear();
    }

    const std::string key = acceptedKey();
    if (!key.empty() && arrival.authorization != key)
        return errorAnswer(401, "the key in the Authorization header is missing or wrong");
    if (arrival.kind == ArrivalKind::Log)
        return jsonAnswer(200, "{}");
    if (!body)
        return errorAnswer(400, isEncrypted ? "the body does not decrypt to JSON" : "the body is not JSON");
    if (!body->is_object())
        return errorAnswer(400, "the body must be a JSON object");
    if (arrival.kind == ArrivalKind::Batch)
        return answerBatch(body->get_object());
    for (const Upload& upload : uploads) {
        if (upload.kind == arrival.kind)
            arrival.hashes = broughtHashes(upload, body->get_object());
    }
    return jsonAnswer(200, "{}");
}

ServiceAnswer CollectorService::answerBatch(const json::object& batch) const
{
    const json::value* ads = batch.if_contains("ads");
    if (!ads || !ads->is_array())
        return errorAnswer(400, R"(a batch has an array of "ads")");
    std::set<std::pair<size_t, std::string>> named; // by which upload they would come
    for (const json::value& ad : ads->get_array()) {
        if (!ad.is_object())
            return errorAnswer(400, R"("ads" must be objects)");
        for (size_t i = 0; i < uploads.size(); ++i)
            named.emplace(i, textUnder(uploads.at(i).hash, ad.get_object()));
    }
    json::array data;
    size_t lacking = 0;
    for (const auto& [index, hash] : named) {
        if (hash.empty())
            continue;
        const Upload& upload = uploads.at(index);
        const bool isKnown = store().hasHash(upload.kind, hash);
        lacking += !isKnown;
        json::value status = isKnown ? 200 : 404;
        if (upload.kind == ArrivalKind::SourceHashes) // clients have to read a status in either form
            status = json::serialize(status);
        data.push_back({ { "status", status }, { upload.hash, hash } });
    }
    if (lacking == 0)
        return jsonAnswer(200, "{}");
    const int status = lacking == data.size() ? 404 : 207;
    return jsonAnswer(status, json::serialize(json::object { { "data", data } }));
}

Service::Change CollectorService::change(std::string_view setting, const json::value& value)
{
    if (setting == "collectorKey")
        return [this, key = textIn(setting, value)] { setAcceptedKey(key); };
    return nullptr;
}

void CollectorService::describeSettings(json::object& settings) const
{
    settings["collectorKey"] = printable(acceptedKey());
}

void CollectorService::setAcceptedKey(std::string key)
{
    const Locker locker(m_lock);
    m_acceptedKey = std::move(key);
}

std::string CollectorService::acceptedKey() const
{
    const Locker locker(m_lock);
    return m_acceptedKey;
}

} // namespace lumora
