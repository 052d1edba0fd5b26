#include "processing/WeakRef.h"

#include "platform/objc/Message.h"
#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

const ClassDescription& WeakRef::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WeakRef, NSProxy>("WeakRef")
                                    .method<&WeakRef::respondsToSelector>("respondsToSelector:"_sel)
                                    .variable<&WeakRef::m_ref>("ref"));
    return description;
}
static const RegisteredClass registered { &WeakRef::classDescription };

std::shared_ptr<WeakRef> WeakRef::to(const std::shared_ptr<Object>& object)
{
    auto reference = alloc<WeakRef>();
    reference->m_ref = object;
    return reference;
}

bool WeakRef::respondsToSelector(SEL selector)
{
    const auto object = ref();
    return object && delegateAnswers(*object, selector);
}

void WeakRef::forwardInvocation(NSInvocation& invocation)
{
    if (const auto object = ref())
        invocation.invokeWithTarget(object.get());
}

} // namespace lumora
