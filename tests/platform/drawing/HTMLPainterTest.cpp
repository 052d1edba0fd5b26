#include "platform/webkit/HTMLPainter.h"

#include "platform/foundation/NSString.h"
#include "tests/platform/drawing/Pixels.h"

#include <cmath>

namespace lumora::test {

namespace {

constexpr CGSize page { 100, 100 };
constexpr const char* noMargin = "<body style='margin:0'>";

UIImage painted(const std::string& html) { return paintHTML(html, page, 1); }
std::string at(const std::string& html, int x, int y) { return pixelAt(painted(noMargin + html), x, y); }
std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; i++)
        result += text;
    return result;
}
std::string pictureURL()
{
    const UIImage green { 2, 2, { 0, 255, 0, 255, 0, 255, 0, 255, 0, 255, 0, 255, 0, 255, 0, 255 } };
    return "data:image/png;base64," + base64Encoded(UIImagePNGRepresentation(green));
}

} // namespace

TEST(HTMLPainter, DrawsBoxesWhereTheStylesPutThem)
{
    const std::string html = "<div style='position:absolute;left:20px;top:10px;width:30px;height:40px;"
                             "background:#f00;border:5px solid #00f'></div>";
    EXPECT_EQ(at(html, 35, 30), "ff0000ff");
    EXPECT_EQ(at(html, 22, 30), "0000ffff");
    EXPECT_EQ(at(html, 58, 12), "0000ffff");
    EXPECT_EQ(inked(painted(noMargin + html)), CGRectMake(20, 10, 40, 50));
    EXPECT_EQ(paintHTML(html, page, 2).pixelWidth(), 200);
}

TEST(HTMLPainter, DrawsTextAndStyleSheets)
{
    const CGRect small = inked(painted("<p>Buy now"));
    const CGRect large = inked(painted("<style>p { font-size: 30px }</style><p>Buy"));
    EXPECT_GT(small.size.width, 30);
    EXPECT_GT(large.size.height, small.size.height * 1.5);
    EXPECT_EQ(inked(painted("<script>document.write('x')</script><title>x</title><!-- x -->")), CGRectZero);
}

TEST(HTMLPainter, ShowsThePicturesThatStandInThePage)
{
    EXPECT_EQ(at("<img width=40 height=40 src='" + pictureURL() + "'>", 20, 20), "00ff00ff");
    EXPECT_EQ(
        at("<div style=\"height:50px;background:url('" + pictureURL() + "')\"></div>", 70, 30), "00ff00ff");
    EXPECT_EQ(
        at("<style>p{height:50px;background:url(" + pictureURL() + ")}</style><p>", 70, 30), "00ff00ff");
    EXPECT_EQ(at("<img width=40 height=40 src='https://example.com/a.png'>", 20, 20), "ebebebff");
    EXPECT_EQ(at("<img width=40 height=40 src='data:image/png;base64,AAAA'>", 20, 20), "ebebebff");
}

TEST(HTMLPainter, FindsTheLinkUnderAPoint)
{
    const std::string html = noMargin
        + std::string {
              "<a href='https://example.com/?a=1&amp;b=2' target=_top><img width=50 height=50></a><a "
              "name=x>x"
          };
    EXPECT_EQ(linkAtPoint(html, page, { 20, 20 })->address, "https://example.com/?a=1&b=2");
    EXPECT_EQ(linkAtPoint(html, page, { 20, 20 })->target, "_top");
    EXPECT_FALSE(linkAtPoint(html, page, { 80, 20 }));
    EXPECT_FALSE(linkAtPoint(html, page, { 20, 500 }));
    EXPECT_FALSE(linkAtPoint("", page, { 20, 20 }));
    EXPECT_FALSE(linkAtPoint(html, { HUGE_VAL, 100 }, { 20, 20 }));
}

TEST(HTMLPainter, ShowsWhatFitsOfAPageOutOfAllBounds)
{
    const std::string text = "x ";
    const std::vector<std::pair<const char*, std::string>> pages {
        { "deep", repeated("<div>", 100'000) + text },
        { "deep and misnested", repeated("<b><div></b>x", 30'000) },
        { "reconstructed formatting", text + repeated("<p><b id=1><i><div>", 10'000) },
        { "tables in tables", repeated("<table><tr><td>" + text, 5'000) },
        { "floats in floats", "<style>div{float:left}</style>" + repeated("<div>" + text, 90) },
        { "tables by style", "<style>div{display:table}</style>" + repeated("<div>" + text, 90) },
        { "huge spans", "<table>" + repeated("<tr><td colspan=2147483647 rowspan=99999999>x", 100) },
        { "hopeless selector",
            "<style>q " + repeated("div ", 30) + "p{}</style>" + repeated("<div>", 90) + "<p>x" },
        { "counting selectors",
            "<style>" + repeated("p:nth-child(3n+1){}", 1'000) + "</style>" + repeated("<p>x", 2'900) },
        { "nested negations", "<style>" + repeated(":not(", 20'000) + "</style>x" },
        { "long", repeated("word ", 100'000) },
        { "one word", std::string(300'000, 'w') },
        { "comments in styles", "<style>" + repeated("/**/", 30'000) + "</style>x" },
        { "many attributes", "<p " + repeated("a=b ", 30'000) + ">x" },
        { "many boxes", repeated("<p style='background:red;margin-top:-90px;height:99px'>x", 2'900) },
        { "numbers beyond all measure",
            "<p style='width:1e30px;margin:-99999999999px;border:2147483647px "
            "solid;font-size:99999999px'>x" },
    };
    for (const auto& [name, html] : pages) {
        EXPECT_EQ(painted(html).pixelHeight(), 100) << name;
        linkAtPoint(html, page, { 50, 50 });
    }
    EXPECT_FALSE(inked(painted(pages[0].second)).isEmpty());
    EXPECT_FALSE(inked(painted(pages[5].second)).isEmpty()) << pages[5].first;
}

TEST(HTMLPainter, SurvivesAPageCutAnywhere)
{
    const std::string html
        = "<!doctype html><html><head><style>p:before{content:'x'} /* c */ a>b{color:rgb(1,2,3)}</style>"
          "<!-- c --></head><body onload=x><table border=1><tr><td colspan=2>&amp;&#65;<ul><li>x</ul>"
          "<svg><path d='M0'/></svg><img src=\""
        + pictureURL() + "\" style='float:left'></table></html>";
    for (size_t length = 0; length <= html.size(); length++)
        ASSERT_EQ(paintHTML(html.substr(0, length), { 20, 20 }, 1).pixelWidth(), 20) << length;
    EXPECT_TRUE(paintHTML(html, {}, 1).isNull());
}

} // namespace lumora::test
