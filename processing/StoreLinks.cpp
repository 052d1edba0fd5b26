#include "processing/StoreLinks.h"

#include "platform/foundation/NSDataDetector.h"
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
        // By its text: an address with a stray percent sign opens the store as well.
        const std::string_view url = match.URL;
        const size_t colon = std::min(url.find(':'), url.size());
        const bool opensStore = std::any_of(std::begin(storeSchemes), std::end(storeSchemes),
            [&](const char* scheme) { return url.substr(0, colon) == scheme; });
        if (opensStore || url.substr(colon).find(storeHost) != std::string_view::npos)
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

std::optional<std::vector<std::string>> StoreLinks::links() const
{
    Locker hold(m_lock);
    return m_links;
}

StoreLinks::Search StoreLinks::begin()
{
    Locker hold(m_lock);
    m_links.reset();
    m_latest = Search { static_cast<uint64_t>(m_latest) + 1 };
    return m_latest;
}

void StoreLinks::end(Search search, std::vector<std::string> links)
{
    Locker hold(m_lock);
    if (search == m_latest)
        m_links = std::move(links);
}

void StoreLinks::find(const std::weak_ptr<StoreLinks>& links, Search search, std::string markup)
{
    // The manager takes the whole text, whatever the range: no need to measure it.
    LMRegularExpressionsBackgroundManager::sharedInstance().matchesInStringInBackgroundWithDetector(
        NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, storeHost), std::move(markup), 0, {},
        [links, search](const std::optional<LinkMatches>& matches) {
            const auto wanted = links.lock();
            if (wanted && matches && !matches->empty())
                wanted->end(search, getURLFrom(*matches));
        });
}

} // namespace lumora
