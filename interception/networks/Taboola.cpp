// Taboola: native widgets.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id, const std::string&, double)> didFinishIMP;
void lumora_taboola_didFinish(id self, SEL _cmd, id webView, const std::string& placement, double height)
{
    guardedHook(self, [&] { attachReportButtonInside(self, "TDMetaclass_Taboola_native"); });
    didFinishIMP(self, _cmd, webView, placement, height);
}

const Network& network()
{
    static const auto& taboola = *new Network {
        .swizzler = "TDTaboolaSwizzler",
        .hooks = {
            { "TaboolaView", "webView:didLoadPlacementNamed:withHeight:", &lumora_taboola_didFinish,
                &didFinishIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Taboola_native",
                .sdkName = "Taboola",
                .adType = "native",
                .version = Version { .classes = { "TaboolaView" }, .selector = "version" },
            },
        },
    };
    return taboola;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
