#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// The hooks of AdMob and Google Ad Manager: `GADBannerView` `adViewDidReceiveAd:`.
class TDGoogleV42Swizzler : public NSObject {
public:
    static const ClassDescription& classDescription();
};

}
