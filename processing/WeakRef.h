#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// Stands for an object without keeping it alive, for a timer or another strong holder. Every message goes on
/// to the object, also the question what it responds to; once that is gone, messages end here and answer
/// zero. Any thread that the object allows.
class WeakRef final : public NSProxy {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WeakRef> to(const std::shared_ptr<Object>& object);

    std::shared_ptr<Object> ref() const { return m_ref.lock(); }
    bool respondsToSelector(SEL selector);
    void forwardInvocation(NSInvocation& invocation) override;

private:
    std::weak_ptr<Object> m_ref;
};

} // namespace lumora
