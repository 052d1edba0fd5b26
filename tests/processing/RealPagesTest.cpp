#include "platform/webkit/WebKitEngine.h"
#include "processing/FakeAdController.h"
#include "tests/processing/AdPage.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

/// Ads whose pages are in the real engine.
class RealPagesTest : public testing::Test {
protected:
    struct Ad : test::AdPage {
        explicit Ad(bool starts = true)
            : AdPage(test::recordWithMarkup, starts, makeWebKitEngine)
        {
        }
        void open(const std::string& html)
        {
            const size_t former = count("finished");
            view->loadHTMLString("<body style='margin:0'>" + html, "https://ads.example.com/a");
            EXPECT_TRUE(waitFor([&] { return count("finished") > former; }));
            settle();
        }
        /// Until the page has answered what the library asks of it, and the service got its answer.
        void settle()
        {
            for (int round = 0; round < 3; round++) {
                bool isThrough = false;
                view->evaluateJavaScript("0", [&](const Value&, const auto&) { isThrough = true; });
                EXPECT_TRUE(waitFor([&] { return isThrough; }));
                world.phone.wait(1);
            }
        }
        /// The page follows its link by itself.
        void click()
        {
            const size_t former = count("asked 0");
            view->evaluateJavaScript("document.querySelector('a').click()", nullptr);
            EXPECT_TRUE(waitFor([&] { return count("asked 0") > former; }));
            settle();
        }
        size_t count(const std::string& word) const
        {
            size_t found = 0;
            for (size_t at = 0; (at = diary->lines.find(word, at)) != std::string::npos; at++)
                found++;
            return found;
        }
    };

    void SetUp() override
    {
        if (!webKitEngineProblem().empty())
            GTEST_SKIP() << webKitEngineProblem();
    }
    static constexpr const char* link
        = "<a href='https://shop.example.com/x' style='display:block;height:50px'>Go</a>";
};

TEST_F(RealPagesTest, AnUntappedLinkIsARedirectAndATappedOneIsNot)
{
    Ad ad;
    ad.open(std::string { link } + "<script>document.body.append('made by a script')</script>");
    ad.diary->policy = WKNavigationPolicyCancel;
    ad.click();
    EXPECT_EQ(ad.events(), "redirect ");
    const NSDictionary event = ad.world.lastReport();
    EXPECT_EQ(event["redirectUrl"], Value { "https://shop.example.com/x" });
    EXPECT_NE(event["html"].stringOrEmpty().find("made by a script"), std::string::npos);
    ad.world.phone.tap(*ad.view);
    EXPECT_TRUE(ad.waitFor([&] { return ad.count("asked 0") == 2; }));
    ad.settle();
    EXPECT_EQ(ad.events(), "redirect ") << "the user's";
}

TEST_F(RealPagesTest, TheNetworkSeesTheSameNavigationsWithAndWithoutUs)
{
    const auto story = [](bool isWatched) {
        Ad ad(isWatched);
        ad.open("one<iframe srcdoc='frame'></iframe>");
        ad.open(std::string { link } + "<script>alert(1)</script>");
        ad.diary->policy = WKNavigationPolicyCancel;
        ad.click();
        ad.diary->policy = WKNavigationPolicyAllow;
        ad.view->reload();
        ad.open("three");
        return ad.diary->lines;
    };
    const std::string seen = story(true);
    EXPECT_NE(seen.find("asked 0 https://shop.example.com/x"), std::string::npos);
    EXPECT_EQ(seen, story(false));
}

TEST_F(RealPagesTest, DialogsAreFoundAndNobodyWaitsForThem)
{
    Ad ad;
    ad.open("<script>window.alert(\"a\"); if (confirm(\"b\")) document.title = 'yes'</script>");
    EXPECT_TRUE(ad.waitFor([&] { return ad.events() == "alert confirm "; })) << ad.events();
    EXPECT_EQ(ad.view->title(), "");
}

TEST_F(RealPagesTest, AdsThatWereThereAreAdopted)
{
    Ad ad(false);
    ad.open(link);
    ad.world.start();
    AdProcessingManager::sharedInstance().handleExistingAds();
    ad.world.phone.wait(1);
    ASSERT_TRUE(ad.processor());
    ad.diary->policy = WKNavigationPolicyCancel;
    ad.click();
    EXPECT_EQ(ad.events(), "redirect ");
}

TEST_F(RealPagesTest, ADelegateMayDieBetweenAnyTwoMessages)
{
    for (const char* last : { "", "asked", "started", "answered", "committed", "finished" }) {
        Ad ad;
        ad.view->loadHTMLString(link, "https://ads.example.com/");
        EXPECT_TRUE(ad.waitFor([&] { return ad.diary->lines.find(last) != std::string::npos; })) << last;
        ad.diary.reset();
        EXPECT_TRUE(ad.waitFor([&] { return !ad.view->isLoading(); })) << last;
        ad.settle();
    }
}

} // namespace
} // namespace lumora
