#include "platform/foundation/NSNotificationCenter.h"

#include "platform/foundation/Console.h"
#include "platform/objc/Message.h"
#include "platform/process/ProcessLocal.h"

#include <algorithm>

namespace lumora {

const ClassDescription& NSNotification::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSNotification, NSObject>("NSNotification"));
    return description;
}
static const RegisteredClass registered { &NSNotification::classDescription };

NSNotificationCenter& NSNotificationCenter::defaultCenter()
{
    static const ProcessLocal<NSNotificationCenter> s_center;
    return s_center.get();
}

void NSNotificationCenter::addObserver(
    const std::shared_ptr<Object>& observer, SEL selector, std::string name, const Object* sender)
{
    if (!observer || !selector)
        return;
    Registration added { observer, selector, std::move(name), !sender, {} };
    if (sender)
        added.sender = sender->weak_from_this();
    Locker hold(m_lock);
    std::erase_if(
        m_registrations, [](const Registration& registration) { return registration.observer.expired(); });
    m_registrations.push_back(std::move(added));
}

void NSNotificationCenter::removeObserver(const Object* observer)
{
    // Held until the lock is given up: the last reference may go here.
    std::vector<std::shared_ptr<Object>> held;
    Locker hold(m_lock);
    std::erase_if(m_registrations, [&](const Registration& registration) {
        held.push_back(registration.observer.lock());
        return !held.back() || held.back().get() == observer;
    });
}

void NSNotificationCenter::postNotification(
    const std::string& name, const std::shared_ptr<Object>& sender, NSDictionary userInfo)
{
    std::vector<std::pair<std::shared_ptr<Object>, SEL>> told;
    std::vector<std::shared_ptr<const Object>> held;
    {
        Locker hold(m_lock);
        for (const Registration& registration : m_registrations) {
            if (!registration.name.empty() && registration.name != name)
                continue;
            // A sender that died equals no other, even at the same address.
            held.push_back(registration.sender.lock());
            if (!registration.anySender && (!held.back() || held.back() != sender))
                continue;
            if (auto observer = registration.observer.lock())
                told.emplace_back(std::move(observer), registration.selector);
        }
    }
    if (told.empty())
        return;
    std::shared_ptr<NSNotification> notification = make<NSNotification>();
    notification->m_name = name;
    notification->m_object = sender;
    notification->m_userInfo = std::move(userInfo);
    for (const auto& [observer, selector] : told) {
        try {
            if (selector->name().ends_with(':'))
                send<void>(observer.get(), selector, static_cast<id>(notification.get()));
            else
                send<void>(observer.get(), selector);
        } catch (const std::exception& exception) {
            NSLog("an observer of " + name + " threw: " + exception.what());
        } catch (...) {
            NSLog("an observer of " + name + " threw");
        }
    }
}

} // namespace lumora
