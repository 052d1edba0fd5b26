#pragma once

#include "platform/objc/Object.h"

#include <functional>

namespace lumora {

class TDEventModel;

/// One object per live ad of the processors pipeline: knows the ad object, weakly, and answers for it. The
/// networks' own processors derive from it. Main thread.
class LMAdViewProcessor : public NSObject {
public:
    using EventCompletion = std::function<void(const std::shared_ptr<TDEventModel>&)>;
    /// Whether the markup could be read, and the markup.
    using HTMLCompletion = std::function<void(bool success, const std::string& html)>;

    /// What the markup is read for; the configuration switches the first three.
    enum class HTMLPurpose { Inspection = 0, Report = 1, Event = 2, AdRecord = 3 };

    std::shared_ptr<Object> adObject() const { return m_adObject.lock(); }
    void setAdObject(const std::shared_ptr<Object>& adObject) { m_adObject = adObject; }

    /// Fills an event with what is known of the ad and hands it to the completion.
    virtual void updateEventInfo(
        const std::shared_ptr<TDEventModel>& event, const EventCompletion& completion)
        = 0;
    virtual std::string getAdTypeInString() = 0;
    virtual void getNewHTMLWithPurpose(HTMLPurpose purpose, const HTMLCompletion& completion) = 0;

private:
    std::weak_ptr<Object> m_adObject;
};

} // namespace lumora
