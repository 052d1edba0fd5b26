#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/objc/Message.h"

namespace lumora {

/// The screen of the current process, out of its configuration. Points; scale is pixels per point. Any
/// thread.
class UIScreen final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static UIScreen& mainScreen();

    CGRect bounds() const;
    double scale() const;
};

} // namespace lumora
