#include "processing/MediationDetector.h"

#include "interception/Extraction.h"
#include "platform/uikit/UIWindow.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <gtest/gtest.h>
#include <sstream>

namespace lumora {
namespace {

/// Views of these classes in each other, the first one in the window; answers the last.
std::shared_ptr<UIView> nested(const Phone& phone, const std::string& classes)
{
    std::shared_ptr<UIView> outer = retain(static_cast<UIView*>(&phone.content()));
    std::istringstream names(classes);
    for (std::string name; names >> name;) {
        const auto inner = standInView(name, { 10, 10 });
        outer->addSubview(inner);
        outer = inner;
    }
    return outer;
}

constexpr const char* version = "5.13.1";

TEST(MediationDetectorTest, TheNetworksAroundAnAdAreNamedWithItsOwn)
{
    Phone phone { {} };
    installVersion<version>("MoPub", "version", "sharedInstance");
    struct Row {
        const char *views, *processor, *chain, *name;
    };
    for (const Row& row :
        {
            Row { "UIView", "LMSmaatoProcessor", "", "Smaato" },
            Row { "FBAdView", "LMFacebookProcessor", "Facebook ", "Facebook" },
            Row { "FBAdView UIView", "LMFacebookProcessor", "Facebook ", "Facebook" },
            Row { "FBAdView UIView MPAdView", "LMMoPubBannerProcessor", "Facebook MoPub ", "Facebook:MoPub" },
            Row { "MPAdView MPAdView FBAdView", "LMFacebookProcessor", "MoPub MoPub Facebook ",
                "MoPub:Facebook" },
            Row { "MPAdView FBAdView FBAdView MPAdView", "LMMoPubBannerProcessor",
                "MoPub Facebook Facebook MoPub ", "MoPub:Facebook:MoPub" },
            Row { "RFMAdView MPAdView FBAdView", "LMAmazonProcessor", "Rubicon MoPub Facebook ",
                "Facebook:Amazon" },
        }) {
        const auto view = nested(phone, row.views);
        std::string chain;
        const auto found = MediationDetector::checkForMediation(view.get());
        for (Class processor : found.value_or(std::vector<Class> {}))
            chain += send<std::string>(processor, "getSDKName"_sel) + " ";
        EXPECT_EQ(chain, row.chain) << row.views;
        const NSDictionary sdk
            = MediationDetector::getFinalSDKNameAndVersion(view.get(), NSClassFromString(row.processor));
        EXPECT_EQ(sdk["name"].stringOrEmpty(), row.name) << row.views;
        std::string versions;
        std::istringstream names(row.name);
        for (std::string name; std::getline(names, name, ':');)
            versions += (versions.empty() ? "" : ":")
                + (name == "MoPub" ? std::string { version } : versionNotAvailable);
        EXPECT_EQ(sdk["version"].stringOrEmpty(), versions) << row.views;
    }
}

TEST(MediationDetectorTest, TheWalkEndsAtTheWindow)
{
    Phone phone { {} };
    EXPECT_FALSE(MediationDetector::checkForMediation(nullptr));
    EXPECT_FALSE(MediationDetector::checkForMediation(&phone.window()));
    const auto hosts = alloc<UIWindow>(ClassBuilder("HostsWindow", classOf<UIWindow>()).build());
    EXPECT_TRUE(MediationDetector::checkForMediation(hosts.get()))
        << "a window of the host's own is looked at";
}

TEST(MediationDetectorTest, TheInnermostNetworkTellsWhetherAnAdIsMediated)
{
    Phone phone { {} };
    const auto banner = nested(phone, "MPAdView");
    EXPECT_TRUE(MediationDetector::isAdMediated(banner.get(), "Facebook"));
    EXPECT_FALSE(MediationDetector::isAdMediated(banner.get(), "MoPub"));
    EXPECT_FALSE(MediationDetector::isAdMediated(nested(phone, "UIView").get(), "MoPub"));
}

} // namespace
} // namespace lumora
