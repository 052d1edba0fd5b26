#include "platform/foundation/NSPropertyList.h"

#include "platform/foundation/NSString.h"

#include <bit>
#include <unordered_map>
#include <unordered_set>

namespace lumora {

namespace {

using Kind = PropertyListObject::Kind;
using Number = PropertyListOutline::Number;

constexpr const char* referenceKey = "CF$UID";
// Seconds from 1970 to 2001, where the dates of property lists begin.
constexpr double referenceDate = 978307200;
constexpr uint8_t simpleFalse = 8;
constexpr uint8_t simpleTrue = 9;

/// Numbers the objects breadth first, so that the children of each follow one another; equal keys are one
/// object.
class Numbering {
public:
    /// False when something cannot stand in a property list.
    bool add(const Value& root)
    {
        m_objects.push_back({ .value = &root });
        for (size_t at = 0; at < m_objects.size(); at++) {
            if (!addChildrenOf(at))
                return false;
        }
        return true;
    }

    PropertyListBytes written() const
    {
        PropertyListWriter writer(m_objects.size());
        for (const Numbered& object : m_objects)
            write(writer, object);
        return writer.finish(0);
    }

private:
    // A value, or a dictionary's key.
    struct Numbered {
        const Value* value { nullptr };
        const std::string* key { nullptr };
        int depth { 0 };
        Number firstChild { 0 };
    };

    bool addChildrenOf(size_t at)
    {
        const Numbered parent = m_objects[at];
        if (parent.key)
            return true;
        const Value& value = *parent.value;
        if (parent.depth > deepestPropertyList || value.isNothing() || value.isNull() || value.url()
            || value.uuid() || value.object())
            return false;
        const NSArray* elements = value.array();
        const NSDictionary* dictionary = referencedIndex(value) ? nullptr : value.dictionary();
        if (dictionary) {
            for (const auto& [key, ignored] : *dictionary) {
                if (m_keys.try_emplace(key, static_cast<Number>(m_objects.size())).second)
                    m_objects.push_back({ .key = &key });
            }
        }
        m_objects[at].firstChild = static_cast<Number>(m_objects.size());
        if (elements) {
            for (const Value& element : *elements)
                m_objects.push_back({ .value = &element, .depth = parent.depth + 1 });
        } else if (dictionary) {
            for (const auto& [ignored, element] : *dictionary)
                m_objects.push_back({ .value = &element, .depth = parent.depth + 1 });
        }
        return true;
    }

    void write(PropertyListWriter& writer, const Numbered& object) const
    {
        if (object.key)
            return writeText(writer, *object.key);
        const Value& value = *object.value;
        if (const std::string* text = value.string())
            return writeText(writer, *text);
        if (value.isBoolean())
            return writer.simple(value.boolValue() ? simpleTrue : simpleFalse);
        if (value.isInteger())
            return writer.integer(value.integerValue());
        if (value.isDouble())
            return writer.real(value.doubleValue());
        if (const NSData* data = value.data())
            return writer.data(data->view());
        if (const NSDateValue* date = value.date())
            return writer.date(date->timeIntervalSince1970 - referenceDate);
        if (const auto index = referencedIndex(value))
            return writer.uid(*index);
        const NSDictionary* dictionary = value.dictionary();
        const size_t children = dictionary ? dictionary->size() : value.array()->size();
        if (dictionary) {
            writer.dictionary(children);
            for (const auto& [key, ignored] : *dictionary)
                writer.reference(m_keys.at(key));
        } else {
            writer.array(children);
        }
        for (size_t i = 0; i < children; i++)
            writer.reference(object.firstChild + static_cast<Number>(i));
    }

    static void writeText(PropertyListWriter& writer, const std::string& text)
    {
        writer.text(isValidUTF8(text) ? text : repairedUTF8(text));
    }

    std::vector<Numbered> m_objects;
    std::unordered_map<std::string_view, Number> m_keys;
};

/// Unfolds the objects of a list into one value.
class Unfolding {
public:
    explicit Unfolding(const PropertyListOutline& list)
        : m_list(list)
        , m_weights(list.size())
    {
    }

    /// Nothing when the objects are no tree, or one that is too deep; or when a short file nests mentions of
    /// its objects so that they unfold to more than anybody stores.
    std::optional<Value> unfold()
    {
        if (!weigh(m_list.root(), 0))
            return std::nullopt;
        const Weight& whole = m_weights[m_list.root()];
        return whole.values <= mostValues && whole.bytes <= mostBytes ? valueOf(m_list.root()) : std::nullopt;
    }

private:
    static constexpr uint64_t mostValues = 1 << 24;
    static constexpr uint64_t mostBytes = 1 << 30;

    struct Weight {
        uint64_t values { 0 };
        uint64_t bytes { 0 };
        int height { 0 };
        bool isOpen { false };
    };

    bool weigh(Number number, int depth)
    {
        Weight& weight = m_weights[number];
        if (depth > deepestPropertyList || weight.isOpen)
            return false;
        if (weight.values > 0)
            return depth + weight.height <= deepestPropertyList;
        weight.isOpen = true;
        const PropertyListObject& object = m_list[number];
        Weight sum { 1, object.isContainer() ? 0 : m_list.payload(object).size() };
        for (uint32_t i = 0; i < object.references(); i++) {
            const Number child = m_list.reference(object, i);
            if (!weigh(child, depth + 1))
                return false;
            sum.values = std::min(sum.values + m_weights[child].values, mostValues + 1);
            sum.bytes = std::min(sum.bytes + m_weights[child].bytes, mostBytes + 1);
            sum.height = std::max(sum.height, m_weights[child].height + 1);
        }
        weight = sum;
        return true;
    }

    std::optional<Value> valueOf(Number number)
    {
        const PropertyListObject& object = m_list[number];
        if (object.kind == Kind::Array)
            return arrayOf(object);
        return object.kind == Kind::Dictionary ? dictionaryOf(object) : leafOf(object);
    }

    std::optional<Value> arrayOf(const PropertyListObject& array)
    {
        NSArray elements;
        for (uint32_t i = 0; i < array.count; i++) {
            std::optional<Value> element = valueOf(m_list.reference(array, i));
            if (!element)
                return std::nullopt;
            elements.push_back(std::move(*element));
        }
        return elements;
    }

    std::optional<Value> dictionaryOf(const PropertyListObject& dictionary)
    {
        std::vector<NSDictionary::Entry> entries;
        std::unordered_set<std::string> known;
        for (uint32_t i = 0; i < dictionary.count; i++) {
            const std::optional<Value> key = valueOf(m_list.reference(dictionary, i));
            std::optional<Value> value = valueOf(m_list.reference(dictionary, dictionary.count + i));
            if (!key || !key->string() || !value)
                return std::nullopt;
            // Keys that were no text may have become equal when they were repaired: the first counts.
            if (known.insert(*key->string()).second)
                entries.emplace_back(*key->string(), std::move(*value));
        }
        return NSDictionary::withDistinctKeys(std::move(entries));
    }

    std::optional<Value> leafOf(const PropertyListObject& leaf) const
    {
        const std::string_view payload = m_list.payload(leaf);
        switch (leaf.kind) {
        case Kind::Simple:
            return leaf.count == simpleTrue || leaf.count == simpleFalse
                ? std::optional<Value>(leaf.count == simpleTrue)
                : std::nullopt;
        case Kind::Integer:
            return static_cast<int64_t>(m_list.bigEndian(leaf));
        case Kind::Real:
            if (leaf.count == sizeof(float))
                return double { std::bit_cast<float>(static_cast<uint32_t>(m_list.bigEndian(leaf))) };
            return leaf.count == sizeof(double)
                ? std::optional<Value>(std::bit_cast<double>(m_list.bigEndian(leaf)))
                : std::nullopt;
        case Kind::Date:
            return NSDateValue { referenceDate + std::bit_cast<double>(m_list.bigEndian(leaf)) };
        case Kind::Data:
            return NSData::fromText(payload);
        case Kind::ASCII:
            return repairedUTF8(payload);
        case Kind::UTF16:
            return textFromUTF16BigEndian(payload);
        case Kind::UID:
            return referenceTo(m_list.bigEndian(leaf));
        default:
            return std::nullopt;
        }
    }

    const PropertyListOutline& m_list;
    std::vector<Weight> m_weights;
};

} // namespace

Value referenceTo(size_t index) { return NSDictionary { { referenceKey, static_cast<int64_t>(index) } }; }

std::optional<size_t> referencedIndex(const Value& value)
{
    const NSDictionary* dictionary = value.dictionary();
    if (!dictionary || dictionary->size() != 1)
        return std::nullopt;
    const Value& index = (*dictionary)[referenceKey];
    return index.isInteger() && index.integerValue() >= 0
        ? std::optional(static_cast<size_t>(index.integerValue()))
        : std::nullopt;
}

std::optional<PropertyListBytes> bytesOfPropertyList(const Value& propertyList)
{
    Numbering numbering;
    return numbering.add(propertyList) ? std::optional(numbering.written()) : std::nullopt;
}

std::optional<NSData> dataWithPropertyList(const Value& propertyList)
{
    std::optional<PropertyListBytes> bytes = bytesOfPropertyList(propertyList);
    if (!bytes)
        return std::nullopt;
    if (bytes->borrowed.empty())
        return NSData { std::move(bytes->own) };
    NSData data;
    data.bytes.reserve(bytes->size());
    for (const std::string_view part : bytes->parts())
        data.bytes.insert(data.bytes.end(), part.begin(), part.end());
    return data;
}

std::optional<Value> propertyListWithData(std::string_view data)
{
    const std::optional<PropertyListOutline> list = PropertyListOutline::of(data);
    return list ? Unfolding(*list).unfold() : std::nullopt;
}

} // namespace lumora
