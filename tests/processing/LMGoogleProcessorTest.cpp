#include "processing/LMGoogleProcessor.h"

#include "lumora/LMLog.h"
#include "platform/uikit/UIView.h"
#include "processing/LMGoogleCreativeIdHelper.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <gtest/gtest.h>
#include <sstream>

namespace lumora {
namespace {

/// A Google ad in its container, whose delegate knows it.
class GoogleProcessorTest : public testing::Test {
protected:
    GoogleProcessorTest() { container->addSubview(ad); }

    static void plant(const std::shared_ptr<Object>& root, const std::string& path, const Value& value)
    {
        std::shared_ptr<Object> owner = root;
        std::istringstream names(path);
        std::string name;
        while (std::getline(names, name, '.')) {
            const bool isLast = names.eof();
            if (isLast || object_getInstanceVariable(*owner, name).isNothing())
                object_setInstanceVariable(*owner, name, isLast ? value : Value { standInObject("Private") });
            owner = object_getInstanceVariable(*owner, name).object();
        }
    }
    static std::shared_ptr<LMGoogleProcessor> processorOf(
        const char* className, const std::shared_ptr<Object>& adObject)
    {
        auto processor = as<LMGoogleProcessor>(class_createInstance(NSClassFromString(className)));
        send(processor, sel::initWithAdObject, adObject);
        return processor;
    }
    std::string creativeOf(const char* className) const
    {
        return processorOf(className, ad)->getCreativeID();
    }
    /// What was logged since, without the library's name and the processor's own.
    std::vector<std::string> said(const std::string& tag)
    {
        std::vector<std::string> messages;
        const std::vector<std::string> lines = phone.console().lines();
        for (; m_read < lines.size(); m_read++) {
            std::string line = lines[m_read].substr(std::string("[Lumora] ").size());
            messages.push_back(line.starts_with(tag) ? line.substr(tag.size()) : line);
        }
        return messages;
    }

    Phone phone { {} };
    const std::shared_ptr<UIView> container { standInView("GADContainer", { 320, 50 }) };
    const std::shared_ptr<UIView> ad { standInView("GADWebAdView", { 320, 50 }) };

private:
    size_t m_read { 0 };
};

TEST_F(GoogleProcessorTest, TheHeadersOfTheAnswerNameTheCreative)
{
    struct Row {
        const char* why;
        NSDictionary headers;
        const char *adMob, *others;
    };
    const std::string needle = "AdGroup%2BCreative%2BID%2B0%3D";
    for (const Row& row : {
             Row { "between AdMob's marks", { { "a", "x" + needle + "12345%26y%26" } }, "12345", "" },
             Row { "between the others'", { { "a", "x crid0:678,agcid=1" } }, "", "678" },
             Row { "nothing between", { { "a", needle + "%26" }, { "b", "crid0:,agcid" } }, "", "" },
             Row { "no end: no later header is asked",
                 { { "a", needle + "12345 crid0:12345" }, { "b", "creatives%3Dcrid0%3A654" } }, "", "" },
             Row { "plain, in any letter case", { { "a", "CREATIVES=CRID0:987&" } }, "987", "987" },
             Row {
                 "encoded", { { "a", 5 }, { "b", "no" }, { "c", "creatives%3Dcrid0%3A654" } }, "654", "654" },
             Row { "none", {}, "", "" },
         }) {
        plant(container, "_delegate._ad._responseHeaders", row.headers);
        plant(container, "_ad._responseHeaders", row.headers);
        EXPECT_EQ(creativeOf("LMGADViewProcessor"), row.adMob) << row.why;
        for (const char* other : { "LMDFPBannerProcessor", "LMGADInterstitialProcessor",
                 "LMAdmobNewBannerProcessor", "LMGoogleNewInterstitialProcessor", "LMAdMobNativeProcessor" })
            EXPECT_EQ(creativeOf(other), row.others) << row.why << other;
    }
}

TEST_F(GoogleProcessorTest, EveryStepIsLogged)
{
    LMLog::setLogLevel(10);
    const std::vector<std::string> lastResort { "no first debug string, trying next",
        "no second debug string, trying next", "no query string, trying next",
        "no request identifier string, trying next" };
    const auto expectSaid
        = [&](const std::string& tag, std::vector<std::string> messages, bool isAll = true) {
              if (isAll)
                  messages.insert(messages.end(), lastResort.begin(), lastResort.end());
              EXPECT_EQ(said(tag + "[getCreativeID] "), messages) << tag;
          };
    creativeOf("LMDFPBannerProcessor");
    expectSaid("[LMDFPBannerProcessor]", { "(response error) DFP no headers" });
    plant(container, "_delegate._ad._responseHeaders", NSDictionary { { "a", "no" } });
    creativeOf("LMGADViewProcessor");
    expectSaid("[LMGADViewProcessor]",
        { "trying to find crid in header no",
            "(prefix error) Admob no prefix in current header, trying regex",
            "(new pregex error) Admob changed response body, creative id is unknown" });
    plant(container, "_delegate._ad._responseHeaders", NSDictionary { { "a", "crid0:1" } });
    creativeOf("LMGADInterstitialProcessor");
    expectSaid("[LMGadInterstitialProcessor]",
        { "trying to find crid in header crid0:1",
            "(suffix error) Admob no suffix in current header, trying regex" },
        false);
    plant(container, "_delegate._clickProtection._debugDialogString", "nothing");
    creativeOf("LM35DFPBannerProcessor");
    expectSaid("[LM35DFPBannerProcessor]", { "regex can't find crid" });
    EXPECT_EQ(processorOf("LMAdMobNativeProcessor", nullptr)->getCreativeID(), "");
    expectSaid("[LMGoogleNewInterstitialProcessor]", { "no adObject!!!" });

    const auto blocked = processorOf("LMGADViewProcessor", ad);
    blocked->setLumoraCrId("blocked");
    EXPECT_EQ(blocked->getCreativeID(), "blocked");
    EXPECT_TRUE(said("").empty()) << "without a look at the ad";
}

TEST_F(GoogleProcessorTest, OlderReleasesTellItInATextForDebugging)
{
    for (const auto& [text, creative] :
        std::initializer_list<std::pair<const char*, const char*>> { { "CRID:12 creatives: 34", "12" },
            { "Creatives: [34]", "34" }, { "Creatives -----34", "" }, { "crid:x", "" } }) {
        plant(container, "_delegate._clickProtection._debugDialogString", text);
        for (const char* name : { "LM35DFPBannerProcessor", "LM35AdmobBannerProcessor",
                 "LM35DFPInterstitialProcessor", "LM35AdmobInterstitialProcessor" })
            EXPECT_EQ(creativeOf(name), creative) << text;
    }
}

TEST_F(GoogleProcessorTest, TheLastResortIsWhatTheSDKDebugsWith)
{
    const auto found = [&](const char* path, const Value& value) {
        plant(container, path, value);
        return LMGoogleCreativeIdHelper::getCreativeIdWithAdObject(ad.get());
    };
    EXPECT_EQ(found("_delegate._other", 1), std::nullopt);
    EXPECT_EQ(found("_delegate._ad._requestIdentifier", standInObject("Private")), std::nullopt);
    EXPECT_EQ(found("_delegate._ad._requestIdentifier", NSUUIDValue { "0C4B-7F1A" }),
        "RequestIdentifier:0C4B-7F1A");
    EXPECT_EQ(found("_delegate._ad._GWSQueryID", "q1"), "QueryID:q1");
    EXPECT_EQ(found("_delegate._adDebugDialogString", "creative+id+0=7"), "7");
    EXPECT_EQ(found("_delegate._ad._debugDialogString", "Creative+ID+0=x"), "7");
    EXPECT_EQ(found("_delegate._ad._debugDialogString", "Creative+ID+0=11 Creative+ID+0=22"), "22");
    for (const Value& headers : { Value {}, Value { "no headers" }, Value { NSDictionary {} },
             Value { NSDictionary { { "a", "no creative" } } } }) {
        plant(container, "_delegate._ad._responseHeaders", headers);
        EXPECT_EQ(creativeOf("LMGADViewProcessor"), "22");
    }
}

TEST_F(GoogleProcessorTest, TheSupportViewIsWhereTheReportLooks)
{
    const auto banner = standInView("GADBannerView", { 320, 50 });
    plant(banner, "_bannerView._bannerAd._adView._view._view._viewToSwap", container);
    plant(container, "_ad._responseHeaders", NSDictionary { { "a", "crid0:1,agcid" } });
    const auto interstitial = standInObject("GADInterstitial");
    plant(interstitial, "_ad._responseHeaders", NSDictionary { { "a", "crid0:2,agcid" } });
    EXPECT_EQ(processorOf("LMAdmobNewBannerProcessor", banner)->getCreativeID(), "1");
    EXPECT_EQ(processorOf("LMGoogleNewInterstitialProcessor", interstitial)->getCreativeID(), "2");
    EXPECT_EQ(processorOf("LMAdMobNativeProcessor", ad)->getCreativeID(), "1");
}

} // namespace
} // namespace lumora
