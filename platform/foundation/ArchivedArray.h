#pragma once

#include "platform/foundation/BinaryPropertyList.h"
#include "platform/foundation/Value.h"

namespace lumora {

/// The keyed archive of an array, changed without reading what stays: its objects move over as they are, only
/// their numbers change. The result is what the archiver would have written, except that equal texts of
/// elements that came at different times are not one object. Borrows the archive's bytes. Any thread.
class ArchivedArray {
public:
    /// Nothing when the archive is damaged or its root is no array. An element that would not decode goes
    /// unnoticed.
    static std::optional<ArchivedArray> of(const NSData& archive);

    size_t count() const { return m_elements.size(); }

    /// The archive with the elements of another array at its end.
    NSData appending(const ArchivedArray& other) const;
    /// The archive without some of its elements; positions in ascending order.
    NSData removing(const std::vector<size_t>& positions) const;

private:
    using Number = PropertyListOutline::Number;
    class Merge;

    explicit ArchivedArray(PropertyListOutline list)
        : m_list(std::move(list))
    {
    }
    bool readStructure();
    /// The object a reference leads to: the one in the slot that the UID names.
    std::optional<Number> slotOf(Number uid) const;

    PropertyListOutline m_list;
    size_t m_size { 0 };
    /// The table of slots, and what stands in each.
    Number m_table { 0 };
    std::vector<Number> m_slots;
    /// The array's elements, as the UIDs that stand for them, and the object that lists them.
    Number m_elementList { 0 };
    std::vector<Number> m_elements;
};

} // namespace lumora
