#include "service/TDEventModel.h"

#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"

namespace lumora {

const ClassDescription& TDEventModel::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDEventModel, NSObject>("TDEventModel")
                                    .method<&TDEventModel::init>(sel::init)
                                    .method<&TDEventModel::initWithCoder>(sel::initWithCoder)
                                    .method<&TDEventModel::encodeWithCoder>(sel::encodeWithCoder));
    return description;
}
static const RegisteredClass registered { &TDEventModel::classDescription };

/// Objects are described here and now: archiving an event later asks nobody else.
static Value plain(const Value& value)
{
    if (value.object())
        return value.description();
    if (const NSArray* elements = value.array()) {
        NSArray plainElements;
        for (const Value& element : *elements)
            plainElements.push_back(plain(element));
        return plainElements;
    }
    const NSDictionary* dictionary = value.dictionary();
    if (!dictionary)
        return value;
    std::vector<NSDictionary::Entry> entries;
    for (const auto& [key, element] : *dictionary)
        entries.emplace_back(key, plain(element));
    return NSDictionary::withDistinctKeys(std::move(entries));
}

static Value boxed(const TDEventModel::Text& text) { return text ? Value { *text } : Value {}; }

id TDEventModel::init()
{
    for (AtomicProperty<Text>* property : { &m_placementId, &m_sdk, &m_adFormat, &m_sdkVersion, &m_type,
             &m_screenshot, &m_html, &m_video, &m_redirectUrl, &m_adId })
        property->set("");
    setCreativeId("-1");
    setAdType("html");
    setAdditionalInfo(NSDictionary {});
    setTs(saturatingInteger(timeIntervalSince1970Now()));
    setEventId(newUUIDString());
    return this;
}

id TDEventModel::initWithCoder(Object* coder)
{
    if (!as<NSCoder>(coder))
        return this;
    auto& archive = static_cast<NSCoder&>(*coder);
    auto text = [&](std::string_view key) {
        const Value value = archive.decodeObject(key);
        return value.isString() ? Text { *value.string() } : std::nullopt;
    };
    setCreativeId(text("creativeId"));
    setPlacementId(text("placementId"));
    setSdk(text("sdk"));
    setAdFormat(text("adFormat"));
    setAdType(text("adType"));
    setSdkVersion(text("sdkVersion"));
    setType(text("type"));
    setScreenshot(text("screenshot"));
    setHtml(text("html"));
    setVideo(text("video"));
    setRedirectUrl(text("redirectUrl"));
    setTs(archive.decodeObject("ts"));
    const Value info = archive.decodeObject("additionalInfo");
    setAdditionalInfo(info.isDictionary() ? std::optional(*info.dictionary()) : std::nullopt);
    setEventId(text("eventId"));
    setAdId(text("adId"));
    return this;
}

void TDEventModel::encodeWithCoder(Object* coder)
{
    if (!as<NSCoder>(coder))
        return;
    auto& archive = static_cast<NSCoder&>(*coder);
    archive.encodeObject(boxed(creativeId()), "creativeId");
    archive.encodeObject(boxed(placementId()), "placementId");
    archive.encodeObject(boxed(sdk()), "sdk");
    archive.encodeObject(boxed(adFormat()), "adFormat");
    archive.encodeObject(boxed(adType()), "adType");
    archive.encodeObject(boxed(sdkVersion()), "sdkVersion");
    archive.encodeObject(boxed(type()), "type");
    archive.encodeObject(boxed(screenshot()), "screenshot");
    archive.encodeObject(boxed(html()), "html");
    archive.encodeObject(boxed(video()), "video");
    archive.encodeObject(boxed(redirectUrl()), "redirectUrl");
    archive.encodeObject(ts(), "ts");
    const std::optional<NSDictionary> info = additionalInfo();
    archive.encodeObject(info ? Value { *info } : Value {}, "additionalInfo");
    archive.encodeObject(boxed(eventId()), "eventId");
    archive.encodeObject(boxed(adId()), "adId");
}

void TDEventModel::setAdditionalInfo(const std::optional<NSDictionary>& value)
{
    m_additionalInfo.set(value ? std::optional(*plain(*value).dictionary()) : std::nullopt);
}

void TDEventModel::addAdditionalInfo(const NSDictionary& entries)
{
    const Value added = plain(entries);
    m_additionalInfo.update([&](std::optional<NSDictionary>& info) {
        if (info)
            info->addEntriesFrom(*added.dictionary());
    });
}

std::optional<NSDictionary> TDEventModel::getEventAsMutableDictionary() const
{
    NSDictionary metadata = additionalInfo().value_or(NSDictionary {});
    const Value placement = boxed(placementId());
    metadata.set("placementId", placement);
    NSDictionary event {
        { "creativeId", boxed(creativeId()) },
        { "metadata", metadata },
        { "sdk", boxed(sdk()) },
        { "adFormat", boxed(adFormat()) },
        { "adType", boxed(adType()) },
        { "sdkVersion", boxed(sdkVersion()) },
        { "type", boxed(type()) },
        { "screenshot", boxed(screenshot()) },
        { "html", boxed(html()) },
        { "video", boxed(video()) },
        { "redirectUrl", boxed(redirectUrl()) },
        { "ts", ts() },
        { "adId", boxed(adId()) },
    };
    for (const auto& [key, value] : event) {
        if (value.isNothing())
            return std::nullopt;
    }
    return placement.isNothing() ? std::nullopt : std::optional(std::move(event));
}

bool TDEventModel::isEqual(const Object* other) const
{
    const auto* event = dynamic_cast<const TDEventModel*>(other);
    if (!event || event == this)
        return event != nullptr;
    // What is unset equals nothing.
    return eventId() && !ts().isNothing() && event->eventId() == eventId() && event->ts() == ts();
}

size_t TDEventModel::hash() const
{
    // Numbers are equal by value, whatever their kind.
    const Value time = ts();
    const size_t hashOfTime = time.isNumber() ? std::hash<double> {}(time.doubleValue())
                                              : std::hash<std::string> {}(time.description());
    return hashOfTime ^ std::hash<std::string> {}(eventId().value_or(""));
}

} // namespace lumora
