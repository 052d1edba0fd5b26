#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// Where AdMob keeps the identifiers of its banners.
class TDMetaclass_AdMobV42_banner : public NSObject {
public:
    static const ClassDescription& classDescription();
    /// Told apart from what Amazon's header bidder won: {"DTB(Amazon)": its version}, or nothing.
    static Value checkObjectForAmazon(id object);
};

/// The same for Google Ad Manager.
class TDMetaclass_DFPV42_banner : public TDMetaclass_AdMobV42_banner {
public:
    static const ClassDescription& classDescription();
};

}
