#pragma once

#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

inline std::ostream& operator<<(std::ostream& stream, const CGRect& rect)
{
    return stream << "[" << rect.minX() << ", " << rect.minY() << ", " << rect.size.width << ", "
                  << rect.size.height << "]";
}

namespace test {

/// Writes down what it is told, under its own name.
class Diary final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<Diary, NSObject>("Diary")
                                                        .method<&Diary::tapped>("tapped"_sel)
                                                        .method<&Diary::tappedBy>("tappedBy:"_sel);
        return description;
    }
    void tapped() { lines.emplace_back("tapped"); }
    void tappedBy(Object* recognizer)
    {
        const auto* const tap = as<UITapGestureRecognizer>(recognizer);
        lines.push_back(tap ? std::to_string(tap->numberOfTapsRequired()) + " taps"
                            : "tapped on a " + object_getClassName(recognizer));
    }

    std::vector<std::string> lines;
};

/// A view that writes down the touches it gets.
class TouchedView final : public UIView {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<TouchedView, UIView>("TouchedView")
                  .method<&TouchedView::touchesBegan>(sel::touchesBegan)
                  .method<&TouchedView::touchesMoved>(sel::touchesMoved)
                  .method<&TouchedView::touchesEnded>(sel::touchesEnded)
                  .method<&TouchedView::touchesCancelled>(sel::touchesCancelled);
        return description;
    }
    void touchesBegan(const Value&, Object*) { touches += "began "; }
    void touchesMoved(const Value&, Object*) { touches += "moved "; }
    void touchesEnded(const Value&, Object*) { touches += "ended "; }
    void touchesCancelled(const Value&, Object*) { touches += "cancelled "; }

    std::string touches;
};

/// A process with a window on its screen of 375 x 812 points.
struct Phone {
    Phone()
    {
        window->makeKeyAndVisible();
        world.executor().drain();
    }

    void advance(double seconds) { world.executor().advance(seconds); }
    std::vector<std::string> console() const { return world.console->lines(); }

    template <typename T = UIView> std::shared_ptr<T> add(const CGRect& frame, UIView* parent = nullptr)
    {
        auto view = make<T>();
        view->setFrame(frame);
        (parent ? parent : window.get())->addSubview(view);
        return view;
    }
    std::shared_ptr<UITapGestureRecognizer> addTap(UIView& view, int taps, const char* action = "tappedBy:")
    {
        auto recognizer = make<UITapGestureRecognizer>();
        recognizer->setNumberOfTapsRequired(taps);
        recognizer->addTarget(diary, NSSelectorFromString(action));
        view.addGestureRecognizer(recognizer);
        return recognizer;
    }
    void tap(CGPoint point)
    {
        window->sendTouch(UITouchPhase::Began, point);
        window->sendTouch(UITouchPhase::Ended, point);
    }
    std::vector<std::string> diaryLines() { return std::exchange(diary->lines, {}); }

    TemporaryFolder home;
    TestProcess world { home.path };
    std::shared_ptr<UIWindow> window { make<UIWindow>() };
    std::shared_ptr<Diary> diary { make<Diary>() };
};

}

} // namespace lumora
