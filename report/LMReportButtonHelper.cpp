#include "lumora/LMReportButtonHelper.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "report/InterfaceFiles.h"
#include "report/ReportProtocols.h"
#include "report/TDReportButtonView.h"

#include <algorithm>

namespace lumora {

void LMReportButtonHelper::addReportButtonToView(id adView, id withDelegate)
{
    addReportButtonToView(adView, withDelegate, {});
}

void LMReportButtonHelper::addReportButtonToView(id adView, id withDelegate, const NSDictionary& withMetadata)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock(
        [adView = weakly(as<UIView>(adView)), delegate = weakly(withDelegate), withMetadata](bool active) {
            if (!active)
                return;
            dispatch_get_main_queue().async([adView, delegate, withMetadata] {
                const auto view = adView.lock();
                // A button on its way is no subview yet, so two calls within a second give two: kept,
                // the check is of what is on the view.
                if (!view || isReportButtonInSubviewsOfView(view.get()))
                    return;
                const auto button = loadInterface<TDReportButtonView>("TDReportButtonView");
                if (!button)
                    return;
                button->addReportButtonToView(view, withMetadata);
                // Dropped, as the button has no handler yet: kept, hosts hear once they ask the button.
                const auto host = delegate.lock();
                if (conformsToProtocol(host.get(), ReportButtonDelegateProtocol))
                    button->setDelegate(host.get());
            });
        });
}

bool LMReportButtonHelper::isReportButtonInSubviewsOfView(const Object* view)
{
    const auto* adView = dynamic_cast<const UIView*>(view);
    if (!adView)
        return false;
    const auto subviews = adView->subviews();
    return std::any_of(subviews.begin(), subviews.end(),
        [cls = classOf<TDReportButtonView>()](
            const std::shared_ptr<UIView>& subview) { return subview->isa() == cls; });
}

} // namespace lumora
