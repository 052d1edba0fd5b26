#include "interception/ScreenshotView.h"

#include "platform/uikit/UIWindow.h"
#include "support/UIViewExtensions.h"

namespace lumora {

/// The nearest view above that fills the window.
static std::shared_ptr<UIView> fullScreenContainer(UIView& view)
{
    UIWindow* window = view.window();
    for (UIView* above = view.superview(); window && above && above != window; above = above->superview()) {
        if (above->bounds().size == window->bounds().size)
            return retain(above);
    }
    return nullptr;
}

std::shared_ptr<Object> screenshotViewOf(id adView)
{
    const auto view = retain(as<UIView>(adView));
    if (!view)
        return nullptr;
    const std::shared_ptr<UIView> container = fullScreenContainer(*view);
    UIView& searched = container ? *container : *view;
    const std::shared_ptr<UIView> picture = getVideoScreenshotView(searched);
    if (picture.get() == &searched)
        return container;
    picture->setFrame({ {}, view->bounds().size });
    return picture;
}

} // namespace lumora
