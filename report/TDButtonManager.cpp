#include "report/TDButtonManager.h"

#include "platform/dispatch/Executor.h"
#include "platform/process/ProcessLocal.h"
#include "report/TDReportButtonView.h"

namespace lumora {

static ProcessLocal<TDButtonManager> s_sharedInstance;

TDButtonManager& TDButtonManager::sharedInstance() { return s_sharedInstance.get(); }

void TDButtonManager::addButton(const std::shared_ptr<TDReportButtonView>& button)
{
    Locker hold(m_lock);
    m_buttons.addObject(button);
}

bool TDButtonManager::containsButton(const TDReportButtonView* button) const
{
    Locker hold(m_lock);
    return m_buttons.containsObject(button);
}

void TDButtonManager::removeButton(const TDReportButtonView* button)
{
    Locker hold(m_lock);
    m_buttons.removeObject(button);
}

void TDButtonManager::disableAllButtons()
{
    std::vector<std::weak_ptr<TDReportButtonView>> buttons;
    {
        // Strong references taken here could be the last ones, and a view must not die off the main thread.
        Locker hold(m_lock);
        buttons = m_buttons.allReferences();
    }
    for (std::weak_ptr<TDReportButtonView>& button : buttons) {
        dispatch_get_main_queue().async([button = std::move(button)] {
            if (const auto view = button.lock())
                send(view, sel::removeFromSuperview);
        });
    }
}

std::vector<std::shared_ptr<TDReportButtonView>> TDButtonManager::getButtonsArray() const
{
    Locker hold(m_lock);
    return m_buttons.allObjects();
}

} // namespace lumora
