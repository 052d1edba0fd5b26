#include "platform/uikit/UIViewController.h"

#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIWindow.h"

#include <algorithm>

namespace lumora {

static IMP presentMessage()
{
    return IMP { +[](id self, SEL, id controller, bool animated, const std::function<void()>& completion) {
        static_cast<UIViewController*>(self)->presentViewController(
            retain(as<UIViewController>(controller)), animated, completion);
    } };
}

const ClassDescription& UIViewController::classDescription()
{
    auto controller
        = [](Object& object) -> UIViewController& { return static_cast<UIViewController&>(object); };
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UIViewController, UIResponder>("UIViewController")
            .method<&UIViewController::initWithCoder>(sel::initWithCoder)
            .method<&UIViewController::awakeFromNib>(sel::awakeFromNib)
            .method<&UIViewController::nextResponder>(sel::nextResponder)
            .method<&UIViewController::view>("view"_sel)
            .method<&UIViewController::loadView>(sel::loadView)
            .method<&UIViewController::viewDidLoad>(sel::viewDidLoad)
            .method<&UIViewController::viewWillAppear>(sel::viewWillAppear)
            .method<&UIViewController::viewDidAppear>(sel::viewDidAppear)
            .method<&UIViewController::viewWillDisappear>(sel::viewWillDisappear)
            .method<&UIViewController::viewDidDisappear>(sel::viewDidDisappear)
            .method<&UIViewController::viewWillLayoutSubviews>(sel::viewWillLayoutSubviews)
            .method<&UIViewController::viewDidLayoutSubviews>(sel::viewDidLayoutSubviews)
            .method(sel::presentViewController, presentMessage())
            .method<&UIViewController::dismissViewController>(sel::dismissViewController)
            .method<&UIViewController::presentedViewController>("presentedViewController"_sel)
            .method<&UIViewController::presentingViewController>("presentingViewController"_sel)
            .method<&UIViewController::parentViewController>("parentViewController"_sel)
            .variable(
                "view", [=](Object& object) { return Value { retain(controller(object).view()) }; },
                [=](Object& object, const Value& value) {
                    controller(object).setView(as<UIView>(value.object()));
                })
            .variable("childViewControllers", [=](Object& object) {
                const auto& children = controller(object).childViewControllers();
                return Value { NSArray(children.begin(), children.end()) };
            }));
    return description;
}
static const RegisteredClass registeredUIViewController { &UIViewController::classDescription };

// The view

UIView* UIViewController::view()
{
    if (!m_view)
        send(this, sel::loadView);
    if (!m_view)
        UIViewController::loadView();
    if (!std::exchange(m_viewDidLoad, true)) {
        send(this, sel::viewDidLoad);
        arrangeChildren();
    }
    return m_view.get();
}

void UIViewController::setView(std::shared_ptr<UIView> view)
{
    if (m_view)
        m_view->m_viewController.reset();
    m_view = std::move(view);
    if (m_view)
        m_view->m_viewController = weakly(this);
}

void UIViewController::loadView()
{
    auto view = alloc<UIView>();
    send(view, sel::initWithFrame, UIScreen::mainScreen().bounds());
    setView(std::move(view));
}

UIResponder* UIViewController::nextResponder()
{
    if (UIView* above = m_view ? m_view->superview() : nullptr)
        return above;
    return presentingViewController();
}

void UIViewController::announceWillAppear(bool animated)
{
    send(this, sel::viewWillAppear, animated);
    if (const auto child = m_shownChild.lock())
        child->announceWillAppear(animated);
}

void UIViewController::announceDidAppear(bool animated)
{
    send(this, sel::viewDidAppear, animated);
    if (const auto child = m_shownChild.lock())
        child->announceDidAppear(animated);
}

void UIViewController::announceWillDisappear(bool animated)
{
    send(this, sel::viewWillDisappear, animated);
    if (const auto child = m_shownChild.lock())
        child->announceWillDisappear(animated);
}

void UIViewController::announceDidDisappear(bool animated)
{
    send(this, sel::viewDidDisappear, animated);
    if (const auto child = m_shownChild.lock())
        child->announceDidDisappear(animated);
}

// Presentation

UIViewController* UIViewController::presentingViewController() const { return m_presenting.lock().get(); }

void UIViewController::presentViewController(
    std::shared_ptr<UIViewController> controller, bool animated, std::function<void()> completion)
{
    const auto self = retain(this);
    UIWindow* const window = view()->window();
    const char* problem = nullptr;
    if (!controller || controller == self || controller->parentViewController())
        problem = "what is to be presented cannot be";
    else if (!window)
        problem = "its view is in no window";
    else if (m_presented || controller->presentingViewController())
        problem = "a presentation is there already";
    if (problem)
        return Process::current().log(description() + " presents nothing: " + problem);

    m_presented = controller;
    controller->m_presenting = weakly(this);
    const auto shown = retain(controller->view());
    shown->setFrame(window->bounds());
    // A full-screen controller takes what it covers out of the window.
    auto covered = retain(view());
    while (covered->superview() != window)
        covered = retain(covered->superview());
    const bool covers = controller->m_presentationStyle == UIModalPresentationStyle::FullScreen;
    controller->m_covered = covers ? covered : nullptr;
    if (covers)
        announceWillDisappear(animated);
    controller->announceWillAppear(animated);
    window->addSubview(shown);
    shown->layoutIfNeeded();
    auto finish = [self, controller, covered, covers, animated, completion = std::move(completion)](bool) {
        if (self->m_presented == controller && !self->m_dismissing) {
            controller->announceDidAppear(animated);
            if (covers) {
                covered->removeFromSuperview();
                self->announceDidDisappear(animated);
            }
        }
        if (completion)
            completion();
    };
    const double alpha = shown->alpha();
    const CGRect place = shown->frame();
    if (animated)
        controller->setAway();
    UIView::animateWithDuration(
        animated ? transitionDuration : 0,
        [&] {
            shown->setAlpha(alpha);
            shown->setFrame(place);
        },
        std::move(finish));
}

void UIViewController::setAway()
{
    if (m_transitionStyle == UIModalTransitionStyle::CrossDissolve)
        m_view->setAlpha(0);
    else
        m_view->setFrame(m_view->frame().offsetBy(0, m_view->frame().size.height));
}

void UIViewController::dismissViewController(bool animated, std::function<void()> completion)
{
    const auto self = retain(this);
    const auto presenting = m_presenting.lock();
    if (!m_presented && presenting)
        return send(presenting, sel::dismissViewController, animated, completion);
    if (!m_presented) {
        if (completion)
            Process::current().mainQueue().async(std::move(completion));
        return;
    }
    if (std::exchange(m_dismissing, true))
        return;
    // Only the topmost is seen to go; those between go with it.
    auto topmost = m_presented;
    while (topmost->m_presented)
        topmost = topmost->m_presented;
    const auto view = retain(topmost->view());
    if (m_presented->m_covered && !m_presented->m_covered->superview()) {
        if (UIWindow* window = view->window())
            window->insertSubview(m_presented->m_covered, 0);
        announceWillAppear(animated);
    }
    topmost->announceWillDisappear(animated);
    const double alpha = view->alpha();
    const CGRect place = view->frame();
    const bool interactive = view->userInteractionEnabled();
    view->setUserInteractionEnabled(false);
    auto finish = [=, completion = std::move(completion)](bool) {
        view->setAlpha(alpha);
        view->setFrame(place);
        view->setUserInteractionEnabled(interactive);
        self->finishDismissal(animated);
        if (completion)
            completion();
    };
    UIView::animateWithDuration(
        animated ? transitionDuration : 0,
        [&] {
            if (animated)
                topmost->setAway();
        },
        std::move(finish));
}

void UIViewController::finishDismissal(bool animated)
{
    const auto presented = std::exchange(m_presented, nullptr);
    m_dismissing = false;
    if (!presented)
        return;
    if (presented->m_presented)
        presented->finishDismissal(animated);
    presented->m_presenting.reset();
    presented->view()->removeFromSuperview();
    presented->announceDidDisappear(animated);
    if (std::exchange(presented->m_covered, nullptr))
        announceDidAppear(animated);
}

void UIViewController::leaveWindow()
{
    if (m_view && m_view->superview()) {
        announceWillDisappear(false);
        m_view->removeFromSuperview();
        announceDidDisappear(false);
    }
    if (m_presented)
        finishDismissal(false);
}

// Containers

void UIViewController::addChildViewController(std::shared_ptr<UIViewController> child)
{
    if (!child || child.get() == this)
        return;
    child->removeFromParentViewController();
    child->m_parent = weakly(this);
    m_children.push_back(std::move(child));
}

void UIViewController::removeFromParentViewController()
{
    const auto self = retain(this);
    if (const auto parent = m_parent.lock())
        std::erase(parent->m_children, self);
    m_parent.reset();
}

void UIViewController::clearChildren()
{
    for (const auto& child : std::vector(m_children))
        child->removeFromParentViewController();
}

void UIViewController::showChild(UIViewController* child)
{
    const auto former = m_shownChild.lock();
    if (!m_viewDidLoad || former.get() == child)
        return;
    m_shownChild = weakly(child);
    const bool visible = view()->window() != nullptr;
    if (former && former->isViewLoaded()) {
        if (visible)
            former->announceWillDisappear(false);
        former->view()->removeFromSuperview();
        if (visible)
            former->announceDidDisappear(false);
    }
    if (!child)
        return;
    const auto shown = retain(child->view());
    if (visible)
        child->announceWillAppear(false);
    shown->setFrame(view()->bounds());
    shown->setTranslatesAutoresizingMaskIntoConstraints(false);
    view()->addSubview(shown);
    for (auto edge : { NSLayoutAttribute::Top, NSLayoutAttribute::Bottom, NSLayoutAttribute::Left,
             NSLayoutAttribute::Right })
        NSLayoutConstraint::constraintWithItem(shown.get(), edge, view(), edge, 1, 0)->setActive(true);
    if (visible)
        child->announceDidAppear(false);
}

} // namespace lumora
