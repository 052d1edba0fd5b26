#pragma once

#include "platform/foundation/NSRegularExpression.h"
#include "platform/process/Lock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

/// The links of one ad that lead to the app store, as the search that began last found them: searches run
/// side by side, in the background. Any thread.
class StoreLinks {
public:
    enum class Search : uint64_t {};

    /// Unset until any link was found.
    std::optional<std::vector<std::string>> links() const;
    /// Forgets what was found. What earlier searches find is ignored from now on.
    Search begin();
    /// What a search has found; ignored unless it is the one that began last.
    void end(Search search, std::vector<std::string> links);
    /// Searches a markup in the background. The answer counts only while the ad is there.
    static void find(const std::weak_ptr<StoreLinks>& links, Search search, std::string markup);

private:
    mutable Lock m_lock;
    Search m_latest LUMORA_GUARDED_BY(m_lock) { 0 };
    std::optional<std::vector<std::string>> m_links LUMORA_GUARDED_BY(m_lock);
};

/// The store's host on the web.
extern const char* const storeHost;

using LinkMatches = std::vector<NSRegularExpression::Match>;

/// The addresses, in their order, that open the store's application or name the store's web host. Any thread.
std::vector<std::string> getURLFrom(const LinkMatches& matches);
/// The hosts of all addresses that have one, in their order. Any thread.
std::vector<std::string> getAllURLsFrom(const LinkMatches& matches);

/// Kept at no: whether the words around a link speak of the store was never asked.
inline bool isKeywordsNearLink(const NSRegularExpression::Match&, std::string_view) { return false; }

} // namespace lumora
