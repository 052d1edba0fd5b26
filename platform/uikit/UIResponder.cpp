#include "platform/uikit/UIResponder.h"

namespace lumora {

const ClassDescription& UIResponder::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIResponder, NSObject>("UIResponder")
                                    .method<&UIResponder::nextResponder>(sel::nextResponder)
                                    .method<&UIResponder::touchesBegan>(sel::touchesBegan)
                                    .method<&UIResponder::touchesMoved>(sel::touchesMoved)
                                    .method<&UIResponder::touchesEnded>(sel::touchesEnded)
                                    .method<&UIResponder::touchesCancelled>(sel::touchesCancelled));
    return description;
}
static const RegisteredClass registeredUIResponder { &UIResponder::classDescription };

void UIResponder::touchesBegan(const Value& touches, Object* event)
{
    send(send(this, sel::nextResponder), sel::touchesBegan, touches, event);
}
void UIResponder::touchesMoved(const Value& touches, Object* event)
{
    send(send(this, sel::nextResponder), sel::touchesMoved, touches, event);
}
void UIResponder::touchesEnded(const Value& touches, Object* event)
{
    send(send(this, sel::nextResponder), sel::touchesEnded, touches, event);
}
void UIResponder::touchesCancelled(const Value& touches, Object* event)
{
    send(send(this, sel::nextResponder), sel::touchesCancelled, touches, event);
}

} // namespace lumora
