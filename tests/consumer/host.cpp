// A host that knows nothing but the public headers.

#include <cstdio>
#include <cstring>
#include <lumora/LMLog.h>
#include <lumora/LMLogManager.h>
#include <lumora/LMReportButtonHelper.h>
#include <lumora/Lumora.h>
#include <lumora/ReportButtonDelegate.h>
#include <lumora/Swizzling.h>
#include <memory>
#include <platform/uikit/UIView.h>
#include <stdexcept>

namespace {

using namespace lumora;

class Listener final : public ReportButtonDelegate {
public:
    void reportButtonWasClickedInView(UIView&, const NSDictionary&) override { }
};

// A view of the host's own, with a method that is hooked and an accessor that fails.
class HostView final : public UIView {
public:
    static const ClassDescription& classDescription()
    {
        static const auto description = ClassDescription::of<HostView, UIView>("HostView")
                                            .method<&HostView::loaded>("loaded:"_sel)
                                            .method<&HostView::broken>("broken"_sel)
                                            .classMethod<&HostView::version>("version"_sel);
        return description;
    }
    int64_t loaded(int64_t ads) { return ads; }
    int64_t broken() { throw std::runtime_error("the host's own"); }
    static std::string version() { return "1"; }
};
const RegisteredClass registered { &HostView::classDescription };

Slot<int64_t(id, SEL, int64_t)> loadedIMP;
int64_t host_loaded(id self, SEL _cmd, int64_t ads) { return 10 + loadedIMP(self, _cmd, ads); }
Slot<std::string(id, SEL)> versionIMP;
std::string host_version(id self, SEL _cmd) { return versionIMP(self, _cmd) + " hooked"; }

template <typename Exception, typename F> bool raises(const F& function)
{
    try {
        function();
    } catch (const Exception&) {
        return true;
    }
    return false;
}

int fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    return 1;
}

const char* methodsAreReplaced()
{
    const Class cls = NSClassFromString("HostView");
    const Class derived = ClassBuilder("DerivedHostView", cls).build();
    if (class_swizzleMethodAndStore(derived, "loaded:"_sel, &host_loaded, &loadedIMP) != 1
        || class_swizzleClassMethodAndStore(cls, "version"_sel, &host_version, &versionIMP) != 1
        || class_swizzleMethodAndStore(cls, "missing"_sel, &host_loaded, nullptr) != 0)
        return "the primitives answer wrongly";
    if (send<int64_t>(class_createInstance(derived).get(), "loaded:"_sel, int64_t { 1 }) != 11
        || send<int64_t>(class_createInstance(cls).get(), "loaded:"_sel, int64_t { 1 }) != 1
        || send<std::string>(cls, "version"_sel) != "1 hooked")
        return "the hooks are not in place";
    DumpObjcMethods(class_createInstance(derived).get());
    send<void>(NSClassFromString("LMHelper"), "getMethodsFromClass:"_sel, std::string { "HostView" });
    return nullptr;
}

const char* typesAndExceptionsCrossTheBorder()
{
    const auto view = class_createInstance(NSClassFromString("UIView"));
    const auto own = class_createInstance(NSClassFromString("HostView"));
    if (!as<UIView>(view.get()) || as<HostView>(view.get()) || !as<HostView>(own.get()))
        return "an object lost its type";
    if (!raises<NSException>([&] { send<void>(own.get(), "missing"_sel); })
        || !raises<NSException>([&] { own->valueForKey("missing"); }))
        return "the library's exception did not arrive";
    if (!raises<std::runtime_error>([&] { own->valueForKey("broken"); }))
        return "the host's exception did not pass through the library";
    return nullptr;
}

} // namespace

int main()
{
    if (std::strcmp(LumoraVersionString, "@(#)PROGRAM:Lumora  PROJECT:Lumora-3\n") != 0
        || LumoraVersionNumber != 3.0)
        return fail("the version constants are wrong");
    LMLog::setLogLevel(15);
    LMLogManager::sharedInstance().setLoggingTTL(3600);
    if (LMLogManager::sharedInstance().loggingTTL() != 3600)
        return fail("the logging time to live was not kept");
    Lumora::initiateTrackerWithKey("too short");
    Lumora::initiateTrackerWithKey("a-key-of-a-host-that-is-long-enough");
    const auto listener = make<Listener>();
    LMReportButtonHelper::addReportButtonToView(nullptr, listener.get());
    if (LMReportButtonHelper::isReportButtonInSubviewsOfView(nullptr))
        return fail("nil has no button");
    for (const char* problem : { methodsAreReplaced(), typesAndExceptionsCrossTheBorder() }) {
        if (problem)
            return fail(problem);
    }
    std::printf("host is content\n");
    return 0;
}
