#include "platform/uikit/UIViewController.h"

#include "platform/foundation/NSNotificationCenter.h"
#include "platform/uikit/UIApplication.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

using Lines = std::vector<std::string>;

/// A controller that writes down what happens to its view.
class DiaryController final : public UIViewController {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<DiaryController, UIViewController>("DiaryController")
                  .method<&DiaryController::viewDidLoad>(sel::viewDidLoad)
                  .method<&DiaryController::viewWillAppear>(sel::viewWillAppear)
                  .method<&DiaryController::viewDidAppear>(sel::viewDidAppear)
                  .method<&DiaryController::viewWillDisappear>(sel::viewWillDisappear)
                  .method<&DiaryController::viewDidDisappear>(sel::viewDidDisappear)
                  .method<&DiaryController::viewDidLayoutSubviews>(sel::viewDidLayoutSubviews);
        return description;
    }
    void viewDidLoad() { calls += "load "; }
    void viewWillAppear(bool) { calls += "will "; }
    void viewDidAppear(bool) { calls += "did "; }
    void viewWillDisappear(bool) { calls += "-will "; }
    void viewDidDisappear(bool) { calls += "-did "; }
    void viewDidLayoutSubviews() { calls += "layout "; }
    std::string take() { return std::exchange(calls, {}); }

    std::string calls;
};

struct PhoneWithRoot : Phone {
    PhoneWithRoot()
    {
        window->setRootViewController(root);
        advance(0);
        root->take();
        sheet->setModalPresentationStyle(UIModalPresentationStyle::OverCurrentContext);
        sheet->setModalTransitionStyle(UIModalTransitionStyle::CrossDissolve);
    }
    std::function<void()> note(const char* line)
    {
        return [this, line] { lines.emplace_back(line); };
    }

    std::shared_ptr<DiaryController> root { make<DiaryController>() };
    std::shared_ptr<DiaryController> sheet { make<DiaryController>() };
    Lines lines;
};

TEST(UIViewController, LoadsItsViewOnceAndAppearsWithItsWindow)
{
    Phone phone;
    auto controller = make<DiaryController>();
    EXPECT_FALSE(controller->isViewLoaded());
    phone.window->setRootViewController(controller);
    phone.advance(0);
    EXPECT_EQ(controller->take(), "load will layout did ");
    EXPECT_EQ(controller->view()->frame(), phone.window->bounds());
    EXPECT_EQ(controller->view()->nextResponder(), controller.get());
    EXPECT_EQ(controller->nextResponder(), phone.window.get());
    phone.window->setRootViewController(nullptr);
    EXPECT_EQ(controller->take(), "-will -did ");
}

TEST(UIViewController, PresentsAndDismissesInTheTimeOfTheTransition)
{
    PhoneWithRoot phone;
    phone.root->presentViewController(phone.sheet, true, phone.note("presented"));
    EXPECT_EQ(phone.sheet->take(), "load will layout ");
    EXPECT_EQ(phone.root->presentedViewController(), phone.sheet.get());
    EXPECT_EQ(phone.sheet->presentingViewController(), phone.root.get());
    EXPECT_EQ(phone.sheet->view()->layer().presentationOpacity(), 0);
    phone.advance(0.299);
    EXPECT_EQ(phone.lines, Lines {});
    phone.advance(0.001);
    EXPECT_EQ(phone.lines, Lines { "presented" });
    EXPECT_EQ(phone.sheet->take(), "did ");
    EXPECT_EQ(phone.root->take(), "");
    phone.sheet->dismissViewController(true, phone.note("dismissed"));
    phone.sheet->dismissViewController(true, phone.note("twice"));
    phone.advance(0.299);
    EXPECT_EQ(phone.root->presentedViewController(), phone.sheet.get());
    phone.advance(0.001);
    EXPECT_EQ(phone.lines, (Lines { "presented", "dismissed" }));
    EXPECT_EQ(phone.sheet->take(), "-will -did ");
    EXPECT_EQ(phone.root->presentedViewController(), nullptr);
    EXPECT_EQ(phone.sheet->view()->window(), nullptr);
    EXPECT_EQ(phone.sheet->view()->alpha(), 1);
}

TEST(UIViewController, FullScreenTakesWhatItCoversOutOfTheWindow)
{
    PhoneWithRoot phone;
    auto page = make<DiaryController>();
    phone.root->presentViewController(page, true);
    EXPECT_EQ(page->view()->layer().presentationFrame().minY(), 812);
    EXPECT_EQ(phone.root->view()->window(), phone.window.get());
    phone.advance(0.3);
    EXPECT_EQ(phone.root->view()->window(), nullptr);
    EXPECT_EQ(phone.root->take(), "-will -did ");
    phone.root->dismissViewController(false, phone.note("dismissed"));
    phone.advance(0);
    EXPECT_EQ(phone.root->view()->window(), phone.window.get());
    EXPECT_EQ(phone.root->take(), "will layout did ");
    EXPECT_EQ(phone.lines, Lines { "dismissed" });
}

TEST(UIViewController, DismissesAllThatIsAbove)
{
    PhoneWithRoot phone;
    auto second = make<DiaryController>();
    phone.root->presentViewController(phone.sheet, false);
    phone.sheet->presentViewController(second, false);
    phone.advance(0);
    phone.root->dismissViewController(true, phone.note("dismissed"));
    phone.advance(0.3);
    EXPECT_EQ(phone.lines, Lines { "dismissed" });
    EXPECT_EQ(phone.sheet->presentedViewController(), nullptr);
    EXPECT_EQ(phone.window->subviews().size(), 1U);
    phone.root->dismissViewController(true, phone.note("nothing there"));
    phone.advance(0);
    EXPECT_EQ(phone.lines.back(), "nothing there");
}

TEST(UIViewController, RefusesAPresentationThatCannotBe)
{
    PhoneWithRoot phone;
    auto loose = make<DiaryController>();
    loose->presentViewController(phone.sheet, true, phone.note("from nowhere"));
    phone.root->presentViewController(nullptr, true, phone.note("nothing"));
    phone.root->presentViewController(phone.root, true, phone.note("itself"));
    phone.root->presentViewController(phone.sheet, true);
    phone.root->presentViewController(loose, true, phone.note("a second"));
    phone.advance(1);
    EXPECT_EQ(phone.lines, Lines {});
    EXPECT_EQ(phone.console().size(), 4U);
}

TEST(UIApplication, PostsItsComingsAndGoings)
{
    Phone phone;
    static Lines s_names;
    s_names.clear();
    auto listener = class_createInstance(ClassBuilder("Listener", classOf<NSObject>())
                                             .method("hear:"_sel, IMP { +[](id, SEL, id note) {
                                                 s_names.push_back(as<NSNotification>(note)->name());
                                             } })
                                             .build());
    UIApplication& application = UIApplication::sharedApplication();
    NSNotificationCenter::defaultCenter().addObserver(listener, "hear:"_sel, "", &application);
    application.enterBackground();
    EXPECT_EQ(application.applicationState(), UIApplicationState::Background);
    application.enterForeground();
    EXPECT_EQ(application.applicationState(), UIApplicationState::Active);
    EXPECT_EQ(s_names,
        (Lines { UIApplicationWillResignActiveNotification, UIApplicationDidEnterBackgroundNotification,
            UIApplicationWillEnterForegroundNotification, UIApplicationDidBecomeActiveNotification }));
}

TEST(UIApplication, OpensUrlsThroughItsOpener)
{
    Phone phone;
    UIApplication& application = UIApplication::sharedApplication();
    const Value url = NSURLValue { "https://example.com/a" };
    EXPECT_FALSE(send(&application, sel::openURL, url));
    std::string opened;
    application.setURLOpener([&](const NSURLValue& target) { return opened = target.absoluteString, true; });
    bool answer = false;
    send(
        &application, sel::openURLWithOptions, url, NSDictionary {}, [&](bool success) { answer = success; });
    EXPECT_EQ(opened, "https://example.com/a");
    EXPECT_FALSE(answer) << "never inside the call";
    phone.advance(0);
    EXPECT_TRUE(answer);
    EXPECT_FALSE(send(&application, sel::openURL, Value { "no URL" }));
}

} // namespace lumora::test
