#pragma once

#include "platform/objc/Object.h"
#include "platform/process/AtomicProperty.h"

#include <optional>
#include <string>

namespace lumora {

/// One noteworthy thing that happened to an ad. Any thread. A text that is unset, rather than empty, makes
/// the event unsendable; producers keep every one set. Two events are equal when event ID and time stamp are.
class TDEventModel final : public NSObject {
public:
    using Text = std::optional<std::string>;
    static const ClassDescription& classDescription();

    id init();
    id initWithCoder(Object* coder);
    void encodeWithCoder(Object* coder);

    Text creativeId() const { return m_creativeId.get(); }
    void setCreativeId(Text value) { m_creativeId.set(std::move(value)); }
    Text placementId() const { return m_placementId.get(); }
    void setPlacementId(Text value) { m_placementId.set(std::move(value)); }
    Text sdk() const { return m_sdk.get(); }
    void setSdk(Text value) { m_sdk.set(std::move(value)); }
    Text adFormat() const { return m_adFormat.get(); }
    void setAdFormat(Text value) { m_adFormat.set(std::move(value)); }
    Text adType() const { return m_adType.get(); }
    void setAdType(Text value) { m_adType.set(std::move(value)); }
    Text sdkVersion() const { return m_sdkVersion.get(); }
    void setSdkVersion(Text value) { m_sdkVersion.set(std::move(value)); }
    /// The kind of event, or the reason of a report.
    Text type() const { return m_type.get(); }
    void setType(Text value) { m_type.set(std::move(value)); }
    /// A PNG as base64.
    Text screenshot() const { return m_screenshot.get(); }
    void setScreenshot(Text value) { m_screenshot.set(std::move(value)); }
    Text html() const { return m_html.get(); }
    void setHtml(Text value) { m_html.set(std::move(value)); }
    Text video() const { return m_video.get(); }
    void setVideo(Text value) { m_video.set(std::move(value)); }
    Text redirectUrl() const { return m_redirectUrl.get(); }
    void setRedirectUrl(Text value) { m_redirectUrl.set(std::move(value)); }
    /// Whole seconds since 1970.
    Value ts() const { return m_ts.get(); }
    void setTs(Value value) { m_ts.set(std::move(value)); }
    Text eventId() const { return m_eventId.get(); }
    void setEventId(Text value) { m_eventId.set(std::move(value)); }
    Text adId() const { return m_adId.get(); }
    void setAdId(Text value) { m_adId.set(std::move(value)); }
    /// What goes out inside "metadata"; `placementId` overrides an entry of its name. An object inside is
    /// kept as its description.
    std::optional<NSDictionary> additionalInfo() const { return m_additionalInfo.get(); }
    void setAdditionalInfo(const std::optional<NSDictionary>& value);
    void addAdditionalInfo(const NSDictionary& entries);

    /// The 13 entries that are sent, a fresh copy each call; nothing when a property is unset.
    std::optional<NSDictionary> getEventAsMutableDictionary() const;

    bool isEqual(const Object* other) const override;
    /// Equal events have equal hashes.
    size_t hash() const;

private:
    AtomicProperty<Text> m_creativeId;
    AtomicProperty<Text> m_placementId;
    AtomicProperty<Text> m_sdk;
    AtomicProperty<Text> m_adFormat;
    AtomicProperty<Text> m_adType;
    AtomicProperty<Text> m_sdkVersion;
    AtomicProperty<Text> m_type;
    AtomicProperty<Text> m_screenshot;
    AtomicProperty<Text> m_html;
    AtomicProperty<Text> m_video;
    AtomicProperty<Text> m_redirectUrl;
    AtomicProperty<Value> m_ts;
    AtomicProperty<std::optional<NSDictionary>> m_additionalInfo;
    AtomicProperty<Text> m_eventId;
    AtomicProperty<Text> m_adId;
};

}
