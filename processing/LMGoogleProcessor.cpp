#include "processing/LMGoogleProcessor.h"

#include "lumora/LMLog.h"
#include "platform/foundation/NSRegularExpression.h"
#include "platform/uikit/UIView.h"
#include "processing/CustomTargetingFactory.h"
#include "processing/LMGoogleCreativeIdHelper.h"

namespace lumora {

/// Where a class of the family looks first.
enum class GoogleSource {
    /// The headers behind the delegate of the view above the ad object.
    Superview,
    /// Those of the support view's ad.
    SupportView,
    /// Those of a native ad.
    NativeAd,
    /// A text for debugging.
    DebugText,
};

struct GoogleProcessorClass {
    ProcessorClass processor;
    GoogleSource source;
    /// Begins its messages.
    const char* tag;
    /// What the network is called in them.
    const char* says { "Admob" };
    /// What stands before and after the creative in a header.
    std::string_view needle { "crid0:" };
    std::string_view suffix { ",agcid" };
};

namespace {

constexpr const char* interstitialController = "GADInterstitialViewController";

ProcessorClass banner(const char* name, const char* sdkName, const char* metadataClass)
{
    return {
        .name = name, .sdkName = sdkName, .format = LMAdFormat::Banner, .metadataClasses = { metadataClass }
    };
}
ProcessorClass interstitial(const char* name, const char* sdkName, const char* metadataClass)
{
    return { .name = name,
        .sdkName = sdkName,
        .format = LMAdFormat::Interstitial,
        .metadataClasses = { metadataClass },
        .container = interstitialController };
}

// Those after the third have no row in the factory, which does not tell the SDK's releases apart.
const std::vector<GoogleProcessorClass>& family()
{
    static const auto& all = *new std::vector<GoogleProcessorClass> {
        {
            .processor = banner("LMGADViewProcessor", "AdMob", "TDMetaclass_AdMobV42_banner"),
            .source = GoogleSource::Superview,
            .tag = "[LMGADViewProcessor]",
            .needle = "AdGroup%2BCreative%2BID%2B0%3D",
            .suffix = "%26",
        },
        {
            .processor = banner("LMDFPBannerProcessor", "DFP", "TDMetaclass_DFPV42_banner"),
            .source = GoogleSource::Superview,
            .tag = "[LMDFPBannerProcessor]",
            .says = "DFP",
        },
        {
            .processor
            = interstitial("LMGADInterstitialProcessor", "AdMob", "TDMetaclass_AdMobV42_interstitial"),
            .source = GoogleSource::Superview,
            .tag = "[LMGadInterstitialProcessor]",
        },
        {
            .processor = banner("LMAdmobNewBannerProcessor", "AdMob", "TDMetaclass_AdMobV42_banner"),
            .source = GoogleSource::SupportView,
            .tag = "[LMAdMobNewBannerProcessor]",
        },
        {
            .processor
            = interstitial("LMGoogleNewInterstitialProcessor", "AdMob", "TDMetaclass_AdMobV42_interstitial"),
            .source = GoogleSource::SupportView,
            .tag = "[LMGoogleNewInterstitialProcessor]",
        },
        {
            .processor = { .name = "LMAdMobNativeProcessor",
                .sdkName = "AdMob",
                .format = LMAdFormat::Native,
                .metadataClasses = { "TDMetaclass_AdMobV42_native" } },
            .source = GoogleSource::NativeAd,
            // The interstitial's, kept: whoever reads the logs knows it so.
            .tag = "[LMGoogleNewInterstitialProcessor]",
        },
        {
            .processor = banner("LM35AdmobBannerProcessor", "AdMob", "TDMetaclass_AdMobV42_banner"),
            .source = GoogleSource::DebugText,
            .tag = "[LM35AdmobBannerProcessor]",
        },
        {
            .processor = banner("LM35DFPBannerProcessor", "DFP", "TDMetaclass_DFPV42_banner"),
            .source = GoogleSource::DebugText,
            .tag = "[LM35DFPBannerProcessor]",
        },
        {
            .processor
            = interstitial("LM35AdmobInterstitialProcessor", "AdMob", "TDMetaclass_AdMobV42_interstitial"),
            .source = GoogleSource::DebugText,
            .tag = "[LM35AdmobInterstitialProcessor]",
        },
        {
            .processor
            = interstitial("LM35DFPInterstitialProcessor", "DFP", "TDMetaclass_DFPV42_interstitial"),
            .source = GoogleSource::DebugText,
            .tag = "[LM35DFPInterstitialProcessor]",
        },
    };
    return all;
}

const GoogleProcessorClass& inFamily(const ProcessorClass& row)
{
    for (const GoogleProcessorClass& each : family()) {
        if (&each.processor == &row)
            return each;
    }
    throw NSException(NSInvalidArgumentException, std::string { row.name } + " is none of Google's");
}

const RegisteredClasses registered { [] {
    std::vector<const ClassDescription*> descriptions;
    for (const GoogleProcessorClass& row : family())
        descriptions.push_back(new ClassDescription(
            LMNetworkProcessor::describe(row.processor, LMGoogleProcessor::classDescription())));
    return descriptions;
} };

void say(const GoogleProcessorClass& row, const std::string& message)
{
    LMLog::logErrorMessage(row.tag + ("[getCreativeID] " + message));
}

std::shared_ptr<const NSRegularExpression> expression(std::string_view pattern)
{
    return NSRegularExpression::regularExpressionWithPattern(pattern, true);
}

/// The digits in the first match of a pattern with one group.
std::optional<std::string> digitsIn(
    std::string_view text, const std::shared_ptr<const NSRegularExpression>& labelled)
{
    const auto match = labelled ? labelled->firstMatchInString(text) : std::nullopt;
    if (!match)
        return std::nullopt;
    LMLog::logDebug(match->groups[1].text);
    return match->groups[1].text;
}

/// What one header tells; unset to look at the next.
std::optional<std::string> creativeInHeader(const GoogleProcessorClass& row, const std::string& value)
{
    static const auto plain = expression("creatives=crid0:(\\d+)");
    static const auto encoded = expression("creatives%3Dcrid0%3A(\\d+)");
    const std::string network = row.says;

    say(row, "trying to find crid in header " + value);
    if (const size_t found = value.find(row.needle); found != std::string::npos) {
        const size_t start = found + row.needle.size();
        const size_t end = value.find(row.suffix, start);
        if (end != std::string::npos) {
            LMLog::logDebug(std::string_view { value }.substr(start, end - start));
            return value.substr(start, end - start);
        }
        say(row, "(suffix error) " + network + " no suffix in current header, trying regex");
        return "";
    }
    say(row, "(prefix error) " + network + " no prefix in current header, trying regex");
    if (!plain) {
        say(row, "(old pregex error) " + network + " changed response body, creative id is unknown");
        return std::nullopt;
    }
    for (const auto& labelled : { plain, encoded }) {
        if (auto creative = digitsIn(value, labelled))
            return creative;
    }
    say(row, "(new pregex error) " + network + " changed response body, creative id is unknown");
    LMLog::logDebug(value);
    return std::nullopt;
}

std::optional<std::string> creativeInHeaders(const GoogleProcessorClass& row, const Value& headers)
{
    if (!headers.dictionary()) {
        say(row, "(response error) " + std::string { row.says } + " no headers");
        return std::nullopt;
    }
    for (const auto& [name, value] : *headers.dictionary()) {
        if (!value.string())
            continue;
        if (auto creative = creativeInHeader(row, *value.string()))
            return creative;
    }
    return std::nullopt;
}

// Behind the second label comes some punctuation, bounded so as not to run on into another number.
std::optional<std::string> creativeInDebugText(const GoogleProcessorClass& row, const std::string& text)
{
    static const auto plain = expression("crid:(\\d+)");
    static const auto listed = expression("Creatives\\W{0,4}(\\d+)");
    if (text.empty())
        return std::nullopt;
    for (const auto& labelled : { plain, listed }) {
        if (!labelled)
            say(row, "regex create error");
        if (auto creative = digitsIn(text, labelled))
            return creative;
    }
    say(row, "regex can't find crid");
    return std::nullopt;
}

} // namespace

const ClassDescription& LMGoogleProcessor::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMGoogleProcessor, LMNetworkProcessor>("LMGoogleProcessor")
            .method<&LMGoogleProcessor::customTargeting>("customTargeting"_sel)
            .protocol(CustomTargetingProtocol));
    return description;
}

std::string LMGoogleProcessor::getCreativeID()
{
    if (lumoraCrId())
        return *lumoraCrId();
    const GoogleProcessorClass& row = inFamily(this->row());
    const auto ad = adObject();
    std::optional<std::string> creative;
    if (!ad)
        say(row, "no adObject!!!");
    else if (row.source == GoogleSource::DebugText)
        creative = creativeInDebugText(row, debugText());
    else
        creative = creativeInHeaders(row, headers(row));
    if (!creative)
        creative = LMGoogleCreativeIdHelper::getCreativeIdWithAdObject(ad.get());
    return creative.value_or("");
}

Value LMGoogleProcessor::headers(const GoogleProcessorClass& row)
{
    const auto ad = adObject();
    switch (row.source) {
    case GoogleSource::Superview:
        return getValueFromObject(retain(superviewOf(ad.get())).get(), "_delegate._ad._responseHeaders");
    case GoogleSource::SupportView:
        return getValueFromObject(supportView().get(), "_ad._responseHeaders");
    case GoogleSource::NativeAd:
        return readKeyPath(getAd(), "_responseHeaders");
    case GoogleSource::DebugText:
        break;
    }
    return {};
}

std::string LMGoogleProcessor::debugText()
{
    return textFromObject(supportView().get(), { "_delegate._clickProtection._debugDialogString" });
}

std::shared_ptr<Object> LMGoogleProcessor::supportView()
{
    auto ad = adObject();
    if (isKindOfClassNamed(ad.get(), "GADBannerView"))
        return getValueFromObject(ad.get(), "_bannerView._bannerAd._adView._view._view._viewToSwap").object();
    return isKindOfClassNamed(ad.get(), "GADInterstitial") ? ad : retain(superviewOf(ad.get()));
}

bool LMGoogleProcessor::shouldUseThisSupportVersion()
{
    return getValueFromObject(supportView().get(), "_ad._responseHeaders").isDictionary();
}

Value LMGoogleProcessor::getAd()
{
    return shouldUseThisSupportVersion() ? getValueFromObject(supportView().get(), "_ad")
                                         : send<Value>(NSClassFromString("TDGoogleV42Swizzler"), "getAd"_sel);
}

Value LMGoogleProcessor::customTargeting()
{
    return CustomTargetingFactory::getCustomTargetDictionaryWithObject(adObject().get());
}

} // namespace lumora
