#include "hashing/UIImageCapture.h"
#include "hashing/UIImageRedrawing.h"
#include "lumora/LMLogManager.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

using Pixel = std::vector<int>;
static const Pixel red { 255, 0, 0, 255 }, black { 0, 0, 0, 255 }, clear { 0, 0, 0, 0 };

/// One of the top row.
static Pixel pixel(const UIImage& image, ptrdiff_t x)
{
    return { image.pixels() + 4 * x, image.pixels() + 4 * x + 4 };
}

TEST(UIImageCapture, CapturesAViewAsItsLayerOrAsItWillLook)
{
    Phone phone;
    auto view = phone.add(CGRectMake(50, 60, 20, 10));
    auto animated = phone.add(CGRectMake(0, 0, 10, 10), view.get());
    animated->setBackgroundColor(UIColor::blackColor());
    UIView::animateWithDuration(1, [&] { animated->setBackgroundColor(UIColor { 1, 0, 0, 1 }); });
    const UIImage layer = captureScreenWithView(view.get());
    EXPECT_EQ(layer.size(), (CGSize { 20, 10 }));
    EXPECT_EQ(layer.scale(), phone.world.process.configuration().screen.scale);
    EXPECT_EQ(pixel(layer, 0), red) << "where the animation leads";
    EXPECT_EQ(pixel(layer, layer.pixelWidth() - 1), black) << "opaque";
    view->setValueForKey(false, "opaque");
    EXPECT_EQ(pixel(captureScreenWithView(view.get()), layer.pixelWidth() - 1), clear);
    const UIImage hierarchy = captureRightScreenFrom(view.get());
    EXPECT_EQ(hierarchy.pixelWidth(), 20);
    EXPECT_EQ(pixel(hierarchy, 0), black) << "where the animation is";
    EXPECT_EQ(pixel(hierarchy, 19), clear);
    EXPECT_TRUE(captureScreenWithView(nullptr).isNull() && captureRightScreenFrom(nullptr).isNull());
}

TEST(UIImageRedrawing, DrawsPicturesAnewAtOnePixelAPoint)
{
    Phone phone;
    const UIImage image { 2, 1, { 255, 0, 0, 255, 0, 0, 0, 0 }, 0.1 };
    const std::pair<UIImage, CGSize> rows[] { { imageWithImage(image), { 32, 32 } },
        { getDowngradedImage(image), { 20, 10 } }, { resizeWithRate(image), { 10, 5 } } };
    for (const auto& [drawn, size] : rows) {
        EXPECT_EQ(drawn.size(), size);
        EXPECT_EQ(drawn.scale(), 1);
        EXPECT_EQ(pixel(drawn, 0), red) << size.width;
        EXPECT_EQ(pixel(drawn, drawn.pixelWidth() - 1), clear) << "not a JPEG's white, " << size.width;
    }
}

TEST(UIImageRedrawing, AnswersPicturesThatCannotBeDrawn)
{
    Phone phone;
    LMLogManager::sharedInstance().setLoggingTTL(1000);
    EXPECT_EQ(pixel(imageWithImage({}), 0), clear);
    EXPECT_TRUE(resizeWithRate({}).isNull());
    EXPECT_TRUE(getDowngradedImage({ 65501, 1, std::vector<uint8_t>(size_t { 65501 } * 4) }).isNull())
        << "no JPEG";
    const UIImage vast { 1, 1, { 1, 2, 3, 4 }, 1e-5 };
    EXPECT_EQ(resizeWithRate(vast).pixels(), vast.pixels());
    EXPECT_TRUE(getDowngradedImage({}).isNull());
    const std::string downgrade = "[QualityDowngrade] new quality was set: 0.500000";
    EXPECT_EQ(LMLogManager::sharedInstance().takeLogFile(),
        downgrade + "[imageResizing] new quality was set: 0.500000\n" + downgrade + "\n");
}

} // namespace lumora::test
