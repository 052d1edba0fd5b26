#pragma once

#include "platform/foundation/NSRegularExpression.h"

#include <functional>
#include <string>
#include <vector>

namespace lumora {

// The links of an ad that lead to the app store.

/// The store's host on the web.
extern const char* const storeHost;

using LinkMatches = std::vector<NSRegularExpression::Match>;

/// The addresses, in their order, that open the store's application or name the store's web host. Any thread.
std::vector<std::string> getURLFrom(const LinkMatches& matches);
/// The hosts of all addresses that have one, in their order. Any thread.
std::vector<std::string> getAllURLsFrom(const LinkMatches& matches);

/// Kept at no: whether the words around a link speak of the store was never asked.
inline bool isKeywordsNearLink(const NSRegularExpression::Match&, std::string_view) { return false; }

/// Finds the store links of a markup in the background and hands them over there, if it has any link at all.
void findStoreLinks(std::string markup, std::function<void(std::vector<std::string>)> found);

} // namespace lumora
