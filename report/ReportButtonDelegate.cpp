#include "lumora/ReportButtonDelegate.h"

#include "platform/uikit/UIView.h"
#include "report/ReportProtocols.h"

namespace lumora {

const ClassDescription& ReportButtonDelegate::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<ReportButtonDelegate, NSObject>("LMReportButtonDelegateObject")
            .protocol(ReportButtonDelegateProtocol)
            .method<&ReportButtonDelegate::received>(sel::reportButtonWasClickedInView));
    return description;
}

void ReportButtonDelegate::received(Object* adView, const NSDictionary& info)
{
    if (auto* view = as<UIView>(adView))
        reportButtonWasClickedInView(*view, info);
}

} // namespace lumora
