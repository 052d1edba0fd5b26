#pragma once

#include "platform/objc/Message.h"

namespace lumora {

class UIView;

/// A rectangle inside a view that constraints can name: its safe area. Owned by its view. Main thread only.
class UILayoutGuide final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Borrowed; null when the view is gone.
    UIView* owningView() const { return m_owningView.lock().get(); }
    void setOwningView(std::weak_ptr<UIView> view) { m_owningView = std::move(view); }

private:
    std::weak_ptr<UIView> m_owningView;
};

} // namespace lumora
