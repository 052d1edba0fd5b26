#include "report/LMReportAdViewRoundedButton.h"

#include "platform/dispatch/Executor.h"
#include "report/BrandColor.h"
#include "report/ReportProtocols.h"

namespace lumora {

namespace {
constinit const TypedSelector<void()> didTouchUpInsideSelector { "didTouchUpInside" };
constexpr double timeToSeeTheChoice = 1.0;
} // namespace

const ClassDescription& LMReportAdViewRoundedButton::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMReportAdViewRoundedButton, UIButton>("LMReportAdViewRoundedButton")
            .method<&LMReportAdViewRoundedButton::initWithFrame>(sel::initWithFrame)
            .method<&LMReportAdViewRoundedButton::initWithCoder>(sel::initWithCoder)
            .method<&LMReportAdViewRoundedButton::layoutSubviews>(sel::layoutSubviews)
            .method<&LMReportAdViewRoundedButton::prepareForInterfaceBuilder>(sel::prepareForInterfaceBuilder)
            .method<&LMReportAdViewRoundedButton::setNeedsLayout>(sel::setNeedsLayout)
            .method<&LMReportAdViewRoundedButton::didTouchUpInside>(didTouchUpInsideSelector)
            .variable<&LMReportAdViewRoundedButton::m_didSelected>("didSelected")
            .variable<&LMReportAdViewRoundedButton::m_tapGestureRecognizer>("tapGestureRecognizer")
            .variable<&LMReportAdViewRoundedButton::m_delegate>("delegate")
            .variable<&LMReportAdViewRoundedButton::m_userDescription>("userDescription"));
    return description;
}
static const RegisteredClass registered { &LMReportAdViewRoundedButton::classDescription };

id LMReportAdViewRoundedButton::initWithFrame(CGRect frame)
{
    sendSuper(classOf<LMReportAdViewRoundedButton>(), this, sel::initWithFrame, frame);
    setupView();
    return this;
}

id LMReportAdViewRoundedButton::initWithCoder(Object* coder)
{
    sendSuper(classOf<LMReportAdViewRoundedButton>(), this, sel::initWithCoder, coder);
    setupView();
    return this;
}

void LMReportAdViewRoundedButton::setupView()
{
    m_didSelected = false;
    if (!m_tapGestureRecognizer) {
        m_tapGestureRecognizer = make<UITapGestureRecognizer>();
        m_tapGestureRecognizer->addTarget(shared_from_this(), didTouchUpInsideSelector);
        addGestureRecognizer(m_tapGestureRecognizer);
    }
    layer().setBorderColor(brandColor());
    layer().setBorderWidth(1);
    layer().setCornerRadius(frame().size.height / 2);
    titleLabel().setAdjustsFontSizeToFitWidth(true);
}

void LMReportAdViewRoundedButton::layoutSubviews()
{
    sendSuper(classOf<LMReportAdViewRoundedButton>(), this, sel::layoutSubviews);
    // The initialiser knows the interface file's frame only, its constraints come later: a capsule at any
    // height.
    layer().setCornerRadius(frame().size.height / 2);
}

// Both are the platform's alone: kept, a host may look for them on this class.
void LMReportAdViewRoundedButton::prepareForInterfaceBuilder()
{
    sendSuper(classOf<LMReportAdViewRoundedButton>(), this, sel::prepareForInterfaceBuilder);
}

void LMReportAdViewRoundedButton::setNeedsLayout()
{
    sendSuper(classOf<LMReportAdViewRoundedButton>(), this, sel::setNeedsLayout);
}

void LMReportAdViewRoundedButton::didTouchUpInside()
{
    if (m_didSelected)
        return;
    m_didSelected = true;
    makeActive();
    if (!respondsToSelector(m_delegate.lock().get(), sel::reportButtonDidTouched))
        return;
    dispatch_get_main_queue().asyncAfter(
        timeToSeeTheChoice, [weakButton = std::weak_ptr(shared_from_this())] {
            const auto button = as<LMReportAdViewRoundedButton>(weakButton.lock());
            // Asked again: the screen may have another delegate by now.
            const auto delegate = button ? button->delegate() : nullptr;
            if (respondsToSelector(delegate.get(), sel::reportButtonDidTouched))
                send(delegate, sel::reportButtonDidTouched, button, button->m_userDescription);
        });
}

void LMReportAdViewRoundedButton::makeActive()
{
    setHighlighted(false);
    setSelected(false);
    setTitleColor(UIColor::whiteColor());
    setBackgroundColor(brandColor());
}

// The resting look. Called by nobody: kept, a chosen button stays lit until its screen goes.
void LMReportAdViewRoundedButton::makeInactive()
{
    setTitleColor(brandColor());
    setBackgroundColor(UIColor::whiteColor());
}

} // namespace lumora
