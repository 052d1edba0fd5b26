#include "processing/UIAlertViewSwizzling.h"

#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIAlertView.h"
#include "support/Guarded.h"

#include <algorithm>

namespace lumora {

namespace {

ProcessLocal<NSArray> s_alertsToShow;

// The message answers a copy, as lists are values here; to add to the list, call the function.
Value copyOfAlertsToShow() { return Value { alertsToShow() }; }

bool isToShow(const Value& alert)
{
    const NSArray& alerts = alertsToShow();
    return std::find(alerts.begin(), alerts.end(), alert) != alerts.end();
}

bool isKeptFromShowing(id self, const Value& alert)
{
    if (!isToShow(alert))
        return false;
    const std::string title = textFromObject(self, { "title" });
    return isToShow(Value { NSDictionary { { title, textFromObject(self, { "message" }) } } });
}

Slot<void(id, SEL)> showIMP;
void lumora_show(id self, SEL _cmd)
{
    bool isKept = false;
    guardedHook(self, [&] { isKept = isKeptFromShowing(self, Value { retain(self) }); });
    guardedHook(self, [&] { std::erase(alertsToShow(), Value { retain(self) }); });
    if (!isKept)
        showIMP(self, _cmd);
}

void swizzleMethods() { installHooks({ { "UIAlertView", "show", &lumora_show, &showIMP } }); }

// UIAlertView(Swizzling)
ClassDescription alertViewCategory()
{
    ClassDescription category;
    category.classMethod<&copyOfAlertsToShow>("alertsToShow"_sel)
        .classMethod<&swizzleMethods>(sel::swizzleMethods);
    return category;
}
const RegisteredCategory registered { &UIAlertView::classDescription, &alertViewCategory };

} // namespace

NSArray& alertsToShow() { return s_alertsToShow.get(); }

} // namespace lumora
