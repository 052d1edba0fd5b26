#pragma once

#include "lumora/LMReportButtonHelper.h"
#include "platform/objc/Message.h"

namespace lumora {

// The conversations between the report screens, the handler and the host. Each receiver is held weakly and
// asked whether it conforms before it is told; a reason button's and the tutorial's only whether it answers.
// All on the main thread.

/// The host's: (ad view, the report).
inline constexpr const char* ReportButtonDelegateProtocol = "ReportButtonDelegate";
inline constexpr const char* LMReportAdViewRoundedButtonDelegate = "LMReportAdViewRoundedButtonDelegate";
inline constexpr const char* LMReportAdViewDelegate = "LMReportAdViewDelegate";
inline constexpr const char* LMSwipableReportViewControllerDelegate
    = "LMSwipableReportViewControllerDelegate";
inline constexpr const char* TutorialDelegate = "TutorialDelegate";

namespace sel {
inline constinit const TypedSelector<void(id, NSDictionary)> reportButtonWasClickedInView {
    "reportButtonWasClickedInView:withInfo:"
};
/// The button, and the reason it stands for.
inline constinit const TypedSelector<void(id, std::string)> reportButtonDidTouched {
    "reportButton:didTouchedWithUserDescription:"
};
/// The overlay, and the reason.
inline constinit const TypedSelector<void(id, std::string)> reportAdViewDidTouchReportButton {
    "reportAdView:didTouchReportButtonWithInfo:"
};
inline constinit const TypedSelector<void(id)> reportAdViewDidCanceled { "reportAdViewDidCanceled:" };
/// The reason as text, or nothing.
inline constinit const TypedSelector<void(Value)> swipableReportViewControllerDidClosed {
    "swipableReportViewControllerDidClosedWithUserInfo:"
};
inline constinit const TypedSelector<void()> swipableReportViewControllerDidCanceled {
    "swipableReportViewControllerDidCanceled"
};
inline constinit const TypedSelector<void()> continueButtonWasPressed { "continueButtonWasPressed" };
inline constinit const TypedSelector<void(id)> handleButtonTapAction { "handleButtonTapAction:" };
}

} // namespace lumora
