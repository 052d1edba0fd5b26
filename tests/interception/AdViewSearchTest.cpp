#include "interception/AdViewSearch.h"

#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(AdViewSearchTest, OfThePagesThatAnAdOwnsTheOneThatPassesIsTheAd)
{
    Phone phone { {} };
    const auto endCard = standInView("WKWebView", { 320, 50 });
    const auto page = alloc<WKWebView>(standInClass("SOMAWKWebView", classOf<WKWebView>()));
    const auto ad = standInObject("SOMAInterstitialAdView", { { "_endCard", endCard }, { "_page", page } });
    const AdViewSearch search;
    EXPECT_EQ(search.find(ad), endCard) << "the nearest";
    EXPECT_EQ(search.find(ad, [&](UIView& view) { return &view == page.get(); }), page);
}

} // namespace
} // namespace lumora
