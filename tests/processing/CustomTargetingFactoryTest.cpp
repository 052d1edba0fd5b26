#include "processing/CustomTargetingFactory.h"

#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

constexpr const char* version = "5.13.1";

NSDictionary targetingOfAmazon(const char* bid)
{
    return { { "amzn_b", bid }, { "amzn_h", "1" }, { "amznp", "1" }, { "amznrdr", "1" }, { "amznslots", "1" },
        { "dc", "1" } };
}

TEST(CustomTargetingFactoryTest, AmazonLeavesAllOfItsKeys)
{
    Phone phone { {} };
    const auto asked = [](const NSDictionary& targeting) {
        const auto request = standInObject("Request", { { "_customTargeting", targeting } });
        return CustomTargetingFactory::getCustomTargetDictionaryWithObject(
            standInObject("Ad", { { "_lastRequest", request } }).get());
    };
    const NSDictionary complete = targetingOfAmazon("1");
    EXPECT_EQ(asked(complete), (Value { NSDictionary { { "DTB(Amazon)", "" } } })) << "no SDK to ask";
    installVersion<version>("DTBAds", "version");
    EXPECT_EQ(asked(complete), (Value { NSDictionary { { "DTB(Amazon)", version } } }));
    for (const auto& [missing, value] : complete) {
        NSDictionary others;
        for (const auto& [key, kept] : complete) {
            if (key != missing)
                others.set(key, kept);
        }
        EXPECT_TRUE(asked(others).isNothing()) << missing;
    }
    EXPECT_TRUE(CustomTargetingFactory::getCustomTargetDictionaryWithObject(nullptr).isNothing());
}

TEST(CustomTargetingFactoryTest, TheFirstPlaceThatHasTargetingDecides)
{
    Phone phone { {} };
    const auto requestWith = [](const Value& targeting) {
        return standInObject("Request", { { "_customTargeting", targeting } });
    };
    const auto ad = standInObject("Ad",
        { { "_slot", standInObject("Slot", { { "_loadingRequest", requestWith(targetingOfAmazon("1")) } }) },
            { "_lastRequest", requestWith("no dictionary") },
            { "_refreshTargeting", requestWith(targetingOfAmazon("3")) } });
    const auto isAmazons
        = [&] { return !CustomTargetingFactory::checkObjectForAmazon(ad.get()).isNothing(); };
    EXPECT_TRUE(isAmazons());
    object_setInstanceVariable(*ad, "_slot", standInObject("Renamed", {}));
    EXPECT_FALSE(isAmazons()) << "what raises is passed over, what is no dictionary is not";
    object_setInstanceVariable(*ad, "_lastRequest", requestWith({}));
    EXPECT_TRUE(isAmazons());
}

} // namespace
} // namespace lumora
