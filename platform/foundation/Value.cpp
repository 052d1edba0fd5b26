#include "platform/foundation/Value.h"

#include "platform/objc/Object.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace lumora {

namespace {
const Value nothing;
const std::string emptyText;

std::string textOfDouble(double value)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    // The shortest digits that read back as the same number; an exponent only where the digits would grow
    // long.
    std::array<char, 32> buffer {};
    const double size = std::fabs(value);
    const auto form = size != 0 && (size < 1e-4 || size >= 1e17) ? std::chars_format::scientific
                                                                 : std::chars_format::fixed;
    auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, form);
    return { buffer.data(), result.ptr };
}
} // namespace

NSDictionary::NSDictionary(std::initializer_list<Entry> entries)
{
    m_entries.reserve(entries.size());
    for (const auto& [key, value] : entries)
        set(key, value);
}

NSDictionary NSDictionary::withDistinctKeys(std::vector<Entry> entries)
{
    NSDictionary dictionary;
    dictionary.m_entries = std::move(entries);
    return dictionary;
}

const Value* NSDictionary::find(std::string_view key) const
{
    auto entry
        = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.first == key; });
    return entry == m_entries.end() ? nullptr : &entry->second;
}

const Value& NSDictionary::operator[](std::string_view key) const
{
    const Value* value = find(key);
    return value ? *value : nothing;
}

void NSDictionary::set(std::string_view key, Value value)
{
    if (const Value* present = find(key))
        const_cast<Value&>(*present) = std::move(value);
    else
        m_entries.emplace_back(std::string { key }, std::move(value));
}

bool NSDictionary::remove(std::string_view key)
{
    return std::erase_if(m_entries, [&](const Entry& entry) { return entry.first == key; }) > 0;
}

void NSDictionary::addEntriesFrom(const NSDictionary& other)
{
    for (const auto& [key, value] : other)
        set(key, value);
}

bool NSDictionary::operator==(const NSDictionary& other) const
{
    return size() == other.size() && std::all_of(begin(), end(), [&](const Entry& entry) {
        const Value* theirs = other.find(entry.first);
        return theirs && *theirs == entry.second;
    });
}

Value::Value(Strong, std::shared_ptr<Object> object)
{
    if (object)
        m_value = std::move(object);
}

Value Value::weak(std::weak_ptr<Object> object)
{
    Value value;
    value.m_value = std::move(object);
    return value;
}

bool Value::isNothing() const
{
    if (const auto* reference = std::get_if<WeakObject>(&m_value))
        return reference->expired();
    return std::holds_alternative<std::monostate>(m_value);
}

std::shared_ptr<Object> Value::object() const
{
    if (const auto* strong = std::get_if<std::shared_ptr<Object>>(&m_value))
        return *strong;
    if (const auto* reference = std::get_if<WeakObject>(&m_value))
        return reference->lock();
    return nullptr;
}

bool Value::boolValue() const
{
    if (const bool* boolean = std::get_if<bool>(&m_value))
        return *boolean;
    return doubleValue() != 0;
}

int64_t Value::integerValue() const
{
    if (const int64_t* integer = std::get_if<int64_t>(&m_value))
        return *integer;
    return saturatingInteger(doubleValue());
}

double Value::doubleValue() const
{
    if (const double* number = std::get_if<double>(&m_value))
        return *number;
    if (const int64_t* integer = std::get_if<int64_t>(&m_value))
        return static_cast<double>(*integer);
    if (const bool* boolean = std::get_if<bool>(&m_value))
        return *boolean ? 1 : 0;
    return 0;
}

const std::string& Value::stringOrEmpty() const
{
    const std::string* text = string();
    return text ? *text : emptyText;
}

std::string Value::description() const
{
    if (isNothing())
        return "(null)";
    if (isNull())
        return "<null>";
    if (const std::string* text = string())
        return *text;
    if (isDouble())
        return textOfDouble(doubleValue());
    if (isNumber())
        return std::to_string(integerValue());
    if (const NSURLValue* address = url())
        return address->absoluteString;
    if (const NSUUIDValue* identifier = uuid())
        return identifier->string;
    if (const NSDateValue* when = date())
        return textOfDouble(when->timeIntervalSince1970);
    if (const NSData* bytes = data())
        return "<" + std::to_string(bytes->bytes.size()) + " bytes>";
    if (std::shared_ptr<Object> held = object())
        return held->description();
    std::string text;
    if (const NSArray* elements = array()) {
        for (const Value& element : *elements)
            text += (text.empty() ? "" : ", ") + element.description();
        return "(" + text + ")";
    }
    for (const auto& [key, value] : *dictionary())
        text += key + " = " + value.description() + "; ";
    return "{ " + text + "}";
}

bool Value::operator==(const Value& other) const
{
    if (isNothing() || other.isNothing())
        return isNothing() && other.isNothing();
    if (isNumber() && other.isNumber())
        return isDouble() || other.isDouble() ? doubleValue() == other.doubleValue()
                                              : integerValue() == other.integerValue();
    std::shared_ptr<Object> mine = object();
    std::shared_ptr<Object> theirs = other.object();
    if (mine || theirs)
        return mine == theirs;
    if (m_value.index() != other.m_value.index())
        return false;
    return std::visit(
        [&]<typename T>(const T& value) -> bool {
            if constexpr (std::is_same_v<T, WeakObject> || std::is_same_v<T, std::shared_ptr<Object>>)
                return false;
            else if constexpr (std::is_same_v<T, SharedData>)
                return *value == *std::get<T>(other.m_value);
            else
                return value == std::get<T>(other.m_value);
        },
        m_value);
}

int64_t saturatingInteger(double value)
{
    if (std::isnan(value))
        return 0;
    // 2^63 is the first double beyond the range; its negative is the last inside it.
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit)
        return std::numeric_limits<int64_t>::max();
    if (value < -limit)
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

int32_t saturatingInt32(int64_t value)
{
    return static_cast<int32_t>(
        std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

} // namespace lumora
