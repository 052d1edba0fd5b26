#pragma once

#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMReportButtonHelper.h"
#include "tests/world/World.h"

namespace lumora::tests {

/// A network of the tests' own that says no more than that its ads fill the screen.
class FullScreenAd final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<FullScreenAd, NSObject>("TestFullScreenAd")
                  .classMethod<&name>(sel::getSDKName)
                  .classMethod<&name>(sel::getVersion)
                  .classMethod<&type>(sel::adType);
        return description;
    }
    static std::string name() { return "TestNet"; }
    static std::string type() { return "interstitial"; }
};

inline NSDictionary fullScreenMetadata() { return { { "metaclass", retain(classOf<FullScreenAd>()) } }; }

/// A view of the host's own on the screen, at the moment its button comes.
inline std::shared_ptr<UIView> adWithButton(
    World& world, const CGRect& frame, const NSDictionary& metadata = {})
{
    auto ad = make<UIView>();
    ad->setFrame(frame);
    world.phone.content().addSubview(ad);
    LMReportButtonHelper::addReportButtonToView(ad.get(), nullptr, metadata);
    world.phone.wait(1);
    return ad;
}

} // namespace lumora::tests
