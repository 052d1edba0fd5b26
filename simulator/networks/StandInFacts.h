#pragma once

#include "platform/objc/Message.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace lumora {

/// What goes wrong in an SDK. A step is one key of a private path from a root object:
/// "MPClosableView:_delegate".
struct StandInFault {
    /// The private key has another name, as after an update of the SDK.
    std::string renamedStep {};
    /// Reading the private key raises something that is no exception of the platform's.
    std::string raisingStep {};
    /// None of the private objects is there.
    bool nothingPrivate { false };
    /// The creative has no web view.
    bool noCreative { false };
    /// The delegates of its web views answer nothing.
    bool silentDelegates { false };
};

/// What an SDK privately knows of its ad, laid where a report's fields are read, and what a report must say
/// then. It is told what goes wrong and which of the places where SDK versions keep an identifier this one
/// uses. Main thread.
class StandInFacts {
public:
    /// Every alternative place is filled, each with a value of its own.
    static constexpr int everyPlace = -1;

    // For the network's show function

    /// The place this ad uses, among so many; the last one when it uses all.
    int placeAmong(int count) const { return m_place == everyPlace ? count - 1 : m_place % count; }
    /// Lays a value under a key path from a root object, making the objects on the way that are missing.
    /// `field` is what of a report is read there: "creativeId", "placementId", "button", or a key of the
    /// further fields. The field is then expected to have that value (text, or a number's digits).
    void plant(const std::string& field, const std::shared_ptr<Object>& root, const std::string& keyPath,
        const Value& value);
    /// The same for a value that stands in one of several places, the first of which wins.
    void plantOneOf(const std::string& field, const std::shared_ptr<Object>& root,
        const std::vector<std::string>& keyPaths, const Value& value);
    /// The same for what only the ad's processor reads; `field` is "creativeId" or "placementId".
    void plantForProcessor(const std::string& field, const std::shared_ptr<Object>& root,
        const std::string& keyPath, const Value& value);
    /// The name to write into data that is read by name, such as JSON, where the SDK writes `name`: the
    /// fault may have renamed it. `fields` are what of a report is read through it.
    std::string key(const std::vector<std::string>& fields, const std::string& name);
    /// Puts into a variable of the owner what the library finds there by its kind, whatever the name.
    void hold(const std::shared_ptr<Object>& owner, const std::string& name, const Value& value);
    void expect(const std::string& field, const Value& value) { m_expected.set(field, value); }
    /// The fields that every report has of its network.
    void expectAd(const Value& sdk, const Value& version, const char* adFormat)
    {
        m_expected.addEntriesFrom({ { "sdk", sdk }, { "sdkVersion", version }, { "adFormat", adFormat } });
    }
    /// What a field says when a step to it fails, if it says anything then.
    void expectOtherwise(const std::string& field, const Value& value)
    {
        m_expectedOtherwise.set(field, value);
    }

    /// The class of the processor that the ad gets, what that calls the format, and what else it says
    /// otherwise than a report does.
    void expectProcessor(const char* className, const char* adFormat, const NSDictionary& otherwise = {})
    {
        m_processor.addEntriesFrom({ { "class", className }, { "adFormat", adFormat } });
        m_processor.addEntriesFrom(otherwise);
    }

    /// The same for what no method tells of, a processor that comes when the ad's page has finished.
    void expectProcessorOfPage(
        const char* className, const char* adFormat, const NSDictionary& otherwise = {})
    {
        if (!m_fault.silentDelegates)
            expectProcessor(className, adFormat, otherwise);
    }

    // For whoever shows the ad

    /// What its processor has to say: "class", and the fields of a report; empty if there is to be none.
    /// `lost` are the fields to which a step failed.
    NSDictionary expectedOfProcessor(const std::vector<std::string>& lost = {}) const;
    /// What a report has to say, by field.
    const NSDictionary& expected() const { return m_expected; }
    /// What is said when a step to a field fails; empty or absent if it is not in here.
    const NSDictionary& expectedOtherwise() const { return m_expectedOtherwise; }
    /// Every step that was planted, with the fields that are read through it.
    using Steps = std::vector<std::pair<std::string, std::vector<std::string>>>;
    const Steps& steps() const { return m_steps; }

protected:
    /// `place` chooses among alternative key paths.
    StandInFacts(int place, StandInFault fault);
    const StandInFault& fault() const { return m_fault; }

private:
    void lay(const std::string& field, const std::shared_ptr<Object>& root, const std::string& keyPath,
        const Value& value);
    std::string named(const std::string& step, const std::string& name);
    void addStep(const std::string& step, const std::string& field);

    int m_place;
    StandInFault m_fault;
    NSDictionary m_expected;
    NSDictionary m_expectedOtherwise;
    NSDictionary m_processor;
    Steps m_steps;
};

} // namespace lumora
