#include "interception/TDMetadataClassesFactory.h"

#include "interception/Extraction.h"

namespace lumora {

namespace {

struct Row {
    const char* delegate;
    const char* metaclass;
};
// The first that matches decides.
constexpr Row rows[] = {
    { "FBAdWebKitContentContainer", "TDMetaclass_Facebook_banner" },
    { "ADCWebViewModule", "TDMetaclass_AdColony_interstitial" },
    { "AMMRAdView", "TDMetaclass_Amazon_banner" },
    { "AMAMraidInterstitialAdView", "TDMetaclass_Amazon_interstitial" },
};

} // namespace

Class TDMetadataClassesFactory::getMetadataClassForObject(const Object*, const Object* andDelegate)
{
    for (const Row& row : rows) {
        if (isKindOfClassNamed(andDelegate, row.delegate))
            return NSClassFromString(row.metaclass);
    }
    return nullptr;
}

} // namespace lumora
