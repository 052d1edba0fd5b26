#include "simulator/networks/MoPubStandIn.h"

#include "simulator/networks/StandIn.h"

namespace lumora {

namespace {

const char sharedKey = 0;

// +[MoPub sharedInstance], the object tied to its class.
id sharedInstance(id self, SEL)
{
    if (objc_getAssociatedObject(*self, &sharedKey).isNothing()) {
        auto instance = alloc<Object>(static_cast<Class>(self));
        objc_setAssociatedObject(*self, &sharedKey, instance);
    }
    return objc_getAssociatedObject(*self, &sharedKey).object().get();
}

std::string sdkVersion(id, SEL) { return MoPubStandIn::version; }

// -[MPAdView managerDidLoadAd:]: the new content takes the place of the old.
void managerDidLoadAd(id self, SEL, id content)
{
    auto& banner = static_cast<UIView&>(*self);
    for (const auto& old : banner.subviews())
        old->removeFromSuperview();
    banner.addSubview(retain(as<UIView>(content)));
}

} // namespace

void MoPubStandIn::install()
{
    ClassBuilder("MoPub", classOf<NSObject>())
        .classMethod("sharedInstance"_sel, &sharedInstance)
        .method("version"_sel, &sdkVersion);
    ClassBuilder("MPAdView", classOf<UIView>()).method("managerDidLoadAd:"_sel, &managerDidLoadAd);
    ClassBuilder("MPClosableView", classOf<UIView>());
}

std::shared_ptr<UIView> MoPubStandIn::makeBanner(CGSize size)
{
    auto banner = alloc<UIView>(NSClassFromString("MPAdView"));
    send(banner, sel::initWithFrame, CGRect { {}, size });
    return banner;
}

void MoPubStandIn::load(UIView& banner, const Creative& creative)
{
    auto configuration = standInObject("MPAdConfiguration",
        { { "_dspCreativeId", creative.dspCreativeId.empty() ? Value {} : Value { creative.dspCreativeId } },
            { "_creativeId", creative.creativeId.empty() ? Value {} : Value { creative.creativeId } } });
    auto controller = standInObject("MRController", { { "_configuration", configuration } });
    auto closable = alloc<UIView>(NSClassFromString("MPClosableView"));
    send(closable, sel::initWithFrame, CGRect { {}, creative.size });
    closable->addSubview(creativeView(creative.html, creative.size));
    // The controller belongs to the banner, and is the closable view's delegate.
    object_setInstanceVariable(banner, "_adController", controller);
    object_setInstanceVariable(*closable, "_delegate", Value::weak(controller));
    send<void>(&banner, "managerDidLoadAd:"_sel, static_cast<id>(closable.get()));
}

} // namespace lumora
