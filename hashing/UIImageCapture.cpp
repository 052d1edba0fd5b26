#include "hashing/UIImageCapture.h"

#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIViewDrawing.h"

namespace lumora {

UIImage captureScreenWithView(UIView* view)
{
    if (!view)
        return {};
    return renderLayer(view->layer(), view->bounds().size, UIScreen::mainScreen().scale(), view->isOpaque());
}

UIImage captureRightScreenFrom(UIView* view)
{
    return view ? takeImageOfView(*view, view->bounds().size, 1) : UIImage {};
}

} // namespace lumora
