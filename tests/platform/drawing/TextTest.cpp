#include "tests/platform/drawing/Pixels.h"

#include <atomic>
#include <thread>

namespace lumora::test {

namespace {

constexpr const char* sentence = "The ad covers the whole screen and cannot be closed";
const CGRect frame = CGRectMake(20, 10, 120, 30);

UIImage drawn(const std::string& text, const TextStyle& style, const CGRect& rect = frame)
{
    auto context = makeBitmapContext({ 300, 120 }, 2);
    context->drawText(text, style, rect);
    return context->makeImage();
}

/// Where the ink is, in points.
CGRect inkOf(const std::string& text, const TextStyle& style, const CGRect& rect = frame)
{
    const CGRect pixels = inked(drawn(text, style, rect));
    return CGRectMake(pixels.minX() / 2, pixels.minY() / 2, pixels.size.width / 2, pixels.size.height / 2);
}

TextStyle style(double size, int lines = 1, NSTextAlignment alignment = NSTextAlignment::Left)
{
    return { { "Roboto-Regular", size }, UIColor::blackColor(), alignment, lines, 1 };
}

} // namespace

TEST(Text, StaysInsideItsRectangleAndIsCentredVertically)
{
    for (const char* text : { "Report", sentence, "Wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww", "two\nlines" }) {
        const CGRect ink = inkOf(text, style(17));
        EXPECT_EQ(ink.intersection(frame), ink) << text;
        EXPECT_NEAR(ink.midY(), frame.midY(), 3) << text;
    }
}

TEST(Text, KeepsToTheSideItIsAlignedTo)
{
    EXPECT_NEAR(inkOf("Ad", style(17)).minX(), frame.minX(), 2);
    EXPECT_NEAR(inkOf("Ad", style(17, 1, NSTextAlignment::Center)).midX(), frame.midX(), 2);
    EXPECT_NEAR(inkOf("Ad", style(17, 1, NSTextAlignment::Right)).maxX(), frame.maxX(), 2);
}

TEST(Text, IsCutWhereItDoesNotFit)
{
    EXPECT_GT(inkOf(sentence, style(17)).size.width, frame.size.width * 0.8);
    EXPECT_LT(inkOf(sentence, style(17)).size.height, 20) << "one line";
    const CGRect tall = CGRectMake(20, 10, 120, 100);
    EXPECT_NEAR(inkOf(sentence, style(17, 2), tall).size.height, 37, 5);
    EXPECT_GT(inkOf(sentence, style(17, 0), tall).size.height, 55) << "as many as fit";
}

TEST(Text, ShrinksDownToItsFactorBeforeItIsCut)
{
    TextStyle shrinking = style(17);
    shrinking.minimumScaleFactor = 0.5;
    const std::string justTooWide = "The ad covers the whole";
    EXPECT_LT(inkOf(justTooWide, shrinking).size.height, inkOf(justTooWide, style(17)).size.height);
    EXPECT_EQ(bytesOf(drawn("Ad", shrinking)), bytesOf(drawn("Ad", style(17)))) << "what fits keeps its size";
    shrinking.minimumScaleFactor = 0;
    EXPECT_FALSE(inkOf(sentence, shrinking).isEmpty());
}

TEST(Text, HasTheFaceOfItsPostScriptName)
{
    auto widthIn = [](const char* font) { return measureText(sentence, { { font, 40 } }, 0).width; };
    const double regular = widthIn("Roboto-Regular");
    EXPECT_GT(widthIn("Roboto-Medium"), regular);
    EXPECT_GT(widthIn("Roboto-Bold"), widthIn("Roboto-Medium"));
    EXPECT_EQ(widthIn("Nobody-Regular"), regular);
}

TEST(Text, IsDrawnInGreysOfItsColour)
{
    TextStyle red = style(17);
    red.color = { 1, 0, 0, 1 };
    const std::string bytes = bytesOf(drawn("Report", red));
    for (size_t at = 0; at < bytes.size(); at += 4)
        ASSERT_EQ(bytes[at + 1] | bytes[at + 2], 0) << "no colour fringes";
}

TEST(MeasureText, GivesTheSizeInWhichTheWholeTextFits)
{
    for (const double maximum : { 0.0, 90.0, 200.0 }) {
        const CGSize size = measureText(sentence, style(14, 0), maximum);
        EXPECT_TRUE(maximum == 0 || size.width <= maximum) << maximum;
        TextStyle mayShrink = style(14, 0);
        mayShrink.minimumScaleFactor = 0.1;
        const CGRect rect { { 0, 0 }, size };
        EXPECT_EQ(bytesOf(drawn(sentence, style(14, 0), rect)), bytesOf(drawn(sentence, mayShrink, rect)))
            << maximum;
    }
    EXPECT_EQ(measureText(sentence, style(14, 1), 90).height, measureText("T", style(14), 0).height);
    EXPECT_EQ(measureText("", style(14), 90), (CGSize {}));
}

TEST(Text, OfAnyBytesIsDrawn)
{
    std::string odd = "\xff\xfe\xc0 \xe2\x82 \xf0\x9f\x98\x80 ";
    odd += std::string(3, '\0') + "\u202e\u0301\u0301 \u05d0\u0627";
    EXPECT_FALSE(inkOf(odd, style(17)).isEmpty());
    EXPECT_FALSE(inkOf(std::string(1 << 20, 'x'), style(17, 0)).isEmpty());
    for (const double size : { 0.0, -3.0, 1e9 })
        drawn(sentence, style(size, 3));
}

TEST(Text, IsTheSameFromEveryThread)
{
    const std::string expected = bytesOf(drawn(sentence, style(17)));
    const double width = measureText(sentence, style(23), 0).width;
    std::atomic<int> wrong { 0 };
    auto draw = [&] {
        for (int turn = 0; turn < 10; turn++)
            wrong += bytesOf(drawn(sentence, style(17))) != expected
                || measureText(sentence, style(23), 0).width != width;
    };
    std::array threads { std::thread(draw), std::thread(draw), std::thread(draw), std::thread(draw) };
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace lumora::test
