#pragma once

#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/objc/ClassDescription.h"

#include <string>

namespace lumora {

/// The metadata class of a network that says no more than that its ads fill the screen: for ads that need the
/// report button's full form and no SDK.
class FullScreenAd final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<FullScreenAd, NSObject>("SimulatedFullScreenAd")
                  .classMethod<&name>(sel::getSDKName)
                  .classMethod<&name>(sel::getVersion)
                  .classMethod<&type>(sel::adType);
        return description;
    }
    static std::string name() { return "TestNet"; }
    static std::string type() { return "interstitial"; }
};

/// What such an ad is given to the button with.
inline NSDictionary fullScreenMetadata()
{
    return { { LMReportButtonHelper::metaclassKey, retain(classOf<FullScreenAd>()) } };
}

} // namespace lumora
