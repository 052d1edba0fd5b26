#include "core/TDConfig.h"

#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"

namespace lumora {

const ClassDescription& TDConfig::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDConfig, NSObject>("TDConfig")
                                    .method<&TDConfig::initWithCoder>(sel::initWithCoder)
                                    .method<&TDConfig::encodeWithCoder>(sel::encodeWithCoder));
    return description;
}
static const RegisteredClass registered { &TDConfig::classDescription };

namespace {

std::optional<std::vector<std::string>> stringsOf(const Value& value)
{
    const NSArray* elements = value.array();
    if (!elements)
        return std::nullopt;
    std::vector<std::string> strings;
    for (const Value& element : *elements) {
        if (const std::string* text = element.string())
            strings.push_back(*text);
    }
    return strings;
}

Value buttonTapOf(const NSDictionary* dictionary)
{
    constexpr int singleTap = 1;
    constexpr int doubleTap = 2;
    const Value* given = dictionary ? dictionary->find("buttonTap") : nullptr;
    // "double", like any other word but "single", means two taps.
    if (given && given->isString())
        return *given->string() == "single" ? singleTap : doubleTap;
    return TDConfig::getNSNumberFromDict(dictionary, "buttonTap", doubleTap);
}

} // namespace

Value TDConfig::getNSNumberFromDict(
    const NSDictionary* dictionary, std::string_view andKey, const Value& andDefaultValue)
{
    constexpr int missing = -1;
    const Value* found = dictionary ? dictionary->find(andKey) : nullptr;
    const bool nothingFound = !found || found->isNothing();
    if (!dictionary || andDefaultValue.isNothing())
        return nothingFound && !andDefaultValue.isNothing() ? andDefaultValue : missing;
    if (nothingFound)
        return andDefaultValue;
    if (found->isNumber())
        return *found;
    if (const std::string* text = found->string())
        return numberFromText(*text).value_or(andDefaultValue);
    return andDefaultValue;
}

std::shared_ptr<TDConfig> TDConfig::initWithDictionary(const NSDictionary* dictionary)
{
    auto number = [&](std::string_view key, int byDefault) {
        return getNSNumberFromDict(dictionary, key, byDefault);
    };
    std::shared_ptr<TDConfig> config = make<TDConfig>();
    config->m_active = number("active", 0);
    config->m_ttlConfig
        = timeIntervalSince1970Now() + static_cast<double>(number("ttlConfig", 300).integerValue());
    config->m_reportHTML = number("reportHTML", 0);
    config->m_inspectHTML = number("inspectHTML", 0);
    config->m_eventHTML = number("eventHTML", 0);
    config->m_retryAfter = number("retryAfter", 300);
    config->m_retryLimit = number("retryLimit", 5);
    config->m_buttonTap = buttonTapOf(dictionary);
    config->m_hideButton = number("hideButton", 0);
    config->m_sendingHTML = number("sendingHTML", -1);
    if (dictionary)
        config->m_sdks = stringsOf((*dictionary)["sdks"]);
    return config;
}

bool TDConfig::isFresh() const { return m_ttlConfig.doubleValue() > timeIntervalSince1970Now(); }

id TDConfig::initWithCoder(Object* coder)
{
    if (!as<NSCoder>(coder))
        return this;
    auto& archive = static_cast<NSCoder&>(*coder);
    m_active = archive.decodeObject("active");
    m_ttlConfig = archive.decodeObject("ttlConfig");
    m_buttonTap = archive.decodeObject("buttonTap");
    m_reportHTML = archive.decodeObject("reportHTML");
    m_inspectHTML = archive.decodeObject("inspectHTML");
    m_eventHTML = archive.decodeObject("eventHTML");
    m_retryAfter = archive.decodeObject("retryAfter");
    m_retryLimit = archive.decodeObject("retryLimit");
    m_hideButton = archive.decodeObject("hideButton");
    m_sendingHTML = archive.decodeObject("sendingHTML");
    m_sdks = stringsOf(archive.decodeObject("sdks"));
    return this;
}

void TDConfig::encodeWithCoder(Object* coder)
{
    if (!as<NSCoder>(coder))
        return;
    auto& archive = static_cast<NSCoder&>(*coder);
    archive.encodeObject(m_active, "active");
    archive.encodeObject(m_ttlConfig, "ttlConfig");
    archive.encodeObject(m_buttonTap, "buttonTap");
    archive.encodeObject(m_reportHTML, "reportHTML");
    archive.encodeObject(m_inspectHTML, "inspectHTML");
    archive.encodeObject(m_eventHTML, "eventHTML");
    archive.encodeObject(m_retryAfter, "retryAfter");
    archive.encodeObject(m_retryLimit, "retryLimit");
    archive.encodeObject(m_hideButton, "hideButton");
    archive.encodeObject(m_sendingHTML, "sendingHTML");
    archive.encodeObject(m_sdks ? Value { NSArray(m_sdks->begin(), m_sdks->end()) } : Value {}, "sdks");
}

} // namespace lumora
