#include "interception/TDGoogleV42Swizzler.h"

#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "interception/TDMetaclass_AdMobV42.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/uikit/UIView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id)> bannerShowIMP;

// AdMob's own classes carry its prefix; Ad Manager's subclasses do not.
Class metaclassForReceiver(const Object* receiver)
{
    const bool isAdMob = object_getClassName(receiver).find("GAD") != std::string::npos;
    return isAdMob ? classOf<TDMetaclass_AdMobV42_banner>() : classOf<TDMetaclass_DFPV42_banner>();
}

void lumora_bannerShowOctagon(id self, SEL _cmd, id ad)
{
    guardedHook(self, [&] {
        const Value support
            = getValueFromObject(self, { "_bannerView._bannerAd._adView._view._view._viewToSwap" });
        const Value webView
            = getValueFromObject(self, { "_bannerView._bannerAd._adView._view._view._viewToSwap._webView" });
        if (const std::shared_ptr<Object> view = webView.object()) {
            LMReportButtonHelper::addReportButtonToView(view.get(), nullptr,
                { { "metaclass", retain(metaclassForReceiver(self)) }, { "supportview", support } });
        }
    });
    bannerShowIMP(self, _cmd, ad);
}

void swizzleMethods()
{
    installHooks({ { "GADBannerView", "adViewDidReceiveAd:", &lumora_bannerShowOctagon, &bannerShowIMP } });
}

} // namespace

const ClassDescription& TDGoogleV42Swizzler::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDGoogleV42Swizzler, NSObject>("TDGoogleV42Swizzler")
                                    .classMethod<&swizzleMethods>(sel::swizzleMethods));
    return description;
}
static const RegisteredClass registered { &TDGoogleV42Swizzler::classDescription };

} // namespace lumora
