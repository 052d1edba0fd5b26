#pragma once

#include "platform/uikit/UIView.h"

namespace lumora {

enum class UIModalPresentationStyle { FullScreen, OverCurrentContext };
enum class UIModalTransitionStyle { CoverVertical, CrossDissolve };

/// Runs a view and what is presented over it. Owned by its window, its parent or its presenter; owns its
/// view, its children and what it presents. Main thread only.
class UIViewController : public UIResponder {
public:
    static const ClassDescription& classDescription();
    /// Seconds an animated presentation or dismissal takes.
    static constexpr double transitionDuration = 0.3;

    id initWithCoder(Object*) { return this; }
    void awakeFromNib() { }
    /// The view, loaded and announced by viewDidLoad the first time it is asked for.
    UIView* view();
    bool isViewLoaded() const { return m_view != nullptr; }
    void setView(std::shared_ptr<UIView> view);
    /// Makes an empty view of the screen's size.
    void loadView();

    void viewDidLoad() { }
    void viewWillAppear(bool) { }
    void viewDidAppear(bool) { }
    void viewWillDisappear(bool) { }
    void viewDidDisappear(bool) { }
    void viewWillLayoutSubviews() { }
    void viewDidLayoutSubviews() { }

    UIModalPresentationStyle modalPresentationStyle() const { return m_presentationStyle; }
    void setModalPresentationStyle(UIModalPresentationStyle style) { m_presentationStyle = style; }
    UIModalTransitionStyle modalTransitionStyle() const { return m_transitionStyle; }
    void setModalTransitionStyle(UIModalTransitionStyle style) { m_transitionStyle = style; }
    /// Borrowed, as everything answered here.
    UIViewController* presentedViewController() const { return m_presented.get(); }
    UIViewController* presentingViewController() const;
    /// Puts another controller over this one. The completion runs after the transition. Refused, with a line
    /// on the console and without a completion, when this one is in no window or presents one already, or the
    /// other is presented.
    void presentViewController(std::shared_ptr<UIViewController> controller, bool animated,
        std::function<void()> completion = nullptr);
    /// Takes away what this one presents, or else this one itself. The completion runs after the transition,
    /// also when there was nothing to take away; a dismissal that is under way is not repeated, and the
    /// completion dropped.
    void dismissViewController(bool animated, std::function<void()> completion = nullptr);

    UIViewController* parentViewController() const { return m_parent.lock().get(); }
    const std::vector<std::shared_ptr<UIViewController>>& childViewControllers() const { return m_children; }
    void addChildViewController(std::shared_ptr<UIViewController> child);
    void removeFromParentViewController();
    UIResponder* nextResponder();

protected:
    /// Shows a child's view over the whole of this one's, instead of the one that was shown.
    void showChild(UIViewController* child);
    /// What a container does with its children once its view is there.
    virtual void arrangeChildren() { }
    void clearChildren();

private:
    friend class UIView;
    friend class UIWindow;
    friend class LayoutPass;

    void announceWillAppear(bool animated);
    void announceDidAppear(bool animated);
    void announceWillDisappear(bool animated);
    void announceDidDisappear(bool animated);
    void finishDismissal(bool animated);
    void setAway();
    void leaveWindow();

    std::shared_ptr<UIView> m_view;
    bool m_viewDidLoad { false };
    std::shared_ptr<UIViewController> m_presented;
    std::weak_ptr<UIViewController> m_presenting;
    bool m_dismissing { false };
    // What this one took out of the window by being presented over it.
    std::shared_ptr<UIView> m_covered;
    UIModalPresentationStyle m_presentationStyle { UIModalPresentationStyle::FullScreen };
    UIModalTransitionStyle m_transitionStyle { UIModalTransitionStyle::CoverVertical };
    std::weak_ptr<UIViewController> m_parent;
    std::vector<std::shared_ptr<UIViewController>> m_children;
    std::weak_ptr<UIViewController> m_shownChild;
};

} // namespace lumora
