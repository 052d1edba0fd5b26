#include "interception/TDMoPubSwizzler.h"

#include "interception/Swizzling.h"
#include "interception/TDMetaclass_MoPub.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/webkit/WKWebView.h"
#include "support/Guarded.h"
#include "support/UIViewExtensions.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id)> bannerDidLoadIMP;

// The loaded view arrives before the network puts it on screen; the button goes on the web view inside, or on
// the view itself when the creative is native.
void lumora_banner_didLoad(id self, SEL _cmd, id adView)
{
    guardedHook(self, [&] {
        const auto view = retain(as<UIView>(adView));
        if (!view)
            return;
        const std::shared_ptr<WKWebView> webView = getWebView(*view);
        LMReportButtonHelper::addReportButtonToView(webView ? webView.get() : view.get(), nullptr,
            { { "metaclass", retain(classOf<TDMetaclass_MoPub_banner>()) } });
    });
    bannerDidLoadIMP(self, _cmd, adView);
}

void swizzleMethods()
{
    installHooks({ { "MPAdView", "managerDidLoadAd:", &lumora_banner_didLoad, &bannerDidLoadIMP } });
}

} // namespace

const ClassDescription& TDMoPubSwizzler::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDMoPubSwizzler, NSObject>("TDMoPubSwizzler")
                                    .classMethod<&swizzleMethods>(sel::swizzleMethods));
    return description;
}
static const RegisteredClass registered { &TDMoPubSwizzler::classDescription };

} // namespace lumora
