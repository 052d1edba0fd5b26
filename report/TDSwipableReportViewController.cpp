#include "report/TDSwipableReportViewController.h"

#include "platform/quartzcore/CAShapeLayer.h"
#include "platform/uikit/UIView.h"
#include "report/ReportProtocols.h"
#include "report/ReportReasons.h"

namespace lumora {

namespace {
constinit const TypedSelector<void()> closeViewSelector { "closeView" };
constexpr double sheetCornerRadius = 30;
} // namespace

const ClassDescription& TDSwipableReportViewController::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<TDSwipableReportViewController, UIViewController>(
            "TDSwipableReportViewController")
            .protocol(LMReportAdViewRoundedButtonDelegate)
            .method<&TDSwipableReportViewController::viewDidLoad>(sel::viewDidLoad)
            .method<&TDSwipableReportViewController::viewDidLayoutSubviews>(sel::viewDidLayoutSubviews)
            .method<&TDSwipableReportViewController::closeView>(closeViewSelector)
            .method<&TDSwipableReportViewController::reportButtonDidTouched>(sel::reportButtonDidTouched)
            .variable<&TDSwipableReportViewController::m_overlayView>("overlayView")
            .variable<&TDSwipableReportViewController::m_menuView>("menuView")
            .variable<&TDSwipableReportViewController::m_offensiveButton>("offensiveButton")
            .variable<&TDSwipableReportViewController::m_repetitiveButton>("repetitiveButton")
            .variable<&TDSwipableReportViewController::m_fraudButton>("fraudButton")
            .variable<&TDSwipableReportViewController::m_safeAreaRootView>("safeAreaRootView"));
    return description;
}
static const RegisteredClass registered { &TDSwipableReportViewController::classDescription };

void TDSwipableReportViewController::viewDidLoad()
{
    sendSuper(classOf<TDSwipableReportViewController>(), this, sel::viewDidLoad);
    prepareButtons();
    if (!m_overlayView)
        return;
    auto tap = make<UITapGestureRecognizer>();
    tap->addTarget(shared_from_this(), closeViewSelector);
    m_overlayView->addGestureRecognizer(tap);
}

void TDSwipableReportViewController::prepareButtons()
{
    assignReasons(shared_from_this(), m_offensiveButton, m_repetitiveButton, m_fraudButton);
}

void TDSwipableReportViewController::viewDidLayoutSubviews()
{
    sendSuper(classOf<TDSwipableReportViewController>(), this, sel::viewDidLayoutSubviews);
    prepareView();
}

void TDSwipableReportViewController::prepareView()
{
    if (!m_safeAreaRootView)
        return;
    auto mask = make<CAShapeLayer>();
    mask->setFrame(m_safeAreaRootView->bounds());
    mask->setPath(UIBezierPath::bezierPathWithRoundedRect(m_safeAreaRootView->bounds(),
        UIRectCornerBottomLeft | UIRectCornerBottomRight, { sheetCornerRadius, sheetCornerRadius }));
    m_safeAreaRootView->layer().setMask(std::move(mask));
}

void TDSwipableReportViewController::dismissAndTell(
    SEL selector, std::function<void(const std::shared_ptr<Object>&)> tell)
{
    send(this, sel::dismissViewController, true, [delegate = m_delegate, selector, tell = std::move(tell)] {
        const auto listener = delegate.lock();
        if (conformsToProtocol(listener.get(), LMSwipableReportViewControllerDelegate)
            && respondsToSelector(listener.get(), selector))
            tell(listener);
    });
}

void TDSwipableReportViewController::closeView()
{
    const auto isChosen = [](const auto& button) { return button && button->didSelected(); };
    // Nothing to cancel while a reason lights up: it is on its way, and would die with the sheet.
    if (!m_reasonArrived
        && (isChosen(m_offensiveButton) || isChosen(m_repetitiveButton) || isChosen(m_fraudButton)))
        return;
    dismissAndTell(sel::swipableReportViewControllerDidCanceled,
        [](const auto& delegate) { send(delegate, sel::swipableReportViewControllerDidCanceled); });
}

void TDSwipableReportViewController::reportButtonDidTouched(Object*, const std::string& userDescription)
{
    m_reasonArrived = true;
    dismissAndTell(sel::swipableReportViewControllerDidClosed, [userDescription](const auto& delegate) {
        send(delegate, sel::swipableReportViewControllerDidClosed, userDescription);
    });
}

} // namespace lumora
