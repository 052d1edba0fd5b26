#include "processing/LMGoogleCreativeIdHelper.h"

#include "interception/Extraction.h"
#include "lumora/LMLog.h"
#include "platform/foundation/NSRegularExpression.h"

namespace lumora {

std::optional<std::string> LMGoogleCreativeIdHelper::getCreativeIDFromDebugString(const Value& debugString)
{
    static const auto labelled
        = NSRegularExpression::regularExpressionWithPattern("Creative\\+ID\\+0=(\\d+)", true);
    if (!labelled || !debugString.string())
        return std::nullopt;
    const auto matches = labelled->matchesInString(*debugString.string());
    if (matches.empty())
        return std::nullopt;
    std::string creativeId = matches.back().groups[1].text;
    LMLog::logDebug(creativeId);
    return creativeId;
}

std::optional<std::string> LMGoogleCreativeIdHelper::getCreativeIdWithAdObject(Object* adObject)
{
    const auto around = retain(superviewOf(adObject));
    const auto read = [&](const char* keyPath) { return getValueFromObject(around.get(), keyPath); };

    constexpr std::pair<const char*, const char*> debugStrings[]
        = { { "_delegate._ad._debugDialogString", "no first debug string, trying next" },
              { "_delegate._adDebugDialogString", "no second debug string, trying next" } };
    for (const auto& [keyPath, complaint] : debugStrings) {
        if (auto creativeId = getCreativeIDFromDebugString(read(keyPath)))
            return creativeId;
        LMLog::logErrorMessage(complaint);
    }
    // Anything else might only tell an address in memory.
    const auto readable
        = [](const Value& value) { return value.isString() || value.isNumber() || value.uuid(); };
    if (const Value query = read("_delegate._ad._GWSQueryID"); readable(query))
        return "QueryID:" + query.description();
    LMLog::logErrorMessage("no query string, trying next");
    if (const Value request = read("_delegate._ad._requestIdentifier"); readable(request))
        return "RequestIdentifier:" + request.description();
    LMLog::logErrorMessage("no request identifier string, trying next");
    return std::nullopt;
}

} // namespace lumora
