#include "simulator/networks/StandInFacts.h"

#include "simulator/networks/StandInObjects.h"

#include <algorithm>
#include <stdexcept>

namespace lumora {

namespace {

// What an accessor does that fails in a way of its own.
Value raise(id, SEL) { throw std::runtime_error("the SDK's own trouble"); }

/// Before the name of a field that only the processor reads.
const std::string ofProcessor = "the processor's ";

constexpr const char* raisingMark = "_raising";

std::string sdkClassName(const Object& object)
{
    const std::string& name = object_getClassName(&object);
    return name.substr(0, name.find(raisingMark));
}

/// Gives an object a class of its own whose accessor of that name raises.
void makeRaise(Object& object, const std::string& key)
{
    const std::string name = object_getClassName(&object) + raisingMark + key;
    Class known = NSClassFromString(name);
    object_setClass(object,
        known ? known : ClassBuilder(name, object.isa()).method(sel_registerName(key), &raise).build());
}

} // namespace

StandInFacts::StandInFacts(int place, StandInFault fault)
    : m_place(place)
    , m_fault(std::move(fault))
{
}

void StandInFacts::addStep(const std::string& step, const std::string& field)
{
    auto known = std::find_if(
        m_steps.begin(), m_steps.end(), [&](const auto& entry) { return entry.first == step; });
    if (known == m_steps.end())
        known = m_steps.insert(known, { step, {} });
    if (std::find(known->second.begin(), known->second.end(), field) == known->second.end())
        known->second.push_back(field);
}

std::string StandInFacts::named(const std::string& step, const std::string& name)
{
    return m_fault.renamedStep == step ? name + "Renamed" : name;
}

void StandInFacts::plant(const std::string& field, const std::shared_ptr<Object>& root,
    const std::string& keyPath, const Value& value)
{
    m_expected.set(field, value.isNumber() ? Value { value.description() } : value);
    lay(field, root, keyPath, value);
}

void StandInFacts::plantForProcessor(const std::string& field, const std::shared_ptr<Object>& root,
    const std::string& keyPath, const Value& value)
{
    m_processor.set(field, value);
    lay(ofProcessor + field, root, keyPath, value);
}

NSDictionary StandInFacts::expectedOfProcessor(const std::vector<std::string>& lost) const
{
    if (m_processor["class"].isNothing())
        return {};
    const auto isLost
        = [&](const std::string& field) { return std::find(lost.begin(), lost.end(), field) != lost.end(); };
    NSDictionary expected;
    for (const char* field : { "sdk", "sdkVersion", "creativeId", "placementId" }) {
        const std::string own = ofProcessor + field;
        const bool isOwn = !m_processor[field].isNothing();
        const Value& value = isOwn ? m_processor[field] : m_expected[field];
        expected.set(field, isLost(isOwn ? own : field) || value.isNothing() ? Value { "" } : value);
    }
    for (const char* field : { "class", "adFormat" })
        expected.set(field, m_processor[field]);
    return expected;
}

void StandInFacts::lay(const std::string& field, const std::shared_ptr<Object>& root,
    const std::string& keyPath, const Value& value)
{
    if (!root || m_fault.nothingPrivate)
        return;
    std::shared_ptr<Object> owner = root;
    for (size_t start = 0; start <= keyPath.size();) {
        const size_t dot = std::min(keyPath.find('.', start), keyPath.size());
        const std::string name = keyPath.substr(start, dot - start);
        const std::string step = sdkClassName(*root) + ":" + keyPath.substr(0, dot);
        addStep(step, field);
        const std::string stored = named(step, name);
        if (dot == keyPath.size()) {
            object_setInstanceVariable(*owner, stored, value);
        } else if (object_getInstanceVariable(*owner, stored).isNothing()) {
            object_setInstanceVariable(*owner, stored, standInObject("StandInPrivateObject"));
        }
        if (m_fault.raisingStep == step)
            makeRaise(*owner, name);
        if (dot < keyPath.size())
            owner = object_getInstanceVariable(*owner, stored).object();
        start = dot + 1;
    }
}

void StandInFacts::plantOneOf(const std::string& field, const std::shared_ptr<Object>& root,
    const std::vector<std::string>& keyPaths, const Value& value)
{
    if (m_place != everyPlace)
        return plant(field, root, keyPaths[static_cast<size_t>(m_place) % keyPaths.size()], value);
    // The last first, so that what is expected in the end is what stands in the first place.
    for (size_t i = keyPaths.size(); i-- > 0;)
        plant(field, root, keyPaths[i], i == 0 ? value : Value { "place-" + std::to_string(i) });
}

void StandInFacts::hold(const std::shared_ptr<Object>& owner, const std::string& name, const Value& value)
{
    if (!m_fault.nothingPrivate)
        object_setInstanceVariable(*owner, name, value);
}

std::string StandInFacts::key(const std::vector<std::string>& fields, const std::string& name)
{
    for (const std::string& field : fields)
        addStep("key:" + name, field);
    return named("key:" + name, name);
}

} // namespace lumora
