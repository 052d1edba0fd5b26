#pragma once

#include "platform/uikit/UIView.h"
#include "report/LMReportAdViewRoundedButton.h"
#include "report/TDReportButtonView.h"

#include <memory>
#include <string_view>

namespace lumora {

/// The first view of a type below a view, depth first, that a test finds good; null when there is none. Main
/// thread.
template <typename T, typename Test> std::shared_ptr<T> find(UIView& view, const Test& isGood)
{
    for (const auto& subview : view.subviews()) {
        if (auto found = as<T>(subview); found && isGood(*found))
            return found;
        if (auto found = find<T>(*subview, isGood))
            return found;
    }
    return nullptr;
}
template <typename T> std::shared_ptr<T> find(UIView& view)
{
    return find<T>(view, [](T&) { return true; });
}

/// The report button on an ad, wherever in it.
inline std::shared_ptr<TDReportButtonView> buttonOn(UIView& ad) { return find<TDReportButtonView>(ad); }

/// The button of an overlay or a sheet that stands for a reason.
inline std::shared_ptr<LMReportAdViewRoundedButton> reasonOn(UIView& screen, std::string_view reason)
{
    return find<LMReportAdViewRoundedButton>(
        screen, [&](LMReportAdViewRoundedButton& button) { return button.userDescription() == reason; });
}

} // namespace lumora
