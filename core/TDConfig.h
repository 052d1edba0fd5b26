#pragma once

#include "platform/objc/Object.h"

#include <optional>
#include <string>
#include <vector>

namespace lumora {

class NSCoder;

/// The remote configuration in memory: what the service said, with a default for whatever is missing or
/// malformed, and the time to live turned into an absolute expiry. No range checks: values stand as the
/// service gave them. Never changed once published, so any thread may read it. Numbers are boxed, as an
/// archive may lack some.
class TDConfig final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Builds a record from a decoded JSON object; from nothing, the default record.
    static std::shared_ptr<TDConfig> initWithDictionary(const NSDictionary* dictionary);

    /// Whether the features are on.
    const Value& active() const { return m_active; }
    /// Until when the record is fresh: seconds since 1970, a double.
    const Value& ttlConfig() const { return m_ttlConfig; }
    void setTtlConfig(double secondsSince1970) { m_ttlConfig = secondsSince1970; }
    /// Whether an ad's markup is read for a report, for inspection, for an event.
    const Value& reportHTML() const { return m_reportHTML; }
    const Value& inspectHTML() const { return m_inspectHTML; }
    const Value& eventHTML() const { return m_eventHTML; }
    /// How many taps on the collapsed button open it.
    const Value& buttonTap() const { return m_buttonTap; }
    /// Seconds between passes that resend stored events, and how many passes there are.
    const Value& retryAfter() const { return m_retryAfter; }
    const Value& retryLimit() const { return m_retryLimit; }
    const Value& hideButton() const { return m_hideButton; }
    /// Seconds between the ad monitor's rounds; -1 for none.
    const Value& sendingHTML() const { return m_sendingHTML; }
    /// Names of SDKs; unset is not the same as empty.
    const std::optional<std::vector<std::string>>& sdks() const { return m_sdks; }

    /// True while the expiry is later than now.
    bool isFresh() const;

    /// The number to store for a key: the value itself, a text that parses as a number, or the default.
    static Value getNSNumberFromDict(
        const NSDictionary* dictionary, std::string_view andKey, const Value& andDefaultValue);

    /// Keyed archive, under the services' own names. Reading sets what is there, without defaults or
    /// conversions.
    id initWithCoder(Object* coder);
    void encodeWithCoder(Object* coder);

private:
    Value m_active;
    Value m_ttlConfig;
    Value m_reportHTML;
    Value m_inspectHTML;
    Value m_eventHTML;
    Value m_buttonTap;
    Value m_retryAfter;
    Value m_retryLimit;
    Value m_hideButton;
    Value m_sendingHTML;
    std::optional<std::vector<std::string>> m_sdks;
};

} // namespace lumora
