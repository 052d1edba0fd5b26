#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// MoPub's hooks: `MPAdView` `managerDidLoadAd:`.
class TDMoPubSwizzler : public NSObject {
public:
    static const ClassDescription& classDescription();
};

}
