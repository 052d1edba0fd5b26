#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace lumora {

class Object;
class Value;

/// JSON's null, an object of its own: present, unlike nothing.
struct NSNull {
    bool operator==(const NSNull&) const = default;
};
/// Bytes.
struct NSData {
    std::vector<uint8_t> bytes;
    bool operator==(const NSData&) const = default;
    static NSData fromText(std::string_view text) { return { { text.begin(), text.end() } }; }
    std::string_view view() const { return { reinterpret_cast<const char*>(bytes.data()), bytes.size() }; }
};
/// A point in time, in seconds since 1970.
struct NSDateValue {
    double timeIntervalSince1970 { 0 };
    bool operator==(const NSDateValue&) const = default;
};
/// A UUID in its text form.
struct NSUUIDValue {
    std::string string;
    bool operator==(const NSUUIDValue&) const = default;
};
/// A URL in the text it was made from.
struct NSURLValue {
    std::string absoluteString;
    bool operator==(const NSURLValue&) const = default;
};

using NSArray = std::vector<Value>;

/// Text keys and values in the order of insertion. Setting a key that is there keeps its place.
class NSDictionary {
public:
    using Entry = std::pair<std::string, Value>;

    NSDictionary() = default;
    NSDictionary(std::initializer_list<Entry> entries);
    /// From entries whose keys are known to differ, as a reader has them; no search, so thousands cost
    /// nothing.
    static NSDictionary withDistinctKeys(std::vector<Entry> entries);

    /// The value under a key, or null when the key is absent.
    const Value* find(std::string_view key) const;
    /// The value under a key, or nothing.
    const Value& operator[](std::string_view key) const;
    void set(std::string_view key, Value value);
    /// Removes a key and answers whether it was there.
    bool remove(std::string_view key);
    /// Adds every entry of another dictionary; its values win.
    void addEntriesFrom(const NSDictionary& other);

    bool empty() const;
    size_t size() const;
    std::vector<Entry>::const_iterator begin() const;
    std::vector<Entry>::const_iterator end() const;
    bool operator==(const NSDictionary& other) const;

private:
    std::vector<Entry> m_entries;
};

/// What key-value coding, JSON, metadata and archives carry. A plain value: copies are independent, any
/// thread. An object inside is held strongly, or weakly by `weak`, in which case it reads as nothing once the
/// object has died.
class Value {
public:
    Value() = default;
    Value(NSNull value)
        : m_value(value)
    {
    }
    Value(bool value)
        : m_value(value)
    {
    }
    Value(int value)
        : m_value(int64_t { value })
    {
    }
    Value(int64_t value)
        : m_value(value)
    {
    }
    Value(double value)
        : m_value(value)
    {
    }
    Value(const char* text)
        : m_value(std::string { text })
    {
    }
    Value(std::string text)
        : m_value(std::move(text))
    {
    }
    Value(NSData value)
        : m_value(std::make_shared<const NSData>(std::move(value)))
    {
    }
    Value(NSURLValue value)
        : m_value(std::move(value))
    {
    }
    Value(NSDateValue value)
        : m_value(value)
    {
    }
    Value(NSUUIDValue value)
        : m_value(std::move(value))
    {
    }
    Value(NSArray array)
        : m_value(std::move(array))
    {
    }
    Value(NSDictionary dictionary)
        : m_value(std::move(dictionary))
    {
    }
    template <typename T>
    requires std::is_base_of_v<Object, T> Value(std::shared_ptr<T> object)
        : Value(Strong {}, std::static_pointer_cast<Object>(std::move(object)))
    {
    }
    static Value weak(std::weak_ptr<Object> object);

    /// Nothing at all: absent, a nil object, or a weak object that has died.
    bool isNothing() const;
    /// An object that is held weakly, dead or alive.
    bool isWeak() const { return std::holds_alternative<WeakObject>(m_value); }
    bool isNull() const { return std::holds_alternative<NSNull>(m_value); }
    bool isBoolean() const { return std::holds_alternative<bool>(m_value); }
    bool isInteger() const { return std::holds_alternative<int64_t>(m_value); }
    bool isDouble() const { return std::holds_alternative<double>(m_value); }
    /// Booleans are numbers too.
    bool isNumber() const { return isBoolean() || isInteger() || isDouble(); }
    bool isString() const { return std::holds_alternative<std::string>(m_value); }
    bool isArray() const { return std::holds_alternative<NSArray>(m_value); }
    bool isDictionary() const { return std::holds_alternative<NSDictionary>(m_value); }

    /// Typed access; null when the value is of another kind.
    const std::string* string() const { return std::get_if<std::string>(&m_value); }
    const NSArray* array() const { return std::get_if<NSArray>(&m_value); }
    const NSDictionary* dictionary() const { return std::get_if<NSDictionary>(&m_value); }
    /// Copies of a value share the bytes, so the same address means the same data.
    const NSData* data() const
    {
        const auto* shared = std::get_if<SharedData>(&m_value);
        return shared ? shared->get() : nullptr;
    }
    const NSURLValue* url() const { return std::get_if<NSURLValue>(&m_value); }
    const NSDateValue* date() const { return std::get_if<NSDateValue>(&m_value); }
    const NSUUIDValue* uuid() const { return std::get_if<NSUUIDValue>(&m_value); }
    /// The object inside, or null.
    std::shared_ptr<Object> object() const;

    /// Conversions of a boxed number: truncating, saturating at 64 bits, NaN gives 0. Anything but a number
    /// gives 0.
    bool boolValue() const;
    int64_t integerValue() const;
    double doubleValue() const;
    /// The text, or an empty one.
    const std::string& stringOrEmpty() const;
    /// What "%@" prints: numbers as digits, text as it is, "(null)" for nothing, "<Class: identity>" for an
    /// object.
    std::string description() const;

    /// Same kind and equal content; objects are equal when they are the same object. Nothing equals nothing,
    /// and a number equals a number of the same value.
    bool operator==(const Value& other) const;

private:
    struct Strong { };
    Value(Strong, std::shared_ptr<Object> object);

    using WeakObject = std::weak_ptr<Object>;
    using SharedData = std::shared_ptr<const NSData>;
    std::variant<std::monostate, NSNull, bool, int64_t, double, std::string, SharedData, NSURLValue,
        NSDateValue, NSUUIDValue, NSArray, NSDictionary, std::shared_ptr<Object>, WeakObject>
        m_value;
};

inline bool NSDictionary::empty() const { return m_entries.empty(); }
inline size_t NSDictionary::size() const { return m_entries.size(); }
inline std::vector<NSDictionary::Entry>::const_iterator NSDictionary::begin() const
{
    return m_entries.begin();
}
inline std::vector<NSDictionary::Entry>::const_iterator NSDictionary::end() const { return m_entries.end(); }

/// Truncates a double towards zero; saturates at 64 bits; NaN gives 0.
int64_t saturatingInteger(double value);
/// A boxed number's integer value at 32 bits: saturates.
int32_t saturatingInt32(int64_t value);

} // namespace lumora
