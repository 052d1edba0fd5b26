#include "platform/uikit/UIGestureRecognizer.h"

#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UISwipeGestureRecognizer.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

using Lines = std::vector<std::string>;

/// A delegate that says yes to one question.
static std::shared_ptr<Object> consenting(const char* name, SEL question)
{
    return class_createInstance(ClassBuilder(name, classOf<NSObject>())
                                    .method(question, IMP { +[](id, SEL, id, id) { return true; } })
                                    .build());
}

/// A delegate for whose recognizers every other one must wait.
static std::shared_ptr<Object> firstInLine(const char* name = "FirstInLine")
{
    return consenting(name, sel::gestureRecognizerShouldBeRequiredToFailBy);
}

/// A delegate that lets every other recognizer be.
static std::shared_ptr<Object> tolerant()
{
    return consenting("Tolerant", sel::gestureRecognizerShouldRecognizeSimultaneouslyWith);
}

TEST(UITapGestureRecognizer, SingleTapWaitsForTheDoubleTapToFail)
{
    Phone phone;
    auto view = phone.add(CGRectMake(0, 0, 300, 100));
    auto twice = phone.addTap(*view, 2);
    phone.addTap(*view, 1)->requireGestureRecognizerToFail(twice);
    phone.tap({ 50, 50 });
    phone.advance(0.349);
    EXPECT_EQ(phone.diaryLines(), Lines {});
    phone.advance(0.001);
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    phone.tap({ 50, 50 });
    phone.advance(0.3);
    phone.tap({ 55, 50 });
    EXPECT_EQ(phone.diaryLines(), Lines { "2 taps" });
    phone.advance(5);
    EXPECT_EQ(phone.diaryLines(), Lines {});
    phone.tap({ 50, 50 });
    phone.advance(0.1);
    phone.tap({ 150, 50 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" }) << "too far away to be the second";
}

TEST(UITapGestureRecognizer, RefusesWhatIsNoTap)
{
    struct Row {
        const char* name;
        std::vector<std::pair<UITouchPhase, CGPoint>> touches;
        Lines expected {};
    };
    using P = UITouchPhase;
    constexpr CGPoint middle { 50, 50 };
    for (const Row& row : {
             Row { "a tap", { { P::Began, middle }, { P::Ended, { 56, 58 } } }, { "1 taps" } },
             Row { "moved away", { { P::Began, middle }, { P::Moved, { 80, 50 } }, { P::Ended, middle } } },
             Row { "ended elsewhere", { { P::Began, middle }, { P::Ended, { 90, 50 } } } },
             Row { "cancelled", { { P::Began, middle }, { P::Cancelled, middle } } },
             Row { "beside the view", { { P::Began, { 150, 50 } }, { P::Ended, { 150, 50 } } } },
             Row { "never came down", { { P::Moved, middle }, { P::Ended, middle } } },
         }) {
        SCOPED_TRACE(row.name);
        Phone phone;
        auto view = phone.add(CGRectMake(0, 0, 100, 100));
        phone.addTap(*view, 1);
        for (const auto& [phase, point] : row.touches)
            phone.window->sendTouch(phase, point);
        EXPECT_EQ(phone.diaryLines(), row.expected);
        // Whatever it was, the next tap is one again.
        phone.advance(1);
        phone.tap(middle);
        EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    }
}

TEST(UITapGestureRecognizer, CountsFingers)
{
    Phone phone;
    auto view = phone.add<TouchedView>(CGRectMake(0, 0, 100, 100));
    auto one = phone.addTap(*view, 1, "tapped");
    auto two = phone.addTap(*view, 1);
    two->setNumberOfTouchesRequired(2);
    phone.window->sendTouch(UITouchPhase::Began, { 20, 20 }, 0);
    phone.window->sendTouch(UITouchPhase::Began, { 80, 20 }, 1);
    EXPECT_EQ(phone.window->touchesDown(), 2U);
    phone.window->sendTouch(UITouchPhase::Ended, { 80, 20 }, 1);
    EXPECT_EQ(phone.diaryLines(), Lines {});
    phone.window->sendTouch(UITouchPhase::Ended, { 20, 20 }, 0);
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    phone.tap({ 20, 20 });
    EXPECT_EQ(phone.diaryLines(), Lines { "tapped" });
}

TEST(UIButton, SendsItsActionsWithoutATap)
{
    Phone phone;
    const auto button = phone.add<UIButton>(CGRectMake(0, 0, 100, 40));
    button->addTarget(phone.diary, "tappedBy:"_sel);
    phone.addTap(*button, 1);
    send(button, sel::sendActionsForControlEvents, UIControlEventTouchUpInside >> 1);
    EXPECT_EQ(phone.diaryLines(), Lines {});
    send(button, sel::sendActionsForControlEvents, UIControlEventTouchUpInside);
    EXPECT_EQ(phone.diaryLines(), Lines { "tapped on a UIButton" });
}

/// An ad with a report button in its corner, and a listener that wants to see every tap on the ad.
struct AdWithButton : Phone {
    AdWithButton()
    {
        once->requireGestureRecognizerToFail(twice);
        for (const auto& recognizer : { once, twice }) {
            recognizer->setDelegate(buttonDelegate);
            recognizer->setDelaysTouchesBegan(true);
        }
        adTap->addTarget(adDiary, "tappedBy:"_sel);
        ad->addGestureRecognizer(adTap);
        listener->addTarget(adDiary, "tapped"_sel);
        listener->setDelegate(letsOthersBe);
        ad->addGestureRecognizer(listener);
    }
    Lines adLines() { return std::exchange(adDiary->lines, {}); }

    std::shared_ptr<TouchedView> ad { add<TouchedView>(CGRectMake(0, 0, 300, 250)) };
    std::shared_ptr<UIView> button { add(CGRectMake(260, 0, 40, 40), ad.get()) };
    std::shared_ptr<Object> buttonDelegate { firstInLine() };
    std::shared_ptr<Object> letsOthersBe { tolerant() };
    std::shared_ptr<UITapGestureRecognizer> twice { addTap(*button, 2) };
    std::shared_ptr<UITapGestureRecognizer> once { addTap(*button, 1) };
    std::shared_ptr<UITapGestureRecognizer> adTap { make<UITapGestureRecognizer>() };
    std::shared_ptr<UITapGestureRecognizer> listener { make<UITapGestureRecognizer>() };
    std::shared_ptr<Diary> adDiary { make<Diary>() };
};

TEST(GestureArena, ATapIsTheButtonsOrTheAds)
{
    AdWithButton phone;
    phone.tap({ 280, 20 });
    phone.tap({ 280, 20 });
    phone.advance(1);
    EXPECT_EQ(phone.diaryLines(), Lines { "2 taps" });
    EXPECT_EQ(phone.adLines(), Lines {});
    EXPECT_EQ(phone.ad->touches, "");
    phone.tap({ 100, 100 });
    EXPECT_EQ(phone.adLines(), (Lines { "1 taps", "tapped" }));
    EXPECT_EQ(phone.ad->touches, "began cancelled ");
    EXPECT_EQ(phone.diaryLines(), Lines {});
}

TEST(GestureArena, WhatTheButtonLetsGoReachesTheAd)
{
    AdWithButton phone;
    phone.window->sendTouch(UITouchPhase::Began, { 280, 20 });
    EXPECT_EQ(phone.ad->touches, "");
    phone.window->sendTouch(UITouchPhase::Moved, { 200, 100 });
    phone.window->sendTouch(UITouchPhase::Ended, { 200, 100 });
    EXPECT_EQ(phone.ad->touches, "began moved ended ");
    EXPECT_EQ(phone.adLines(), Lines {});
}

TEST(GestureArena, ADisabledRecognizerIsNotThere)
{
    AdWithButton phone;
    phone.twice->setEnabled(false);
    phone.tap({ 280, 20 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    phone.once->setEnabled(false);
    phone.tap({ 280, 20 });
    EXPECT_EQ(phone.adLines(), (Lines { "1 taps", "tapped" }));
    // Disabled while others wait for it, it lets them go.
    phone.once->setEnabled(true);
    phone.twice->setEnabled(true);
    phone.tap({ 280, 20 });
    phone.twice->setEnabled(false);
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
}

TEST(GestureArena, AButtonThatGoesWhileItWaitsGivesUp)
{
    AdWithButton phone;
    phone.tap({ 280, 20 });
    phone.button->removeFromSuperview();
    phone.advance(1);
    EXPECT_EQ(phone.diaryLines(), Lines {});
    EXPECT_EQ(phone.adLines(), (Lines { "1 taps", "tapped" }));
}

TEST(GestureArena, TwoThatWaitForEachOtherDoNotWaitForEver)
{
    AdWithButton phone;
    auto stubborn = firstInLine("Stubborn");
    phone.adTap->setDelegate(stubborn);
    phone.twice->setEnabled(false);
    phone.tap({ 280, 20 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    EXPECT_EQ(phone.adLines(), Lines {});
}

TEST(GestureArena, OneOfTwoWinsUnlessADelegateLetsBothOrMoreTapsAreWanted)
{
    Phone phone;
    auto view = phone.add<TouchedView>(CGRectMake(0, 0, 100, 100));
    auto first = phone.addTap(*view, 1);
    auto second = phone.addTap(*view, 1);
    phone.tap({ 50, 50 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    auto delegate = tolerant();
    second->setDelegate(delegate);
    phone.advance(1);
    phone.tap({ 50, 50 });
    EXPECT_EQ(phone.diaryLines(), (Lines { "1 taps", "1 taps" }));
    view->removeGestureRecognizer(second.get());
    phone.addTap(*view, 2);
    first->setCancelsTouchesInView(false);
    view->touches.clear();
    phone.advance(1);
    phone.tap({ 50, 50 });
    EXPECT_EQ(view->touches, "began ");
    phone.tap({ 50, 50 });
    EXPECT_EQ(phone.diaryLines(), (Lines { "1 taps", "2 taps" }));
}

TEST(UIGestureRecognizer, SendsToLivingTargetsOnly)
{
    Phone phone;
    auto view = phone.add(CGRectMake(0, 0, 100, 100));
    auto tap = phone.addTap(*view, 1, "tapped");
    tap->addTarget(make<Diary>(), "tappedBy:"_sel);
    tap->addTarget(phone.diary, "noSuchAction:"_sel);
    auto thrower = class_createInstance(ClassBuilder("Thrower", classOf<NSObject>())
                                            .method("throw"_sel, IMP { +[](id, SEL) { throw 1; } })
                                            .build());
    tap->addTarget(thrower, "throw"_sel);
    tap->addTarget(phone.diary, "tappedBy:"_sel);
    phone.tap({ 50, 50 });
    EXPECT_EQ(phone.diaryLines(), (Lines { "tapped", "1 taps" }));
    EXPECT_EQ(phone.console().size(), 2U);
}

TEST(UIGestureRecognizer, ATargetMayTakeTheViewAway)
{
    Phone phone;
    auto view = phone.add<TouchedView>(CGRectMake(0, 0, 100, 100));
    phone.addTap(*view, 1)->addTarget(view, "removeFromSuperview"_sel);
    view.reset();
    phone.tap({ 50, 50 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
    EXPECT_TRUE(phone.window->subviews().empty());
}

TEST(GestureArena, WorksOnAfterAViewHasThrown)
{
    Phone phone;
    const Class cls
        = ClassBuilder("ThrowingView", classOf<UIView>())
              .method(sel::touchesBegan,
                  IMP { +[](id, SEL, const Value&, id) { throw NSException(NSGenericException, "no"); } })
              .build();
    auto view = alloc<UIView>(cls);
    view->setFrame(CGRectMake(0, 0, 100, 100));
    phone.window->addSubview(view);
    phone.addTap(*view, 1);
    EXPECT_THROW(phone.window->sendTouch(UITouchPhase::Began, { 50, 50 }), NSException);
    phone.window->sendTouch(UITouchPhase::Ended, { 50, 50 });
    EXPECT_EQ(phone.diaryLines(), Lines { "1 taps" });
}

TEST(UISwipeGestureRecognizer, WantsOneDirectionQuickly)
{
    Phone phone;
    auto view = phone.add(CGRectMake(0, 0, 300, 300));
    auto swipe = make<UISwipeGestureRecognizer>();
    swipe->addTarget(phone.diary, "tapped"_sel);
    view->addGestureRecognizer(swipe);
    auto drag = [&](CGPoint to, double seconds) {
        phone.window->sendTouch(UITouchPhase::Began, { 150, 150 });
        phone.advance(seconds);
        phone.window->sendTouch(UITouchPhase::Moved, to);
        phone.window->sendTouch(UITouchPhase::Ended, to);
        return phone.diaryLines().size();
    };
    EXPECT_EQ(drag({ 210, 160 }, 0.1), 1U);
    EXPECT_EQ(drag({ 90, 150 }, 0.1), 0U);
    EXPECT_EQ(drag({ 210, 190 }, 0.1), 0U);
    EXPECT_EQ(drag({ 210, 150 }, 0.6), 0U);
    swipe->setDirection(UISwipeGestureRecognizerDirectionUp | UISwipeGestureRecognizerDirectionLeft);
    EXPECT_EQ(drag({ 150, 90 }, 0.1), 1U);
}

TEST(UIApplication, AFingerStaysWithItsWindow)
{
    Phone phone;
    auto alert = make<UIWindow>();
    alert->setFrame(CGRectMake(100, 100, 100, 100));
    alert->makeKeyAndVisible();
    auto under = phone.add<TouchedView>(CGRectMake(0, 0, 375, 812));
    auto over = phone.add<TouchedView>(CGRectMake(0, 0, 100, 100), alert.get());
    UIApplication& application = UIApplication::sharedApplication();
    application.sendTouch(UITouchPhase::Began, { 110, 110 });
    application.sendTouch(UITouchPhase::Ended, { 10, 10 });
    EXPECT_EQ(over->touches, "began ended ");
    alert->setHidden(true);
    application.sendTouch(UITouchPhase::Began, { 110, 110 });
    EXPECT_EQ(under->touches, "began ");
    EXPECT_TRUE(alert->isKeyWindow());
    over.reset();
    alert.reset();
    EXPECT_EQ(application.windows(), std::vector { phone.window });
    EXPECT_EQ(application.keyWindow(), nullptr);
}

} // namespace lumora::test
