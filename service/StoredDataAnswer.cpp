#include "service/StoredDataAnswer.h"

#include "lumora/LMLog.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"

namespace lumora {

static bool isNotFound(const Value& status)
{
    const std::string* text = status.string();
    return (text ? numberFromText(*text).value_or(Value {}) : status) == Value { 404 };
}

NSDictionary missingItems(std::optional<std::string_view> body, bool wasEncoded)
{
    // Only an absent body is logged: kept, what is there but no JSON counts as an answer that lacks nothing.
    if (!body)
        LMLog::logErrorMessage("[LMAPI][SendStoredData] response from server is different");
    const std::optional<Value> answer = body && wasEncoded ? JSONObjectWithData(*body) : std::nullopt;
    const NSDictionary* entries = answer ? answer->dictionary() : nullptr;
    const NSArray* data = entries ? (*entries)["data"].array() : nullptr;

    NSArray images;
    NSArray htmls;
    const NSArray none;
    for (const Value& element : data ? *data : none) {
        const NSDictionary* ad = element.dictionary();
        if (!ad || !isNotFound((*ad)["status"]))
            continue;
        // One that has both is asked for its image only.
        if (const Value& image = (*ad)["phash"]; image.isString())
            images.push_back(image);
        else if (const Value& html = (*ad)["sourceHash"]; html.isString())
            htmls.push_back(html);
    }
    return { { "images", std::move(images) }, { "htmls", std::move(htmls) } };
}

} // namespace lumora
