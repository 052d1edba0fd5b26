#include "hashing/UIImageExtensions.h"

#include "lumora/LMLog.h"
#include "platform/foundation/NSString.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIViewDrawing.h"

namespace lumora {

namespace {

constexpr double jpegQuality = 0.5;
constexpr double resizeRate = 0.5;
// That of the platform's image context when only a size is named.
constexpr double contextScale = 1;

bool hasNoSize(const UIImage& image) { return image.size().width == 0 || image.size().height == 0; }

UIImage drawnInContext(const UIImage& image, CGSize size)
{
    const auto context = makeBitmapContext(size, contextScale);
    if (!context)
        return {};
    context->drawImage(image, { {}, size });
    return context->makeImage();
}

} // namespace

UIImage imageWithImage(const UIImage& image) { return drawnInContext(image, { 32, 32 }); }

UIImage captureScreenWithView(UIView* view)
{
    if (!view)
        return {};
    return renderLayer(view->layer(), view->bounds().size, UIScreen::mainScreen().scale(), view->isOpaque());
}

UIImage captureRightScreenFrom(UIView* view)
{
    return view ? takeImageOfView(*view, view->bounds().size, contextScale) : UIImage {};
}

UIImage getDowngradedImage(const UIImage& image)
{
    LMLog::logMessage(stringWithFormat("[QualityDowngrade] new quality was set: %f", { jpegQuality }));
    if (hasNoSize(image))
        return image;
    const NSData jpeg = UIImageJPEGRepresentation(image, jpegQuality);
    return UIImage::imageWithData(jpeg) ? drawnInContext(image, image.size()) : UIImage {};
}

UIImage resizeWithRate(const UIImage& image)
{
    if (hasNoSize(image))
        return image;
    LMLog::logMessage(stringWithFormat("[imageResizing] new quality was set: %f", { resizeRate }));
    const CGSize size = image.size();
    UIImage resized = drawnInContext(image, { size.width * resizeRate, size.height * resizeRate });
    return resized.isNull() ? image : resized;
}

} // namespace lumora
