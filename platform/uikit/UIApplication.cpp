#include "platform/uikit/UIApplication.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIWindow.h"

#include <algorithm>

namespace lumora {

static UIApplication* shared() { return &UIApplication::sharedApplication(); }

const ClassDescription& UIApplication::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIApplication, UIResponder>("UIApplication")
                                    .classMethod<&shared>("sharedApplication"_sel)
                                    .method<&UIApplication::openURL>(sel::openURL)
                                    .method<&UIApplication::openURLWithOptions>(sel::openURLWithOptions)
                                    .variable<&UIApplication::m_keyWindow>("keyWindow")
                                    .variable<&UIApplication::m_state>("applicationState"));
    return description;
}
static const RegisteredClass registeredUIApplication { &UIApplication::classDescription };

UIApplication& UIApplication::sharedApplication()
{
    static const ProcessLocal<UIApplication> application;
    return application.get();
}

std::vector<std::shared_ptr<UIWindow>> UIApplication::windows() const
{
    std::vector<std::shared_ptr<UIWindow>> living;
    for (const auto& weak : m_windows) {
        if (auto window = weak.lock())
            living.push_back(std::move(window));
    }
    return living;
}

void UIApplication::enterForeground()
{
    m_state = UIApplicationState::Inactive;
    NSNotificationCenter::defaultCenter().postNotification(
        UIApplicationWillEnterForegroundNotification, retain(this));
    becomeActive();
}

void UIApplication::becomeActive()
{
    m_state = UIApplicationState::Active;
    NSNotificationCenter::defaultCenter().postNotification(
        UIApplicationDidBecomeActiveNotification, retain(this));
}

void UIApplication::resignActive()
{
    m_state = UIApplicationState::Inactive;
    NSNotificationCenter::defaultCenter().postNotification(
        UIApplicationWillResignActiveNotification, retain(this));
}

void UIApplication::enterBackground()
{
    if (m_state == UIApplicationState::Active)
        resignActive();
    m_state = UIApplicationState::Background;
    NSNotificationCenter::defaultCenter().postNotification(
        UIApplicationDidEnterBackgroundNotification, retain(this));
}

bool UIApplication::openURL(const Value& url)
{
    const NSURLValue* target = url.url();
    return target && m_opener && m_opener(*target);
}

void UIApplication::openURLWithOptions(
    const Value& url, const NSDictionary&, const std::function<void(bool)>& completion)
{
    const bool opened = UIApplication::openURL(url);
    if (completion)
        dispatch_get_main_queue().async([completion, opened] { completion(opened); });
}

void UIApplication::sendTouch(UITouchPhase phase, CGPoint point, int finger)
{
    auto held = std::find_if(
        m_fingers.begin(), m_fingers.end(), [&](const auto& one) { return one.first == finger; });
    std::shared_ptr<UIWindow> target;
    if (held != m_fingers.end()) {
        target = held->second.lock();
    } else if (phase == UITouchPhase::Began) {
        const auto shown = windows();
        for (auto window = shown.rbegin(); window != shown.rend() && !target; ++window) {
            const CGPoint origin = (*window)->frame().origin;
            if (send(*window, sel::hitTest, CGPoint { point.x - origin.x, point.y - origin.y }, nullptr))
                target = *window;
        }
        m_fingers.emplace_back(finger, target);
    }
    if (phase == UITouchPhase::Ended || phase == UITouchPhase::Cancelled)
        std::erase_if(m_fingers, [&](const auto& one) { return one.first == finger; });
    if (!target)
        return;
    const CGPoint origin = target->frame().origin;
    target->sendTouch(phase, { point.x - origin.x, point.y - origin.y }, finger);
}

} // namespace lumora
