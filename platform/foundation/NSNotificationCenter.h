#pragma once

#include "platform/objc/Object.h"
#include "platform/process/Lock.h"

#include <vector>

namespace lumora {

/// What an observer is handed. Immutable once posted.
class NSNotification final : public NSObject {
public:
    static const ClassDescription& classDescription();

    const std::string& name() const { return m_name; }
    /// The sender, or null.
    const std::shared_ptr<Object>& object() const { return m_object; }
    const NSDictionary& userInfo() const { return m_userInfo; }

private:
    friend class NSNotificationCenter;
    std::string m_name;
    std::shared_ptr<Object> m_object;
    NSDictionary m_userInfo;
};

/// Tells observers what was posted, at once, on the posting thread, in the order in which they registered.
/// Observers are held weakly. One per process, any thread; whoever registers or leaves during a posting
/// counts from the next one on.
class NSNotificationCenter {
public:
    static NSNotificationCenter& defaultCenter();

    /// A selector that ends in a colon is sent with the NSNotification. An empty name means every name, a
    /// null sender every sender. Registering twice means being told twice.
    void addObserver(
        const std::shared_ptr<Object>& observer, SEL selector, std::string name, const Object* sender);
    /// Removes all registrations of an observer.
    void removeObserver(const Object* observer);
    /// An observer that throws is stopped there and logged; the next is told all the same.
    void postNotification(
        const std::string& name, const std::shared_ptr<Object>& sender, NSDictionary userInfo = {});

private:
    struct Registration {
        std::weak_ptr<Object> observer;
        SEL selector;
        std::string name;
        bool anySender;
        std::weak_ptr<const Object> sender;
    };

    Lock m_lock;
    std::vector<Registration> m_registrations LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
