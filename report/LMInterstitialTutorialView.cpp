#include "report/LMInterstitialTutorialView.h"

#include "report/ReportProtocols.h"
#include "support/Guarded.h"

namespace lumora {

namespace {
constinit const TypedSelector<void(id)> continueActionSelector { "continueButtonWasPressed:" };
constexpr double fadeTime = 0.7;
} // namespace

const ClassDescription& LMInterstitialTutorialView::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMInterstitialTutorialView, UIView>("LMInterstitialTutorialView")
            .method<&LMInterstitialTutorialView::initWithCoder>(sel::initWithCoder)
            .method<&LMInterstitialTutorialView::continueButtonWasPressed>(continueActionSelector)
            .variable<&LMInterstitialTutorialView::m_continueButton>("continueButton"));
    return description;
}
static const RegisteredClass registered { &LMInterstitialTutorialView::classDescription };

id LMInterstitialTutorialView::initWithCoder(Object* coder)
{
    return sendSuper(classOf<LMInterstitialTutorialView>(), this, sel::initWithCoder, coder);
}

void LMInterstitialTutorialView::continueButtonWasPressed(Object*)
{
    const auto delegate = m_delegate.lock();
    // A delegate that raises must not leave the tutorial over the ad.
    if (respondsToSelector(delegate.get(), sel::continueButtonWasPressed))
        guarded([&] { send(delegate, sel::continueButtonWasPressed); });
    UIView::animateWithDuration(
        fadeTime, [&] { setAlpha(0); },
        [tutorial = weakly(this)](bool) { send(tutorial.lock(), sel::removeFromSuperview); });
}

} // namespace lumora
