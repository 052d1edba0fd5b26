#include "tests/platform/drawing/Pixels.h"

#include <cmath>

namespace lumora::test {

namespace {

constexpr UIColor red { 1, 0, 0, 1 };
constexpr UIColor blue { 0, 0, 1, 1 };
constexpr const char* clear = "00000000";

UIBezierPath rect(double x, double y, double width, double height)
{
    return UIBezierPath::bezierPathWithRect(CGRectMake(x, y, width, height));
}

struct Canvas {
    double scale { 1 };
    std::unique_ptr<CGBitmapContext> context { makeBitmapContext({ 20, 20 }, scale) };

    std::string at(int x, int y) { return pixelAt(context->makeImage(), x, y); }
};

} // namespace

TEST(BitmapContext, FillsExactlyThePixelsOfARectangle)
{
    Canvas canvas { 2 };
    canvas.context->fillPath(rect(2, 3, 4, 5), red);
    EXPECT_EQ(inked(canvas.context->makeImage()), CGRectMake(4, 6, 8, 10));
    EXPECT_EQ(canvas.at(4, 6), "ff0000ff");
    canvas.context->fillPath(rect(15.25, 15, 0.25, 5), red);
    EXPECT_EQ(canvas.at(30, 35), "ff000080") << "half a pixel is half covered, in the same colour";
}

TEST(BitmapContext, StrokesBothSidesOfThePath)
{
    Canvas canvas;
    canvas.context->strokePath(rect(5, 5, 10, 10), red, 2);
    EXPECT_EQ(inked(canvas.context->makeImage()), CGRectMake(4, 4, 12, 12));
    EXPECT_EQ(canvas.at(10, 10), clear);
}

TEST(BitmapContext, ClipsAndMovesUntilTheStateIsRestored)
{
    Canvas canvas;
    canvas.context->saveGState();
    canvas.context->translateBy(10, 0);
    canvas.context->scaleBy(2, 1);
    canvas.context->clipToPath(rect(1, 1, 2, 2));
    canvas.context->fillPath(rect(0, 0, 100, 100), red);
    canvas.context->restoreGState();
    EXPECT_EQ(inked(canvas.context->makeImage()), CGRectMake(12, 1, 4, 2));
    canvas.context->fillPath(rect(0, 19, 20, 1), blue);
    EXPECT_EQ(canvas.at(0, 19), "0000ffff");
}

TEST(BitmapContext, PutsALayerDownAsOnePicture)
{
    Canvas canvas;
    canvas.context->beginTransparencyLayer(0.5);
    canvas.context->fillPath(rect(0, 0, 10, 10), red);
    canvas.context->saveGState();
    canvas.context->fillPath(rect(0, 0, 10, 10), blue);
    canvas.context->endTransparencyLayer();
    EXPECT_EQ(canvas.at(5, 5), "0000ff80") << "what is covered inside the layer does not shine through";
}

TEST(BitmapContext, StretchesPicturesUpToTheirEdges)
{
    Canvas canvas;
    const UIImage twoByOne { 2, 1, { 255, 0, 0, 255, 0, 0, 255, 255 } };
    canvas.context->drawImage(twoByOne, CGRectMake(2, 2, 16, 8));
    EXPECT_EQ(inked(canvas.context->makeImage()), CGRectMake(2, 2, 16, 8));
    EXPECT_EQ(canvas.at(2, 2), "ff0000ff");
    EXPECT_EQ(canvas.at(17, 9), "0000ffff");
    canvas.context->drawImage({}, CGRectMake(0, 0, 20, 20));
    EXPECT_EQ(canvas.at(0, 0), clear);
}

TEST(BitmapContext, ShrinksPicturesByTheirAverage)
{
    std::vector<uint8_t> stripes;
    for (int at = 0; at < 80 * 80; at++) {
        const uint8_t light = at % 2 ? 255 : 0;
        stripes.insert(stripes.end(), { light, light, light, 255 });
    }
    Canvas canvas;
    canvas.context->drawImage({ 80, 80, std::move(stripes) }, CGRectMake(0, 0, 20, 20));
    EXPECT_NEAR(std::stoi(canvas.at(10, 10).substr(0, 2), nullptr, 16), 128, 2);
}

TEST(BitmapContext, SurvivesNumbersThatAreNone)
{
    const double nan = std::nan("");
    Canvas canvas;
    canvas.context->restoreGState();
    canvas.context->endTransparencyLayer();
    canvas.context->fillPath(rect(nan, 0, 5, 5), red);
    canvas.context->drawText("x", {}, CGRectMake(0, 0, nan, 10));
    canvas.context->drawImage(patterned(2, 2, true), CGRectMake(0, 0, INFINITY, 1));
    canvas.context->translateBy(nan, 0);
    canvas.context->saveGState();
    canvas.context->scaleBy(0, 1);
    canvas.context->fillPath(rect(0, 0, 20, 20), red);
    canvas.context->restoreGState();
    EXPECT_EQ(inked(canvas.context->makeImage()), CGRectZero);
    canvas.context->fillPath(rect(0, 0, 20, 20), red);
    EXPECT_EQ(canvas.at(10, 10), "ff0000ff");
}

TEST(BitmapContext, IsNullForASizeThatCannotBe)
{
    for (const CGSize size :
        { CGSize { 0, 10 }, CGSize { -5, 5 }, CGSize { std::nan(""), 5 }, CGSize { 1e5, 1e5 } })
        EXPECT_EQ(makeBitmapContext(size, 1), nullptr) << size.width << " x " << size.height;
    EXPECT_EQ(makeBitmapContext({ 1, 1 }, 0), nullptr);
    EXPECT_EQ(makeBitmapContext({ 10.1, 0.1 }, 3)->makeImage().pixelWidth(), 31);
}

} // namespace lumora::test
