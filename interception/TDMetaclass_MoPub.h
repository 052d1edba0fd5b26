#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// Where MoPub keeps the identifiers of its banners.
class TDMetaclass_MoPub_banner : public NSObject {
public:
    static const ClassDescription& classDescription();
};

}
