#include "processing/openURLSwizzler.h"

#include "interception/Swizzling.h"
#include "platform/foundation/NSString.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "platform/storekit/SKStoreProductViewController.h"
#include "platform/uikit/UIApplication.h"
#include "processing/StoreLinks.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

ProcessLocal<AtomicProperty<std::optional<std::string>>> s_lastAppStoreId;

Slot<bool(id, SEL, const Value&)> lumora_sesionTest3IMP;
bool lumora_sesionTest3(id self, SEL _cmd, const Value& url)
{
    return lumora_sesionTest3IMP(self, _cmd, url);
}

using OpenCompletion = std::function<void(bool)>;
Slot<void(id, SEL, const Value&, const NSDictionary&, const OpenCompletion&)> lumora_sesionTest3pIMP;
void lumora_sesionTest3p(
    id self, SEL _cmd, const Value& url, const NSDictionary& options, const OpenCompletion& completion)
{
    lumora_sesionTest3pIMP(self, _cmd, url, options, completion);
}

Slot<void(id, SEL, const NSDictionary&, const SKStoreProductCompletion&)> lumora_sesionTest4IMP;
void lumora_sesionTest4(
    id self, SEL _cmd, const NSDictionary& parameters, const SKStoreProductCompletion& completion)
{
    guardedHook(self, [&] {
        const Value& product = parameters[SKStoreProductParameterITunesItemIdentifier];
        if (product.isString() || product.isNumber())
            s_lastAppStoreId.get().set(product.description());
    });
    lumora_sesionTest4IMP(self, _cmd, parameters, completion);
}

Slot<void(id, SEL, bool)> lumora_sesionTest5IMP;
void lumora_sesionTest5(id self, SEL _cmd, bool animated)
{
    // Kept: the address of the sheet's product is made and goes nowhere.
    guardedHook(self, [] { openURLSwizzler::lastAppStoreAddress(); });
    lumora_sesionTest5IMP(self, _cmd, animated);
}

} // namespace

const ClassDescription& openURLSwizzler::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<openURLSwizzler, NSObject>("openURLSwizzler")
            .classMethod<&openURLSwizzler::swizzleMethods>(sel::swizzleMethods)
            .classMethod<&openURLSwizzler::customURLOpening>("customURLOpening:"_sel));
    return description;
}
static const RegisteredClass registered { &openURLSwizzler::classDescription };

void openURLSwizzler::swizzleMethods()
{
    installHooks({
        { "UIApplication", "openURL:", &lumora_sesionTest3, &lumora_sesionTest3IMP },
        { "UIApplication", "openURL:options:completionHandler:", &lumora_sesionTest3p,
            &lumora_sesionTest3pIMP },
        { "SKStoreProductViewController", "loadProductWithParameters:completionBlock:", &lumora_sesionTest4,
            &lumora_sesionTest4IMP },
        { "SKStoreProductViewController", "viewWillAppear:", &lumora_sesionTest5, &lumora_sesionTest5IMP },
    });
}

void openURLSwizzler::customURLOpening(const Value&) { }

std::optional<std::string> openURLSwizzler::lastAppStoreId() { return s_lastAppStoreId.get().get(); }

std::optional<std::string> openURLSwizzler::lastAppStoreAddress()
{
    const auto product = lastAppStoreId();
    if (!product)
        return std::nullopt;
    return stringWithFormat("https://%@/app/id%@", { storeHost, *product });
}

} // namespace lumora
