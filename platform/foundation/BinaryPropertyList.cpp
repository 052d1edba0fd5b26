#include "platform/foundation/BinaryPropertyList.h"

#include "platform/foundation/NSString.h"

#include <algorithm>
#include <bit>

namespace lumora {

namespace {

using Kind = PropertyListObject::Kind;

constexpr std::string_view header = "bplist00";
// Six bytes of nothing, two sizes, and three numbers of eight bytes.
constexpr uint64_t trailerSize = 32;
constexpr unsigned countFollows = 15;
// Data of this length is worth a part of its own.
constexpr size_t worthBorrowing = size_t { 1 } << 15;

/// The fewest bytes of 1, 2, 4 and 8 that hold a number.
unsigned widthOf(uint64_t value)
{
    unsigned width = 1;
    while (width < 8 && value >> (8 * width) != 0)
        width *= 2;
    return width;
}

} // namespace

uint64_t PropertyListOutline::numberAt(uint64_t at, unsigned size) const
{
    uint64_t value = 0;
    for (unsigned i = 0; i < size; i++)
        value = value << 8 | static_cast<uint8_t>(m_data[at + i]);
    return value;
}

std::optional<PropertyListOutline> PropertyListOutline::of(std::string_view data)
{
    if (!data.starts_with(header) || data.size() < header.size() + trailerSize || data.size() > UINT32_MAX)
        return std::nullopt;
    PropertyListOutline list;
    list.m_data = data;
    const uint64_t trailer = data.size() - trailerSize;
    const auto offsetSize = static_cast<uint8_t>(data[trailer + 6]);
    list.m_referenceSize = static_cast<uint8_t>(data[trailer + 7]);
    const uint64_t count = list.numberAt(trailer + 8, 8);
    const uint64_t root = list.numberAt(trailer + 16, 8);
    const uint64_t table = list.numberAt(trailer + 24, 8);
    if (offsetSize == 0 || offsetSize > 8 || list.m_referenceSize == 0 || list.m_referenceSize > 8
        || table > trailer || count > (trailer - table) / offsetSize || root >= count)
        return std::nullopt;
    list.m_root = static_cast<Number>(root);
    list.m_objects.reserve(count);
    for (uint64_t i = 0; i < count; i++) {
        if (!list.readObject(list.numberAt(table + i * offsetSize, offsetSize), table))
            return std::nullopt;
    }
    // Objects that overlap could have more references than there are bytes.
    uint64_t referencesLeft = data.size();
    for (const PropertyListObject& object : list.m_objects) {
        const uint32_t references = object.references();
        if (references > referencesLeft)
            return std::nullopt;
        referencesLeft -= references;
        for (uint32_t i = 0; i < references; i++) {
            if (list.numberAt(object.payload + uint64_t { i } * list.m_referenceSize, list.m_referenceSize)
                >= count)
                return std::nullopt;
        }
    }
    return list;
}

bool PropertyListOutline::readObject(uint64_t start, uint64_t end)
{
    if (start < header.size() || start >= end)
        return false;
    const auto marker = static_cast<uint8_t>(m_data[start]);
    const unsigned low = marker & 15;
    const auto kind = static_cast<Kind>(marker >> 4);
    uint64_t payload = start + 1;
    uint64_t count = low;
    uint64_t unit = 1;
    switch (kind) {
    case Kind::Simple:
        unit = 0;
        break;
    case Kind::Integer:
    case Kind::Real:
        if (low > (kind == Kind::Integer ? 4 : 3))
            return false;
        count = uint64_t { 1 } << low;
        break;
    case Kind::Date:
        if (low != 3)
            return false;
        count = 8;
        break;
    case Kind::UID:
        count = low + 1;
        break;
    case Kind::Data:
    case Kind::ASCII:
    case Kind::UTF16:
    case Kind::Array:
    case Kind::Dictionary:
        if (low == countFollows) {
            // An integer of up to eight bytes.
            if (payload == end || (static_cast<uint8_t>(m_data[payload]) & 0xFC) != 0x10)
                return false;
            const unsigned size = 1u << (static_cast<uint8_t>(m_data[payload]) & 3);
            if (end - ++payload < size)
                return false;
            count = numberAt(payload, size);
            payload += size;
        }
        if (kind == Kind::Array || kind == Kind::Dictionary)
            unit = uint64_t { m_referenceSize } * (kind == Kind::Dictionary ? 2 : 1);
        else if (kind == Kind::UTF16)
            unit = 2;
        break;
    default:
        return false;
    }
    if (unit > 0 && count > (end - payload) / unit)
        return false;
    const bool isLeaf = kind != Kind::Array && kind != Kind::Dictionary && kind != Kind::Simple;
    m_objects.push_back({ static_cast<uint32_t>(start), static_cast<uint32_t>(payload),
        static_cast<uint32_t>(isLeaf ? count * unit : count), kind });
    return true;
}

PropertyListOutline::Number PropertyListOutline::reference(
    const PropertyListObject& container, uint32_t position) const
{
    return static_cast<Number>(
        numberAt(container.payload + uint64_t { position } * m_referenceSize, m_referenceSize));
}

std::string_view PropertyListOutline::payload(const PropertyListObject& leaf) const
{
    return m_data.substr(leaf.payload, leaf.kind == Kind::Simple ? 0 : leaf.count);
}

std::string_view PropertyListOutline::verbatim(const PropertyListObject& leaf) const
{
    return m_data.substr(leaf.start, leaf.payload - leaf.start + payload(leaf).size());
}

uint64_t PropertyListOutline::bigEndian(const PropertyListObject& leaf) const
{
    const unsigned size = std::min(leaf.count, 8u);
    return numberAt(leaf.payload + leaf.count - size, size);
}

std::optional<PropertyListOutline::Number> PropertyListOutline::find(
    const PropertyListObject& dictionary, std::string_view key) const
{
    for (uint32_t i = 0; dictionary.kind == Kind::Dictionary && i < dictionary.count; i++) {
        const PropertyListObject& candidate = m_objects[reference(dictionary, i)];
        if (candidate.kind == Kind::ASCII && payload(candidate) == key)
            return reference(dictionary, dictionary.count + i);
    }
    return std::nullopt;
}

std::vector<std::string_view> PropertyListBytes::parts() const
{
    std::vector<std::string_view> all;
    const std::string_view ours { reinterpret_cast<const char*>(own.data()), own.size() };
    size_t at = 0;
    for (const auto& [before, bytes] : borrowed) {
        all.push_back(ours.substr(at, before - at));
        all.push_back(bytes);
        at = before;
    }
    all.push_back(ours.substr(at));
    return all;
}

size_t PropertyListBytes::size() const
{
    size_t size = 0;
    for (const std::string_view part : parts())
        size += part.size();
    return size;
}

PropertyListWriter::PropertyListWriter(size_t objectCount, size_t expectedBytes)
    : m_referenceSize(static_cast<uint8_t>(widthOf(objectCount)))
{
    m_offsets.reserve(objectCount);
    m_bytes.own.reserve(expectedBytes);
    append(header);
}

void PropertyListWriter::begin(Kind kind, uint64_t low)
{
    m_offsets.push_back(m_bytes.own.size() + m_borrowedSize);
    m_bytes.own.push_back(static_cast<uint8_t>(static_cast<uint64_t>(kind) << 4 | low));
}

void PropertyListWriter::beginCounted(Kind kind, size_t count)
{
    begin(kind, std::min<uint64_t>(count, countFollows));
    if (count < countFollows)
        return;
    const unsigned width = widthOf(count);
    m_bytes.own.push_back(
        static_cast<uint8_t>(static_cast<int>(Kind::Integer) << 4 | std::countr_zero(width)));
    appendNumber(count, width);
}

void PropertyListWriter::append(std::string_view bytes)
{
    m_bytes.own.insert(m_bytes.own.end(), bytes.begin(), bytes.end());
}

void PropertyListWriter::appendNumber(uint64_t value, unsigned size)
{
    for (unsigned i = size; i > 0; i--)
        m_bytes.own.push_back(static_cast<uint8_t>(value >> (8 * (i - 1))));
}

void PropertyListWriter::simple(uint8_t value) { begin(Kind::Simple, value); }

void PropertyListWriter::integer(int64_t value)
{
    // Eight bytes are signed, fewer are not.
    const unsigned width = value < 0 ? 8 : widthOf(static_cast<uint64_t>(value));
    begin(Kind::Integer, static_cast<unsigned>(std::countr_zero(width)));
    appendNumber(static_cast<uint64_t>(value), width);
}

void PropertyListWriter::real(double value)
{
    begin(Kind::Real, 3);
    appendNumber(std::bit_cast<uint64_t>(value), 8);
}

void PropertyListWriter::date(double seconds)
{
    begin(Kind::Date, 3);
    appendNumber(std::bit_cast<uint64_t>(seconds), 8);
}

void PropertyListWriter::data(std::string_view bytes)
{
    beginCounted(Kind::Data, bytes.size());
    if (bytes.size() < worthBorrowing) {
        append(bytes);
        return;
    }
    m_bytes.borrowed.emplace_back(m_bytes.own.size(), bytes);
    m_borrowedSize += bytes.size();
}

void PropertyListWriter::text(const std::string& text)
{
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<uint8_t>(c) < 0x80; })) {
        beginCounted(Kind::ASCII, text.size());
        append(text);
        return;
    }
    const std::u16string units = utf16FromText(text);
    beginCounted(Kind::UTF16, units.size());
    for (const char16_t unit : units)
        appendNumber(unit, 2);
}

void PropertyListWriter::uid(uint64_t value)
{
    const unsigned width = widthOf(value);
    begin(Kind::UID, width - 1);
    appendNumber(value, width);
}

void PropertyListWriter::verbatim(std::string_view leaf)
{
    m_offsets.push_back(m_bytes.own.size() + m_borrowedSize);
    append(leaf);
}

void PropertyListWriter::array(size_t count) { beginCounted(Kind::Array, count); }
void PropertyListWriter::dictionary(size_t count) { beginCounted(Kind::Dictionary, count); }

PropertyListBytes PropertyListWriter::finish(Number root)
{
    const uint64_t table = m_bytes.own.size() + m_borrowedSize;
    const unsigned offsetSize = widthOf(table);
    for (const uint64_t offset : m_offsets)
        appendNumber(offset, offsetSize);
    appendNumber(0, 6);
    appendNumber(offsetSize, 1);
    appendNumber(m_referenceSize, 1);
    appendNumber(m_offsets.size(), 8);
    appendNumber(root, 8);
    appendNumber(table, 8);
    return std::move(m_bytes);
}

} // namespace lumora
