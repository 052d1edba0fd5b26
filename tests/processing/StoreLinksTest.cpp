#include "processing/StoreLinks.h"

#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(StoreLinksTest, OnlyTheSearchThatBeganLastCounts)
{
    StoreLinks links;
    const auto first = links.begin();
    const auto second = links.begin();
    links.end(second, { "itmss:2" });
    links.end(first, { "itmss:1" });
    EXPECT_EQ(links.links(), std::vector<std::string> { "itmss:2" });
    links.begin();
    EXPECT_EQ(links.links(), std::nullopt);
}

TEST(StoreLinksTest, ASearchMayOutliveItsAd)
{
    Phone phone { {} };
    auto links = std::make_shared<StoreLinks>();
    StoreLinks::find(links, links->begin(), "<a href='itmss:id7'>");
    links.reset();
    phone.wait(1);
}

TEST(StoreLinksTest, StoreLinksAndHostsAreKeptInOrder)
{
    NSRegularExpression::Match bare;
    bare.URL = "itmss:id7";
    NSRegularExpression::Match web;
    web.URL = "https://shop.example.com/x";
    EXPECT_EQ(getURLFrom({ web, bare }), std::vector<std::string> { "itmss:id7" });
    EXPECT_EQ(getAllURLsFrom({ web, bare }), std::vector<std::string> { "shop.example.com" });
}

} // namespace
} // namespace lumora
