#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

// Binary property lists (version 00) as they stand in a file: a table of objects that refer to each other by
// number. Below `NSPropertyList.h`, which speaks of values. Any thread.

/// One object of a list: where it stands, and what it is.
struct PropertyListObject {
    /// The upper half of the marker byte.
    enum class Kind : uint8_t {
        Simple = 0x0,
        Integer = 0x1,
        Real = 0x2,
        Date = 0x3,
        Data = 0x4,
        ASCII = 0x5,
        UTF16 = 0x6,
        UID = 0x8,
        Array = 0xA,
        Dictionary = 0xD,
    };

    bool isContainer() const { return kind == Kind::Array || kind == Kind::Dictionary; }
    /// How many objects a container refers to.
    uint32_t references() const
    {
        return kind == Kind::Array ? count : kind == Kind::Dictionary ? 2 * count : 0;
    }

    /// Offsets from the beginning of the list: the marker, and what follows marker and count.
    uint32_t start;
    uint32_t payload;
    /// Bytes of a leaf's payload, elements of an array, pairs of a dictionary. The value itself for a simple
    /// object: 0 null, 8 false, 9 true.
    uint32_t count;
    Kind kind;
};

/// The objects of a list. Borrows the bytes. Every object lies within them and refers only to others that are
/// there; that they form a tree of a reasonable size is for the reader of the tree to see.
class PropertyListOutline {
public:
    using Number = uint32_t;

    /// Nothing when the bytes are truncated or damaged, hold a kind that is unknown, or are 4 GB and more.
    static std::optional<PropertyListOutline> of(std::string_view data);

    Number size() const { return static_cast<Number>(m_objects.size()); }
    Number root() const { return m_root; }
    const PropertyListObject& operator[](Number number) const { return m_objects[number]; }
    /// The number an array or dictionary holds at a position: elements, or all keys and then all values.
    Number reference(const PropertyListObject& container, uint32_t position) const;
    /// A leaf's payload.
    std::string_view payload(const PropertyListObject& leaf) const;
    /// A leaf as it stands, marker and all.
    std::string_view verbatim(const PropertyListObject& leaf) const;
    /// An integer's, a UID's or a date's payload as one big-endian number; the low 64 bits of a longer one.
    uint64_t bigEndian(const PropertyListObject& leaf) const;
    /// What a dictionary holds under a key of plain ASCII, or nothing.
    std::optional<Number> find(const PropertyListObject& dictionary, std::string_view key) const;

private:
    bool readObject(uint64_t start, uint64_t end);
    uint64_t numberAt(uint64_t at, unsigned size) const;

    std::string_view m_data;
    std::vector<PropertyListObject> m_objects;
    Number m_root { 0 };
    uint8_t m_referenceSize { 0 };
};

/// Bytes in the order of a file. Long data is borrowed from where it was given, so that it is copied once, by
/// whoever wants the file.
struct PropertyListBytes {
    /// What follows each other makes the list.
    std::vector<std::string_view> parts() const;
    size_t size() const;

    std::vector<uint8_t> own;
    /// Each stands in `own` before that offset.
    std::vector<std::pair<size_t, std::string_view>> borrowed;
};

/// Writes the objects of a list in the order of their numbers.
class PropertyListWriter {
public:
    using Number = PropertyListOutline::Number;
    using Kind = PropertyListObject::Kind;

    /// How many objects there will be decides how wide a reference is. The second figure is a guess.
    explicit PropertyListWriter(size_t objectCount, size_t expectedBytes = 0);

    void simple(uint8_t value);
    void integer(int64_t value);
    void real(double value);
    /// Seconds since 2001.
    void date(double seconds);
    /// Must stay where it is until the list has been written out.
    void data(std::string_view bytes);
    /// UTF-8 that is valid.
    void text(const std::string& text);
    void uid(uint64_t value);
    /// A leaf of another list.
    void verbatim(std::string_view leaf);
    /// As many references must follow: elements, or keys and then values.
    void array(size_t count);
    void dictionary(size_t count);
    void reference(Number number) { appendNumber(number, m_referenceSize); }

    PropertyListBytes finish(Number root);

private:
    void begin(Kind kind, uint64_t low);
    void beginCounted(Kind kind, size_t count);
    void append(std::string_view bytes);
    void appendNumber(uint64_t value, unsigned size);

    PropertyListBytes m_bytes;
    size_t m_borrowedSize { 0 };
    std::vector<uint64_t> m_offsets;
    uint8_t m_referenceSize;
};

} // namespace lumora
