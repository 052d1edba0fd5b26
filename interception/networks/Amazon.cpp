// Amazon: banners and interstitials. No hooks of its own: its web views are known by their delegates.

#include "interception/Network.h"
#include "platform/foundation/NSString.h"

namespace lumora {

namespace {

std::string creativeId(id adView)
{
    const id superview = superviewOf(adView);
    const Value data = getValueFromObject(superview,
        isKindOfClassNamed(superview, "AMAMraidInterstitialAdView")
            ? "_browsingController._adView._delegate._delegate._data"
            : "_displayController._mraidView._delegate._delegate._data");
    if (!data.data() || !isValidUTF8(data.data()->view()))
        return "";
    const std::string markup { data.data()->view() };
    for (const char* pattern : { "crId\\D{0,4}\\d+", "cid\\D{0,4}\\d+" }) {
        if (const auto found = firstMatch(markup, pattern))
            return firstMatch(*found, "\\d+", false).value_or("");
    }
    return "";
}

const Network& network()
{
    static const auto& amazon = *new Network {
        .swizzler = nullptr,
        .metadataClasses = {
            {
                .name = "TDMetaclass_Amazon_banner",
                .sdkName = "Amazon",
                .adType = "banner",
                .version = Version { .classes = { "AmazonAdRegistration" },
                    .selector = "version",
                    .instance = "sharedRegistration" },
                .creativeId = &creativeId,
            },
            {
                .name = "TDMetaclass_Amazon_interstitial",
                .base = "TDMetaclass_Amazon_banner",
                .adType = "interstitial",
            },
        },
    };
    return amazon;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
