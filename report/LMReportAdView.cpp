#include "report/LMReportAdView.h"

#include "platform/uikit/UIWindow.h"
#include "report/InterfaceFiles.h"
#include "report/ReportProtocols.h"
#include "report/ReportReasons.h"

#include <algorithm>

namespace lumora {

namespace {
constinit const TypedSelector<void()> onButtonCloseSelector { "onButtonClose" };
constexpr double roomyHeight = 230;
} // namespace

const ClassDescription& LMReportAdView::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMReportAdView, UIView>("LMReportAdView")
            .protocol(LMReportAdViewRoundedButtonDelegate)
            .method<&LMReportAdView::layoutSubviews>(sel::layoutSubviews)
            .method<&LMReportAdView::onButtonClose>(onButtonCloseSelector)
            .method<&LMReportAdView::reportButtonDidTouched>(sel::reportButtonDidTouched)
            .variable<&LMReportAdView::m_buttonOffensiveContent>("buttonOffensiveContent")
            .variable<&LMReportAdView::m_buttonRepetitiveAd>("buttonRepetitiveAd")
            .variable<&LMReportAdView::m_buttonFraud>("buttonFraud")
            .variable<&LMReportAdView::m_buttonClose>("buttonClose")
            .variable<&LMReportAdView::m_content>("content")
            .variable<&LMReportAdView::m_columnWidth>("columnWidth")
            .variable<&LMReportAdView::m_widestColumn>("widestColumn")
            .variable<&LMReportAdView::m_columnMargins>("columnMargins"));
    return description;
}
static const RegisteredClass registered { &LMReportAdView::classDescription };

std::shared_ptr<LMReportAdView> LMReportAdView::initFromNibForAdSize(CGSize size)
{
    return loadInterface<LMReportAdView>(
        size.height >= roomyHeight ? "LMReportAdNativeBannerView" : "LMReportAdBannerView");
}

void LMReportAdView::setup()
{
    if (m_buttonClose && m_buttonClose->gestureRecognizers().empty()) {
        auto tap = make<UITapGestureRecognizer>();
        tap->addTarget(shared_from_this(), onButtonCloseSelector);
        m_buttonClose->addGestureRecognizer(tap);
    }
    assignReasons(shared_from_this(), m_buttonOffensiveContent, m_buttonRepetitiveAd, m_buttonFraud);
}

CGRect LMReportAdView::visibleBounds()
{
    const CGRect whole = bounds();
    UIWindow* const window = this->window();
    const double screen = window ? window->bounds().size.width : whole.size.width;
    if (whole.size.width <= screen)
        return whole;
    // Of an ad that is mostly scrolled away, as much as the screen will show.
    const double left
        = std::clamp(convertPointFromView({ 0, 0 }, window).x, whole.minX(), whole.maxX() - screen);
    return CGRectMake(left, whole.minY(), screen, whole.size.height);
}

void LMReportAdView::layoutSubviews()
{
    if (m_content && m_columnWidth) {
        const CGRect visible = visibleBounds();
        m_content->setFrame(visible);
        m_columnWidth->setConstant(
            std::max(0.0, std::min(m_widestColumn, visible.size.width - m_columnMargins)));
    }
    sendSuper(classOf<LMReportAdView>(), this, sel::layoutSubviews);
}

std::shared_ptr<Object> LMReportAdView::delegateFor(SEL selector) const
{
    auto delegate = m_delegate.lock();
    const bool listens = conformsToProtocol(delegate.get(), LMReportAdViewDelegate)
        && respondsToSelector(delegate.get(), selector);
    return listens ? delegate : nullptr;
}

// A delegate that does not conform hears nothing and the overlay stays: kept, it is its owner's to remove.
void LMReportAdView::onButtonClose()
{
    send(delegateFor(sel::reportAdViewDidCanceled), sel::reportAdViewDidCanceled, static_cast<id>(this));
}

// Two different reasons in quick succession both arrive: kept, each button is single-shot, the overlay is
// not.
void LMReportAdView::reportButtonDidTouched(Object*, const std::string& userDescription)
{
    send(delegateFor(sel::reportAdViewDidTouchReportButton), sel::reportAdViewDidTouchReportButton,
        static_cast<id>(this), userDescription);
}

} // namespace lumora
