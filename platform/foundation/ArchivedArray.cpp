#include "platform/foundation/ArchivedArray.h"

#include <algorithm>
#include <map>

namespace lumora {

namespace {

using Kind = PropertyListObject::Kind;
constexpr uint32_t none = UINT32_MAX;

} // namespace

std::optional<ArchivedArray> ArchivedArray::of(const NSData& archive)
{
    std::optional<PropertyListOutline> list = PropertyListOutline::of(archive.view());
    if (!list)
        return std::nullopt;
    ArchivedArray array { std::move(*list) };
    array.m_size = archive.bytes.size();
    return array.readStructure() ? std::optional(std::move(array)) : std::nullopt;
}

std::optional<ArchivedArray::Number> ArchivedArray::slotOf(Number uid) const
{
    const PropertyListObject& object = m_list[uid];
    const uint64_t slot = object.kind == Kind::UID ? m_list.bigEndian(object) : none;
    return slot < m_slots.size() ? std::optional(static_cast<Number>(slot)) : std::nullopt;
}

bool ArchivedArray::readStructure()
{
    const PropertyListObject& archive = m_list[m_list.root()];
    const auto table = m_list.find(archive, "$objects");
    const auto top = m_list.find(archive, "$top");
    if (!table || !top || m_list[*table].kind != Kind::Array)
        return false;
    m_table = *table;
    for (uint32_t i = 0; i < m_list[m_table].count; i++)
        m_slots.push_back(m_list.reference(m_list[m_table], i));
    const auto root = m_list.find(m_list[*top], "root");
    const auto slot = root ? slotOf(*root) : std::nullopt;
    const auto elements = slot ? m_list.find(m_list[m_slots[*slot]], "NS.objects") : std::nullopt;
    if (!elements || m_list[*elements].kind != Kind::Array || m_list.find(m_list[m_slots[*slot]], "NS.keys"))
        return false;
    m_elementList = *elements;
    for (uint32_t i = 0; i < m_list[m_elementList].count; i++)
        m_elements.push_back(m_list.reference(m_list[m_elementList], i));
    // Every reference leads to a slot.
    for (Number i = 0; i < m_list.size(); i++) {
        if (m_list[i].kind == Kind::UID && !slotOf(i))
            return false;
    }
    return true;
}

/// Copies the objects that elements need, and the frame around them, into a new archive.
class ArchivedArray::Merge {
public:
    Merge(const ArchivedArray& frame, std::vector<Number> kept)
        : m_frame(frame)
        , m_kept(std::move(kept))
    {
        m_sources.reserve(2);
        Source& source = m_sources.emplace_back(frame, true);
        source.reach(frame.m_list.root());
        // Slot 0 stands for nothing.
        source.reachSlot(0);
        for (const Number element : m_kept)
            source.reach(element);
        number(source);
    }

    void add(const ArchivedArray& other)
    {
        Source& source = m_sources.emplace_back(other, false);
        shareKeysAndClasses(source);
        for (const Number element : other.m_elements)
            source.reach(element);
        number(source);
    }

    NSData written() const
    {
        size_t expected = 0;
        for (const Source& source : m_sources)
            expected += source.array.m_size;
        // Numbers may grow wider.
        PropertyListWriter writer(m_count, expected + expected / 8);
        for (const Source& source : m_sources) {
            for (Number i = 0; i < source.numbers.size(); i++) {
                if (source.isReached[i])
                    write(writer, source, i);
            }
        }
        return { writer.finish(m_sources[0].numbers[m_frame.m_list.root()]).own };
    }

private:
    struct Source {
        Source(const ArchivedArray& source, bool isFrame)
            : array(source)
            , isFrame(isFrame)
            , isReached(source.m_list.size())
            , numbers(source.m_list.size(), none)
            , slots(source.m_slots.size(), none)
            , isSlotReached(source.m_slots.size())
        {
        }

        /// Marks an object and all it refers to; what has a number already, stands elsewhere.
        void reach(Number first)
        {
            std::vector<Number> open { first };
            while (!open.empty()) {
                const Number at = open.back();
                open.pop_back();
                if (isReached[at] || numbers[at] != none)
                    continue;
                isReached[at] = true;
                const PropertyListObject& object = array.m_list[at];
                if (object.kind == Kind::UID) {
                    const Number slot = *array.slotOf(at);
                    if (slots[slot] == none && !isSlotReached[slot]) {
                        isSlotReached[slot] = true;
                        open.push_back(array.m_slots[slot]);
                    }
                } else if (!isFrame || (at != array.m_table && at != array.m_elementList)) {
                    for (uint32_t i = 0; i < object.references(); i++)
                        open.push_back(array.m_list.reference(object, i));
                }
            }
        }

        void reachSlot(Number slot)
        {
            if (slot >= isSlotReached.size() || isSlotReached[slot])
                return;
            isSlotReached[slot] = true;
            reach(array.m_slots[slot]);
        }

        const ArchivedArray& array;
        // Its table and list of elements are written anew.
        bool isFrame;
        std::vector<bool> isReached;
        // By the old number or slot: the new one.
        std::vector<Number> numbers;
        std::vector<Number> slots;
        std::vector<bool> isSlotReached;
    };

    void number(Source& source)
    {
        for (Number i = 0; i < source.numbers.size(); i++) {
            if (source.isReached[i])
                source.numbers[i] = m_count++;
        }
        for (Number slot = 0; slot < source.slots.size(); slot++) {
            if (source.isSlotReached[slot])
                source.slots[slot] = m_slotCount++;
        }
    }

    /// Keys of dictionaries, and the records of classes, that the frame has already.
    void shareKeysAndClasses(Source& added) const
    {
        const Source& frame = m_sources[0];
        std::map<std::string_view, Number> keys;
        forEachKey(frame.array.m_list, [&](Number key, std::string_view text) {
            if (frame.numbers[key] != none)
                keys.emplace(text, frame.numbers[key]);
        });
        std::map<std::string_view, Number> classes;
        forEachClass(frame.array, [&](Number slot, std::string_view name) {
            if (frame.slots[slot] != none)
                classes.emplace(name, frame.slots[slot]);
        });
        forEachKey(added.array.m_list, [&](Number key, std::string_view text) {
            if (const auto known = keys.find(text); known != keys.end())
                added.numbers[key] = known->second;
        });
        forEachClass(added.array, [&](Number slot, std::string_view name) {
            if (const auto known = classes.find(name); known != classes.end())
                added.slots[slot] = known->second;
        });
        // Nothing is nothing in both.
        added.slots[0] = 0;
    }

    template <typename F> static void forEachKey(const PropertyListOutline& list, F&& visit)
    {
        std::vector<bool> isSeen(list.size());
        for (Number i = 0; i < list.size(); i++) {
            const PropertyListObject& dictionary = list[i];
            for (uint32_t k = 0; dictionary.kind == Kind::Dictionary && k < dictionary.count; k++) {
                const Number key = list.reference(dictionary, k);
                if (isSeen[key] || list[key].kind != Kind::ASCII)
                    continue;
                isSeen[key] = true;
                visit(key, list.payload(list[key]));
            }
        }
    }

    template <typename F> static void forEachClass(const ArchivedArray& array, F&& visit)
    {
        for (Number slot = 0; slot < array.m_slots.size(); slot++) {
            const PropertyListObject& record = array.m_list[array.m_slots[slot]];
            // A class record has its name and its chain.
            if (record.kind != Kind::Dictionary || record.count != 2)
                continue;
            if (const auto name = array.m_list.find(record, "$classname"))
                visit(slot, array.m_list.payload(array.m_list[*name]));
        }
    }

    void write(PropertyListWriter& writer, const Source& source, Number at) const
    {
        const PropertyListOutline& list = source.array.m_list;
        const PropertyListObject& object = list[at];
        if (object.kind == Kind::UID)
            return writer.uid(source.slots[*source.array.slotOf(at)]);
        if (!object.isContainer())
            return writer.verbatim(list.verbatim(object));
        if (source.isFrame && at == m_frame.m_table)
            return writeTable(writer);
        if (source.isFrame && at == m_frame.m_elementList)
            return writeElements(writer);
        if (object.kind == Kind::Dictionary)
            writer.dictionary(object.count);
        else
            writer.array(object.count);
        for (uint32_t i = 0; i < object.references(); i++)
            writer.reference(source.numbers[list.reference(object, i)]);
    }

    void writeTable(PropertyListWriter& writer) const
    {
        writer.array(m_slotCount);
        for (const Source& source : m_sources) {
            for (Number slot = 0; slot < source.slots.size(); slot++) {
                if (source.isSlotReached[slot])
                    writer.reference(source.numbers[source.array.m_slots[slot]]);
            }
        }
    }

    void writeElements(PropertyListWriter& writer) const
    {
        const bool isLonger = m_sources.size() > 1;
        writer.array(m_kept.size() + (isLonger ? m_sources[1].array.m_elements.size() : 0));
        for (const Number element : m_kept)
            writer.reference(m_sources[0].numbers[element]);
        if (isLonger) {
            for (const Number element : m_sources[1].array.m_elements)
                writer.reference(m_sources[1].numbers[element]);
        }
    }

    const ArchivedArray& m_frame;
    std::vector<Number> m_kept;
    std::vector<Source> m_sources;
    Number m_count { 0 };
    Number m_slotCount { 0 };
};

NSData ArchivedArray::appending(const ArchivedArray& other) const
{
    Merge merge(*this, m_elements);
    merge.add(other);
    return merge.written();
}

NSData ArchivedArray::removing(const std::vector<size_t>& positions) const
{
    std::vector<Number> kept;
    for (size_t i = 0; i < m_elements.size(); i++) {
        if (!std::binary_search(positions.begin(), positions.end(), i))
            kept.push_back(m_elements[i]);
    }
    return Merge(*this, std::move(kept)).written();
}

} // namespace lumora
