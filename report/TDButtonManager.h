#pragma once

#include "platform/foundation/NSHashTable.h"
#include "platform/process/Lock.h"

#include <memory>
#include <vector>

namespace lumora {

class TDReportButtonView;

/// The registry of live report buttons, which it does not own. One per process; any thread.
class TDButtonManager {
public:
    static TDButtonManager& sharedInstance();

    /// Adding twice keeps one entry.
    void addButton(const std::shared_ptr<TDReportButtonView>& button);
    bool containsButton(const TDReportButtonView* button) const;
    void removeButton(const TDReportButtonView* button);
    /// Takes every button off its ad, one main-queue task each. They stay registered while they live.
    void disableAllButtons();
    /// The buttons alive at this moment, in the order they were added.
    std::vector<std::shared_ptr<TDReportButtonView>> getButtonsArray() const;

private:
    mutable Lock m_lock;
    NSHashTable<TDReportButtonView> m_buttons LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
