#pragma once

#include "platform/uikit/UIViewController.h"

namespace lumora {

/// Controllers of which, on a phone, the last one is shown. Main thread only.
class UISplitViewController final : public UIViewController {
public:
    static const ClassDescription& classDescription();

    const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const
    {
        return childViewControllers();
    }
    void setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers);

protected:
    void arrangeChildren() override;
};

} // namespace lumora
