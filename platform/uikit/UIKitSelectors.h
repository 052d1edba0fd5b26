#pragma once

#include "platform/coregraphics/CGContext.h"
#include "platform/foundation/NSCoding.h"

#include <functional>

namespace lumora {

/// A context as a message carries it. Turns into a reference by itself.
class CGContextRef {
public:
    CGContextRef(CGContext& context)
        : m_context(&context)
    {
    }
    operator CGContext&() const { return *m_context; }

private:
    CGContext* m_context;
};

LUMORA_ENCODE(CGContext, CGContextRef, "^{CGContext=}");
LUMORA_ENCODE(CGContextRef, CGContextRef, "^{CGContext=}");

/// The operations of views, controllers, recognizers and the application that go through the message table. A
/// direct C++ call of the member function of the same name runs that class's own implementation, as a call to
/// `super` does; `send` asks the receiver's class, with every subclass's and every library's replacement.
namespace sel {
// Making
inline constinit const TypedSelector<id(CGRect)> initWithFrame { "initWithFrame:" };
inline constinit const TypedSelector<void()> awakeFromNib { "awakeFromNib" };
inline constinit const TypedSelector<void()> prepareForInterfaceBuilder { "prepareForInterfaceBuilder" };
// Responders
inline constinit const TypedSelector<id()> nextResponder { "nextResponder" };
/// The touches are an array of UITouch; the event may be nil.
inline constinit const TypedSelector<void(Value, id)> touchesBegan { "touchesBegan:withEvent:" };
inline constinit const TypedSelector<void(Value, id)> touchesMoved { "touchesMoved:withEvent:" };
inline constinit const TypedSelector<void(Value, id)> touchesEnded { "touchesEnded:withEvent:" };
inline constinit const TypedSelector<void(Value, id)> touchesCancelled { "touchesCancelled:withEvent:" };
// Views
inline constinit const TypedSelector<Class()> layerClass { "layerClass" };
inline constinit const TypedSelector<id()> superview { "superview" };
inline constinit const TypedSelector<id()> window { "window" };
inline constinit const TypedSelector<void(id)> addSubview { "addSubview:" };
inline constinit const TypedSelector<void()> removeFromSuperview { "removeFromSuperview" };
inline constinit const TypedSelector<void()> didMoveToSuperview { "didMoveToSuperview" };
inline constinit const TypedSelector<void()> didMoveToWindow { "didMoveToWindow" };
inline constinit const TypedSelector<void()> setNeedsLayout { "setNeedsLayout" };
inline constinit const TypedSelector<void()> layoutSubviews { "layoutSubviews" };
inline constinit const TypedSelector<CGSize()> intrinsicContentSize { "intrinsicContentSize" };
/// The size the content takes in at most that width; width 0 is unlimited.
inline constinit const TypedSelector<CGSize(CGSize)> sizeThatFits { "sizeThatFits:" };
inline constinit const TypedSelector<id(CGPoint, id)> hitTest { "hitTest:withEvent:" };
inline constinit const TypedSelector<bool(CGPoint, id)> pointInside { "pointInside:withEvent:" };
inline constinit const TypedSelector<void(CGContext&)> drawRect { "drawRect:" };
inline constinit const TypedSelector<void(id)> addGestureRecognizer { "addGestureRecognizer:" };
inline constinit const TypedSelector<void(id)> removeGestureRecognizer { "removeGestureRecognizer:" };
// Controllers
inline constinit const TypedSelector<void()> loadView { "loadView" };
inline constinit const TypedSelector<void()> viewDidLoad { "viewDidLoad" };
inline constinit const TypedSelector<void(bool)> viewWillAppear { "viewWillAppear:" };
inline constinit const TypedSelector<void(bool)> viewDidAppear { "viewDidAppear:" };
inline constinit const TypedSelector<void(bool)> viewWillDisappear { "viewWillDisappear:" };
inline constinit const TypedSelector<void(bool)> viewDidDisappear { "viewDidDisappear:" };
inline constinit const TypedSelector<void()> viewWillLayoutSubviews { "viewWillLayoutSubviews" };
inline constinit const TypedSelector<void()> viewDidLayoutSubviews { "viewDidLayoutSubviews" };
inline constinit const TypedSelector<void(id, bool, std::function<void()>)> presentViewController {
    "presentViewController:animated:completion:"
};
inline constinit const TypedSelector<void(bool, std::function<void()>)> dismissViewController {
    "dismissViewControllerAnimated:completion:"
};
// The optional questions to a recognizer's delegate: (the recognizer, the other one)
inline constinit const TypedSelector<bool(id, id)> gestureRecognizerShouldRequireFailureOf {
    "gestureRecognizer:shouldRequireFailureOfGestureRecognizer:"
};
inline constinit const TypedSelector<bool(id, id)> gestureRecognizerShouldBeRequiredToFailBy {
    "gestureRecognizer:shouldBeRequiredToFailByGestureRecognizer:"
};
inline constinit const TypedSelector<bool(id, id)> gestureRecognizerShouldRecognizeSimultaneouslyWith {
    "gestureRecognizer:shouldRecognizeSimultaneouslyWithGestureRecognizer:"
};
// The application: a URL travels as a Value that holds one
inline constinit const TypedSelector<bool(Value)> openURL { "openURL:" };
inline constinit const TypedSelector<void(Value, NSDictionary, std::function<void(bool)>)>
    openURLWithOptions { "openURL:options:completionHandler:" };
}

} // namespace lumora
