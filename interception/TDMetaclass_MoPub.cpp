#include "interception/TDMetaclass_MoPub.h"

#include "interception/Extraction.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/uikit/UIView.h"

namespace lumora {

namespace {

std::string sdkName() { return "MoPub"; }
std::string version() { return versionFromInstance("MoPub", "sharedInstance", "version"); }
std::string banner() { return "banner"; }
int64_t formatId() { return 0; }

std::string creativeId(id adView)
{
    const auto* view = as<UIView>(adView);
    return textFromObject(view ? view->superview() : nullptr,
        { "_delegate._configuration._dspCreativeId", "_delegate._delegate._adConfiguration.dspCreativeId",
            "_delegate._configuration._creativeId", "_delegate._delegate._adConfiguration.creativeId" });
}

} // namespace

const ClassDescription& TDMetaclass_MoPub_banner::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<TDMetaclass_MoPub_banner, NSObject>("TDMetaclass_MoPub_banner")
            .protocol(TDMetadataClassProtocol)
            .classMethod<&sdkName>(sel::getSDKName)
            .classMethod<&version>(sel::getVersion)
            .classMethod<&banner>(sel::adType)
            .classMethod<&creativeId>(sel::getCreativeIDWithObject)
            .classMethod<&formatId>(sel::getAdFormatId));
    return description;
}
static const RegisteredClass registered { &TDMetaclass_MoPub_banner::classDescription };

} // namespace lumora
