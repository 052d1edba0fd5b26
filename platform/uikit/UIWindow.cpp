#include "platform/uikit/UIWindow.h"

#include "platform/uikit/GestureArena.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIViewController.h"

#include <algorithm>

namespace lumora {

const ClassDescription& UIWindow::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIWindow, UIView>("UIWindow")
                                    .method<&UIWindow::initWithFrame>(sel::initWithFrame)
                                    .method<&UIWindow::nextResponder>(sel::nextResponder)
                                    .method<&UIWindow::makeKeyAndVisible>("makeKeyAndVisible"_sel)
                                    .variable<&UIWindow::m_rootViewController>("rootViewController"));
    return description;
}
static const RegisteredClass registeredUIWindow { &UIWindow::classDescription };

UIWindow::UIWindow()
    : m_arena(std::make_shared<GestureArena>())
{
}

UIWindow::~UIWindow() = default;

id UIWindow::initWithFrame(CGRect frame)
{
    return UIView::initWithFrame(frame.isEmpty() ? UIScreen::mainScreen().bounds() : frame);
}

UIResponder* UIWindow::nextResponder() { return &UIApplication::sharedApplication(); }

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> controller)
{
    if (const auto former = std::exchange(m_rootViewController, std::move(controller)))
        former->leaveWindow();
    if (!m_rootViewController)
        return;
    const auto view = retain(m_rootViewController->view());
    view->setFrame(bounds());
    insertSubview(view, 0);
    if (m_shown)
        appearRoot();
}

void UIWindow::makeKeyAndVisible()
{
    setHidden(false);
    UIApplication& application = UIApplication::sharedApplication();
    application.m_keyWindow = weakly(this);
    if (std::exchange(m_shown, true))
        return;
    application.m_windows.push_back(weakly(this));
    layoutIfNeeded();
    if (m_rootViewController)
        appearRoot();
}

void UIWindow::appearRoot()
{
    const auto controller = m_rootViewController;
    controller->announceWillAppear(false);
    layoutIfNeeded();
    controller->announceDidAppear(false);
}

bool UIWindow::isKeyWindow() { return UIApplication::sharedApplication().keyWindow().get() == this; }

void UIWindow::sendTouch(UITouchPhase phase, CGPoint point, int finger)
{
    m_arena->touch(*this, phase, point, finger);
}

size_t UIWindow::touchesDown() const { return m_arena->touchesDown(); }

} // namespace lumora
