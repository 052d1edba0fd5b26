#pragma once

#include "interception/TDMetadataClassProtocol.h"
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

} // namespace lumora::tests
