#include "processing/StoreLinks.h"

#include "platform/foundation/NSDataDetector.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "support/LMRegularExpressionsBackgroundManager.h"

#include <algorithm>

namespace lumora {

/// Schemes that open the store's application.
static constexpr const char* storeSchemes[] = { "itms-appss", "itms-apps", "itmss" };
const char* const storeHost = LUMORA_STORE_HOST;

std::vector<std::string> getURLFrom(const LinkMatches& matches)
{
    std::vector<std::string> links;
    for (const NSRegularExpression::Match& match : matches) {
        const auto url = parseURL(match.URL);
        const bool opensStore = url
            && std::any_of(std::begin(storeSchemes), std::end(storeSchemes),
                [&](const char* scheme) { return url->scheme == scheme; });
        if (opensStore || (url && url->resourceSpecifier.find(storeHost) != std::string::npos))
            links.push_back(match.URL);
    }
    return links;
}

std::vector<std::string> getAllURLsFrom(const LinkMatches& matches)
{
    std::vector<std::string> hosts;
    for (const NSRegularExpression::Match& match : matches) {
        if (auto url = parseURL(match.URL); url && !url->host.empty())
            hosts.push_back(std::move(url->host));
    }
    return hosts;
}

void findStoreLinks(std::string markup, std::function<void(std::vector<std::string>)> found)
{
    const auto length = utf16Length(markup);
    LMRegularExpressionsBackgroundManager::sharedInstance().matchesInStringInBackgroundWithDetector(
        NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, storeHost),
        std::move(markup), 0, { 0, length },
        [found = std::move(found)](const std::optional<LinkMatches>& matches) {
            if (matches && !matches->empty())
                found(getURLFrom(*matches));
        });
}

} // namespace lumora
