#include "interception/TDMetaclass_AdMobV42.h"

#include "interception/Extraction.h"
#include "interception/TDMetadataClassProtocol.h"

#include <algorithm>

namespace lumora {

namespace {

constexpr const char* amazonKeys[] = { "amzn_b", "amzn_h", "amznp", "amznrdr", "amznslots", "dc" };

std::string adMob() { return "AdMob"; }
std::string adManager() { return "DFP"; }
std::string version() { return versionFromClass({ "GADORequest", "GADRequest" }, "sdkVersion"); }
std::string banner() { return "banner"; }
int64_t formatId() { return 0; }

std::string creativeId(id, id supportObject)
{
    const std::string debugText
        = textFromObject(supportObject, { "_delegate._clickProtection._debugDialogString" });
    return digitsAfterPrefix(debugText, { "0=", "crid:" }).value_or("");
}

} // namespace

Value TDMetaclass_AdMobV42_banner::checkObjectForAmazon(id object)
{
    const Value targeting = getValueFromObject(object,
        { "_slot._loadingRequest._customTargeting", "_lastRequest._customTargeting",
            "_refreshTargeting._customTargeting" });
    const NSDictionary* entries = targeting.dictionary();
    if (!entries || !std::all_of(std::begin(amazonKeys), std::end(amazonKeys), [&](const char* key) {
            return entries->find(key);
        }))
        return {};
    return NSDictionary { { "DTB(Amazon)", versionFromClass({ "DTBAds" }, "version", "") } };
}

const ClassDescription& TDMetaclass_AdMobV42_banner::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<TDMetaclass_AdMobV42_banner, NSObject>("TDMetaclass_AdMobV42_banner")
            .protocol(TDMetadataClassProtocol)
            .classMethod<&adMob>(sel::getSDKName)
            .classMethod<&version>(sel::getVersion)
            .classMethod<&banner>(sel::adType)
            .classMethod<&creativeId>(sel::getCreativeIDWithObject_withSupportObject)
            .classMethod<&checkObjectForAmazon>(sel::getOtherInfoForView)
            .classMethod<&formatId>(sel::getAdFormatId));
    return description;
}
static const RegisteredClass registeredAdMob { &TDMetaclass_AdMobV42_banner::classDescription };

const ClassDescription& TDMetaclass_DFPV42_banner::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDMetaclass_DFPV42_banner, TDMetaclass_AdMobV42_banner>(
            "TDMetaclass_DFPV42_banner")
                                    .classMethod<&adManager>(sel::getSDKName)
                                    .classMethod<&banner>(sel::adType));
    return description;
}
static const RegisteredClass registeredAdManager { &TDMetaclass_DFPV42_banner::classDescription };

} // namespace lumora
