#include "processing/CustomTargetingFactory.h"

#include <algorithm>

namespace lumora {

Value CustomTargetingFactory::checkObjectForAmazon(const Object* adObject)
{
    constexpr const char* bidKeys[] = { "amzn_b", "amzn_h", "amznp", "amznrdr", "amznslots", "dc" };
    const Value targeting = getValueFromObject(adObject,
        { "_slot._loadingRequest._customTargeting", "_lastRequest._customTargeting",
            "_refreshTargeting._customTargeting" });
    const NSDictionary* entries = targeting.dictionary();
    if (!entries || !std::all_of(std::begin(bidKeys), std::end(bidKeys), [&](const char* key) {
            return entries->find(key);
        }))
        return {};
    const Version amazon { .classes = { "DTBAds" }, .selector = "version", .fallback = "" };
    return NSDictionary { { "DTB(Amazon)", amazon.read() } };
}

} // namespace lumora
