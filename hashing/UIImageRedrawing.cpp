#include "hashing/UIImageRedrawing.h"

#include "lumora/LMLog.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/foundation/NSString.h"

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
