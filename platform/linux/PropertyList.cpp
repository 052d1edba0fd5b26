#include "platform/foundation/NSPropertyList.h"
#include "platform/foundation/NSString.h"

#include <cmath>
#include <cstdlib>
#include <plist/plist.h>
#include <unordered_set>

namespace lumora {

namespace {

constexpr const char* referenceKey = "CF$UID";
// Seconds from 1970 to 2001, where the dates of property lists begin.
constexpr double referenceDate = 978307200;

struct FreeNode {
    void operator()(plist_t node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
using Node = std::unique_ptr<void, FreeNode>;

/// The library takes text up to its first NUL and trusts it to be UTF-8.
std::string writableText(const std::string& text)
{
    std::string repaired = isValidUTF8(text) ? text : repairedUTF8(text);
    for (size_t at = repaired.find('\0'); at != std::string::npos; at = repaired.find('\0', at))
        repaired.replace(at, 1, "\xEF\xBF\xBD");
    return repaired;
}

Node nodeOf(const Value& value, int depth);

Node nodeOf(const NSArray& elements, int depth)
{
    Node node(plist_new_array());
    for (const Value& element : elements) {
        Node child = nodeOf(element, depth + 1);
        if (!child)
            return nullptr;
        plist_array_append_item(node.get(), child.release());
    }
    return node;
}

Node nodeOf(const NSDictionary& dictionary, int depth)
{
    Node node(plist_new_dict());
    for (const auto& [key, value] : dictionary) {
        Node child = nodeOf(value, depth + 1);
        if (!child)
            return nullptr;
        plist_dict_set_item(node.get(), writableText(key).c_str(), child.release());
    }
    return node;
}

Node nodeOf(const NSDateValue& date)
{
    const double seconds = date.timeIntervalSince1970 - referenceDate;
    const double whole = std::floor(seconds);
    if (!(std::fabs(whole) < 2e9))
        return nullptr;
    return Node(plist_new_date(static_cast<int32_t>(whole), static_cast<int32_t>((seconds - whole) * 1e6)));
}

/// Null for what a property list cannot hold.
Node nodeOf(const Value& value, int depth)
{
    if (depth > deepestPropertyList)
        return nullptr;
    if (const std::string* text = value.string())
        return Node(plist_new_string(writableText(*text).c_str()));
    if (value.isBoolean())
        return Node(plist_new_bool(value.boolValue() ? 1 : 0));
    if (value.isInteger())
        return Node(plist_new_uint(static_cast<uint64_t>(value.integerValue())));
    if (value.isDouble())
        return Node(plist_new_real(value.doubleValue()));
    if (const NSData* data = value.data())
        return Node(plist_new_data(reinterpret_cast<const char*>(data->bytes.data()), data->bytes.size()));
    if (const NSDateValue* date = value.date())
        return nodeOf(*date);
    if (const NSArray* elements = value.array())
        return nodeOf(*elements, depth);
    if (const auto reference = referencedIndex(value))
        return Node(plist_new_uid(*reference));
    if (const NSDictionary* dictionary = value.dictionary())
        return nodeOf(*dictionary, depth);
    return nullptr;
}

/// Walks the raw object table before the library unfolds it: it follows references to any depth, and again
/// for each mention, so a short hostile file could exhaust stack or memory.
class Shape {
public:
    explicit Shape(std::string_view data)
        : m_data(data)
    {
    }

    bool isReasonable()
    {
        constexpr size_t trailerSize = 32;
        if (!m_data.starts_with("bplist00") || m_data.size() < 8 + trailerSize)
            return false;
        const size_t trailer = m_data.size() - trailerSize;
        m_offsetSize = static_cast<unsigned char>(m_data[trailer + 6]);
        m_referenceSize = static_cast<unsigned char>(m_data[trailer + 7]);
        const uint64_t count = number(trailer + 8, 8);
        const uint64_t root = number(trailer + 16, 8);
        m_table = number(trailer + 24, 8);
        if (m_offsetSize == 0 || m_offsetSize > 8 || m_referenceSize == 0 || m_referenceSize > 8
            || count > m_data.size())
            return false;
        m_nodes.resize(count);
        return visit(root, 0) && m_nodes[root].unfolded <= mostNodes;
    }

private:
    static constexpr uint64_t mostNodes = 1 << 24;

    struct Unfolding {
        uint64_t unfolded { 0 };
        int height { 0 };
        bool isOpen { false };
    };

    /// Big-endian; 0 beyond the end.
    uint64_t number(uint64_t at, uint64_t size) const
    {
        if (at > m_data.size() || size > m_data.size() - at)
            return 0;
        uint64_t value = 0;
        for (uint64_t i = 0; i < size; i++)
            value = value << 8 | static_cast<unsigned char>(m_data[at + i]);
        return value;
    }

    bool visit(uint64_t index, int depth)
    {
        if (index >= m_nodes.size() || depth > deepestPropertyList || m_nodes[index].isOpen)
            return false;
        Unfolding& node = m_nodes[index];
        if (node.unfolded > 0)
            return depth + node.height <= deepestPropertyList;
        node.isOpen = true;
        uint64_t at = number(m_table + index * m_offsetSize, m_offsetSize);
        const uint64_t marker = number(at++, 1);
        uint64_t children = 0;
        if (marker >> 4 >= 0xA && marker >> 4 <= 0xD) {
            children = marker & 15;
            if (children == 15) {
                const uint64_t size = uint64_t { 1 } << (number(at++, 1) & 3);
                children = number(at, size);
                at += size;
            }
            if (children > m_data.size())
                return false;
            children *= marker >> 4 == 0xD ? 2 : 1;
        }
        node.unfolded = 1;
        for (uint64_t i = 0; i < children; i++) {
            const uint64_t child = number(at + i * m_referenceSize, m_referenceSize);
            if (!visit(child, depth + 1))
                return false;
            node.unfolded = std::min(node.unfolded + m_nodes[child].unfolded, mostNodes + 1);
            node.height = std::max(node.height, m_nodes[child].height + 1);
        }
        node.isOpen = false;
        return true;
    }

    std::string_view m_data;
    uint64_t m_offsetSize { 0 };
    uint64_t m_referenceSize { 0 };
    uint64_t m_table { 0 };
    std::vector<Unfolding> m_nodes;
};

std::optional<Value> valueOf(plist_t node);

std::optional<Value> arrayOf(plist_t node)
{
    NSArray elements;
    plist_array_iter made = nullptr;
    plist_array_new_iter(node, &made);
    const std::unique_ptr<void, FreeMemory> iterator(made);
    for (uint32_t left = plist_array_get_size(node); left > 0; left--) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator.get(), &item);
        std::optional<Value> element = valueOf(item);
        if (!element)
            return std::nullopt;
        elements.push_back(std::move(*element));
    }
    return elements;
}

std::optional<Value> dictionaryOf(plist_t node)
{
    std::vector<NSDictionary::Entry> entries;
    std::unordered_set<std::string> known;
    plist_dict_iter made = nullptr;
    plist_dict_new_iter(node, &made);
    const std::unique_ptr<void, FreeMemory> iterator(made);
    for (uint32_t left = plist_dict_get_size(node); left > 0; left--) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator.get(), &key, &item);
        const std::unique_ptr<void, FreeMemory> held(key);
        std::optional<Value> value = key ? valueOf(item) : std::nullopt;
        if (!value || !known.insert(key).second)
            return std::nullopt;
        entries.emplace_back(key, std::move(*value));
    }
    return NSDictionary::withDistinctKeys(std::move(entries));
}

std::optional<Value> valueOf(plist_t node)
{
    uint64_t number = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t boolean = 0;
        plist_get_bool_val(node, &boolean);
        return boolean != 0;
    }
    case PLIST_UINT:
        plist_get_uint_val(node, &number);
        return static_cast<int64_t>(number);
    case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return real;
    }
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, &number);
        return text ? std::optional<Value>(std::string { text, number }) : std::nullopt;
    }
    case PLIST_DATA: {
        const char* bytes = plist_get_data_ptr(node, &number);
        return NSData::fromText(bytes ? std::string_view { bytes, number } : std::string_view {});
    }
    case PLIST_DATE: {
        int32_t seconds = 0;
        int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return NSDateValue { referenceDate + seconds + microseconds / 1e6 };
    }
    case PLIST_UID:
        plist_get_uid_val(node, &number);
        return referenceTo(number);
    case PLIST_ARRAY:
        return arrayOf(node);
    case PLIST_DICT:
        return dictionaryOf(node);
    default:
        return std::nullopt;
    }
}

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

std::optional<NSData> dataWithPropertyList(const Value& propertyList)
{
    const Node root = nodeOf(propertyList, 0);
    if (!root)
        return std::nullopt;
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    const std::unique_ptr<void, FreeMemory> held(bytes);
    return bytes ? std::optional(NSData::fromText({ bytes, length })) : std::nullopt;
}

std::optional<Value> propertyListWithData(std::string_view data)
{
    if (data.size() > UINT32_MAX || !Shape(data).isReasonable())
        return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_bin(data.data(), static_cast<uint32_t>(data.size()), &parsed);
    const Node root(parsed);
    return root ? valueOf(root.get()) : std::nullopt;
}

} // namespace lumora
