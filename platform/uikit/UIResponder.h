#pragma once

#include "platform/uikit/UIKitSelectors.h"

namespace lumora {

/// What can receive touches: views, controllers, windows, the application. A touch nobody handles climbs from
/// responder to responder. Main thread only.
class UIResponder : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// The one a touch goes to next; borrowed, null at the end of the chain.
    UIResponder* nextResponder() { return nullptr; }
    /// The default of each hands the touches on to the next responder.
    void touchesBegan(const Value& touches, Object* event);
    void touchesMoved(const Value& touches, Object* event);
    void touchesEnded(const Value& touches, Object* event);
    void touchesCancelled(const Value& touches, Object* event);
};

} // namespace lumora
