#include "interception/Swizzling.h"
#include "platform/storekit/SKStoreProductViewController.h"
#include "platform/uikit/UIAlertView.h"
#include "platform/uikit/UIApplication.h"
#include "processing/UIAlertViewSwizzling.h"
#include "processing/openURLSwizzler.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora::test {
namespace {

struct HookedPhone : Phone {
    HookedPhone()
        : Phone(Options {})
    {
        for (const char* name : { "UIAlertView", "openURLSwizzler" })
            send(NSClassFromString(name), sel::swizzleMethods);
    }
};

TEST(OpeningHooks, AddressesOpenAsBefore)
{
    HookedPhone phone;
    auto& application = UIApplication::sharedApplication();
    std::vector<std::string> opened;
    application.setURLOpener([&](const NSURLValue& url) {
        opened.push_back(url.absoluteString);
        return opened.size() == 1;
    });
    EXPECT_TRUE(send(&application, sel::openURL, Value { NSURLValue { "a://1" } }));
    std::optional<bool> answer;
    send(&application, sel::openURLWithOptions, Value { NSURLValue { "a://2" } }, NSDictionary {},
        std::function<void(bool)> { [&](bool success) { answer = success; } });
    phone.wait(0);
    EXPECT_EQ(answer, false);
    EXPECT_EQ(opened, (std::vector<std::string> { "a://1", "a://2" }));
}

TEST(OpeningHooks, PassOnWhatTheyWereGiven)
{
    static NSArray heard;
    heard.clear();
    Phone phone { {} };
    const auto open = +[](id, SEL, const Value& url, const NSDictionary& options,
                           const std::function<void(bool)>& completion) {
        heard = { url, options };
        completion(true);
    };
    Class application = classOf<UIApplication>();
    class_replaceMethod(application, sel::openURLWithOptions, open, IMP { open }.types);
    openURLSwizzler::swizzleMethods();
    EXPECT_FALSE(
        method_getImplementation(class_getInstanceMethod(application, sel::openURLWithOptions)) == open);
    const NSDictionary options { { "universalLinksOnly", true } };
    bool isOpened = false;
    send(&UIApplication::sharedApplication(), sel::openURLWithOptions, Value { NSURLValue { "a://1" } },
        options, std::function<void(bool)> { [&](bool success) { isOpened = success; } });
    EXPECT_EQ(heard, (NSArray { NSURLValue { "a://1" }, options }));
    EXPECT_TRUE(isOpened);
}

TEST(OpeningHooks, KeepTheProductOfTheLastStoreSheet)
{
    HookedPhone phone;
    const auto sheet = make<SKStoreProductViewController>();
    send(sheet, sel::viewWillAppear, true);
    EXPECT_FALSE(openURLSwizzler::lastAppStoreAddress());
    std::string answers;
    const SKStoreProductCompletion completion { [&](bool loaded, id error) {
        answers += loaded && !error ? '+' : '-';
    } };
    for (const Value& product : { Value { 310'633'997 }, Value {}, Value { "42" }, Value { NSNull {} } })
        send(sheet, sel::loadProductWithParameters,
            product.isNothing() ? NSDictionary {} : NSDictionary { { "id", product } }, completion);
    phone.wait(0);
    EXPECT_EQ(answers, "+-++");
    send(sheet, sel::viewWillAppear, true);
    EXPECT_TRUE(openURLSwizzler::lastAppStoreAddress()->ends_with("/app/id42"));
    phone.kill();
    phone.boot();
    EXPECT_FALSE(openURLSwizzler::lastAppStoreId()) << "another process";
}

TEST(OpeningHooks, AlertsShowUnlessBothTheirEntriesAreListed)
{
    struct Row {
        const char* name;
        bool listsAlert;
        bool listsTexts;
        bool isShown;
    };
    const Row rows[] { { "nothing listed", false, false, true }, { "only the alert", true, false, true },
        { "only its texts", false, true, true }, { "both", true, true, false } };
    for (const Row& row : rows) {
        HookedPhone phone;
        const auto alert = UIAlertView::alertWithTitle("Hello", std::nullopt);
        if (row.listsAlert)
            alertsToShow().emplace_back(alert);
        if (row.listsTexts)
            alertsToShow().emplace_back(NSDictionary { { "Hello", "" } });
        send(alert, sel::show);
        EXPECT_EQ(alert->isVisible(), row.isShown) << row.name;
        EXPECT_EQ(alertsToShow().size(), row.listsTexts ? 1U : 0U) << row.name;
        phone.tapAt({ alert->center().x, alert->frame().maxY() - 10 });
        EXPECT_FALSE(alert->isVisible()) << row.name;
    }
}

} // namespace
} // namespace lumora::test
