// A host that knows nothing but the public headers.

#include <cstdio>
#include <cstring>
#include <lumora/LMLog.h>
#include <lumora/LMLogManager.h>
#include <lumora/LMReportButtonHelper.h>
#include <lumora/Lumora.h>
#include <lumora/ReportButtonDelegate.h>
#include <memory>

namespace {

class Listener final : public lumora::ReportButtonDelegate {
public:
    void reportButtonWasClickedInView(lumora::UIView&, const lumora::NSDictionary&) override { }
};

int fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    return 1;
}

} // namespace

int main()
{
    if (std::strcmp(LumoraVersionString, "@(#)PROGRAM:Lumora  PROJECT:Lumora-3\n") != 0
        || LumoraVersionNumber != 3.0)
        return fail("the version constants are wrong");
    lumora::LMLog::setLogLevel(15);
    lumora::LMLogManager::sharedInstance().setLoggingTTL(3600);
    if (lumora::LMLogManager::sharedInstance().loggingTTL() != 3600)
        return fail("the logging time to live was not kept");
    lumora::Lumora::initiateTrackerWithKey("too short");
    lumora::Lumora::initiateTrackerWithKey("a-key-of-a-host-that-is-long-enough");
    const auto listener = lumora::make<Listener>();
    lumora::LMReportButtonHelper::addReportButtonToView(nullptr, listener.get());
    if (lumora::LMReportButtonHelper::isReportButtonInSubviewsOfView(nullptr))
        return fail("nil has no button");
    std::printf("host is content\n");
    return 0;
}
