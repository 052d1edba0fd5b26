#include "platform/foundation/NSKeyedArchiver.h"

#include "platform/foundation/NSPropertyList.h"
#include "platform/foundation/NSString.h"

#include <map>
#include <unordered_map>

namespace lumora {

namespace {

// Seconds from 1970 to 2001, where the dates of an archive begin.
constexpr double referenceDate = 978307200;
constexpr int64_t archiveVersion = 100000;
constexpr const char* archiverName = "NSKeyedArchiver";

/// A key of ours never reads as one of the archive's own.
std::string archiveKey(std::string_view key)
{
    return (key.starts_with('$') ? "$" : "") + std::string { key };
}

std::optional<std::string> bytesOfUUID(std::string_view text)
{
    std::string bytes;
    int high = -1;
    for (const char c : text) {
        if (c == '-')
            continue;
        const size_t digit = std::string_view { "0123456789ABCDEFabcdef" }.find(c);
        if (digit == std::string_view::npos)
            return std::nullopt;
        const int value = static_cast<int>(digit < 16 ? digit : digit - 6);
        if (high >= 0)
            bytes += static_cast<char>(high << 4 | value);
        high = high >= 0 ? -1 : value;
    }
    return bytes.size() == 16 && high < 0 ? std::optional(bytes) : std::nullopt;
}

} // namespace

const ClassDescription& NSCoder::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSCoder, NSObject>("NSCoder"));
    return description;
}
static const RegisteredClass registeredCoder { &NSCoder::classDescription };

void NSCoder::encodeObject(const Value&, std::string_view forKey)
{
    throw NSException(NSInvalidArgumentException, "this coder does not write " + std::string { forKey });
}

Value NSCoder::decodeObject(std::string_view forKey)
{
    throw NSException(NSInvalidArgumentException, "this coder does not read " + std::string { forKey });
}

/// Builds the table of objects. A slot is reserved before what it holds is written; class records come after
/// it, one a class.
class NSKeyedArchiver final : public NSCoder {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<NSKeyedArchiver, NSCoder>("NSKeyedArchiver"));
        return description;
    }

    void encodeObject(const Value& object, std::string_view forKey) override
    {
        const Value reference = referenceTo(encode(object));
        if (m_current)
            m_current->set(archiveKey(forKey), reference);
    }

    NSData finished(const Value& root)
    {
        const Value reference = referenceTo(encode(root));
        if (m_hasFailed)
            return {};
        NSDictionary archive { { "$version", archiveVersion }, { "$archiver", archiverName } };
        archive.set("$top", NSDictionary { { "root", reference } });
        archive.set("$objects", std::move(m_objects));
        return dataWithPropertyList(archive).value_or(NSData {});
    }

private:
    size_t append(Value value)
    {
        m_objects.push_back(std::move(value));
        return m_objects.size() - 1;
    }

    size_t encode(const Value& value)
    {
        if (value.isNothing() || m_hasFailed)
            return 0;
        if (m_depth == deepestArchive) {
            m_hasFailed = true;
            return 0;
        }
        m_depth++;
        const size_t slot = encodeContent(value);
        m_depth--;
        return slot;
    }

    size_t encodeContent(const Value& value)
    {
        if (const std::string* text = value.string()) {
            auto [known, isNew] = m_texts.try_emplace(*text, m_objects.size());
            return isNew ? append(value) : known->second;
        }
        if (value.isNumber() || value.data())
            return append(value);
        if (std::shared_ptr<Object> object = value.object())
            return encodeArchivable(std::move(object));
        const size_t slot = append(NSDictionary {});
        NSDictionary record;
        if (const NSArray* elements = value.array()) {
            record.set("NS.objects", referencesTo(*elements));
            record.set("$class", classRecord({ "NSArray", "NSObject" }));
        } else if (const NSDictionary* dictionary = value.dictionary()) {
            NSArray keys;
            NSArray values;
            for (const auto& [key, element] : *dictionary) {
                keys.emplace_back(key);
                values.push_back(element);
            }
            record.set("NS.keys", referencesTo(keys));
            record.set("NS.objects", referencesTo(values));
            record.set("$class", classRecord({ "NSMutableDictionary", "NSDictionary", "NSObject" }));
        } else if (const NSDateValue* date = value.date()) {
            record.set("NS.time", date->timeIntervalSince1970 - referenceDate);
            record.set("$class", classRecord({ "NSDate", "NSObject" }));
        } else if (const NSURLValue* url = value.url()) {
            record.set("NS.base", referenceTo(0));
            record.set("NS.relative", referenceTo(encode(url->absoluteString)));
            record.set("$class", classRecord({ "NSURL", "NSObject" }));
        } else if (const NSUUIDValue* uuid = value.uuid()) {
            const std::optional<std::string> bytes = bytesOfUUID(uuid->string);
            m_hasFailed |= !bytes;
            record.set("NS.uuidbytes", NSData::fromText(bytes.value_or("")));
            record.set("$class", classRecord({ "NSUUID", "NSObject" }));
        } else {
            record.set("$class", classRecord({ "NSNull", "NSObject" }));
        }
        m_objects[slot] = std::move(record);
        return slot;
    }

    size_t encodeArchivable(std::shared_ptr<Object> object)
    {
        if (auto known = m_known.find(object.get()); known != m_known.end())
            return known->second.slot;
        if (!respondsToSelector(object.get(), sel::encodeWithCoder)) {
            m_hasFailed = true;
            return 0;
        }
        const size_t slot = append(NSDictionary {});
        m_known.emplace(object.get(), Known { object, slot });
        NSDictionary record;
        NSDictionary* outer = std::exchange(m_current, &record);
        send(object, sel::encodeWithCoder, this);
        m_current = outer;
        std::vector<std::string> chain;
        for (Class cls = object->isa(); cls; cls = cls->superclass())
            chain.push_back(cls->name());
        record.set("$class", classRecord(std::move(chain)));
        m_objects[slot] = std::move(record);
        return slot;
    }

    NSArray referencesTo(const NSArray& elements)
    {
        NSArray references;
        for (const Value& element : elements)
            references.push_back(referenceTo(encode(element)));
        return references;
    }

    Value classRecord(std::vector<std::string> chain)
    {
        auto [known, isNew] = m_classes.try_emplace(chain.front(), m_objects.size());
        if (isNew)
            append(NSDictionary {
                { "$classes", NSArray(chain.begin(), chain.end()) }, { "$classname", chain.front() } });
        return referenceTo(known->second);
    }

    // Holds the object, so that no other gets its address while the archive is written.
    struct Known {
        std::shared_ptr<Object> object;
        size_t slot;
    };

    NSArray m_objects { "$null" };
    std::unordered_map<std::string, size_t> m_texts;
    std::unordered_map<const Object*, Known> m_known;
    std::map<std::string, size_t> m_classes;
    NSDictionary* m_current { nullptr };
    int m_depth { 0 };
    bool m_hasFailed { false };
};

/// Reads the table of objects on demand. Each object is made once, and stands from before its
/// `initWithCoder:`, so cycles close; the reference that closes one is weak, or a damaged file could make
/// objects that nothing frees.
class NSKeyedUnarchiver final : public NSCoder {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<NSKeyedUnarchiver, NSCoder>("NSKeyedUnarchiver"));
        return description;
    }

    Value decodeObject(std::string_view forKey) override
    {
        return m_current ? decodeField((*m_current)[archiveKey(forKey)]) : Value {};
    }

    /// Refuses objects of other classes.
    void allowOnly(std::string_view className) { m_allowedClass = className; }

    Value root(const NSDictionary& archive)
    {
        const NSDictionary* top = archive["$top"].dictionary();
        m_objects = archive["$objects"].array();
        if (!top || !m_objects || archive["$archiver"] != Value { archiverName }
            || archive["$version"] != Value { archiveVersion })
            return {};
        Value root = decodeField((*top)["root"]);
        return m_hasFailed ? Value {} : root;
    }

private:
    // What is shared is copied wherever it is referred to; a small file could unfold into anything.
    static constexpr size_t mostValues = 1 << 22;
    static constexpr size_t mostBytes = size_t { 1 } << 30;

    Value fail()
    {
        m_hasFailed = true;
        return {};
    }

    /// A reference is followed, anything else stands inline.
    Value decodeField(const Value& field)
    {
        const std::optional<size_t> index = referencedIndex(field);
        if (!index)
            return field.isDictionary() || field.isArray() ? fail() : field;
        if (*index == 0)
            return {};
        if (m_hasFailed || *index >= m_objects->size() || m_depth == deepestArchive
            || ++m_decoded > mostValues)
            return fail();
        m_depth++;
        Value value = decodeSlot(*index);
        m_depth--;
        return value;
    }

    Value decodeSlot(size_t slot)
    {
        const Value& content = (*m_objects)[slot];
        const NSDictionary* record = content.dictionary();
        if (const std::string* text = content.string())
            m_decodedBytes += text->size();
        if (m_decodedBytes > mostBytes)
            return fail();
        if (!record)
            return content.isArray() ? fail() : content;
        if (auto made = m_made.find(slot); made != m_made.end())
            return made->second;
        const std::optional<size_t> classIndex = referencedIndex((*record)["$class"]);
        const NSDictionary* cls = classIndex && *classIndex < m_objects->size()
            ? (*m_objects)[*classIndex].dictionary()
            : nullptr;
        const std::string* name = cls ? (*cls)["$classname"].string() : nullptr;
        return name ? decodeRecord(slot, *record, *name) : fail();
    }

    Value decodeRecord(size_t slot, const NSDictionary& record, const std::string& className)
    {
        if (className == "NSArray" || className == "NSMutableArray")
            return decodeArray(record["NS.objects"]);
        if (className == "NSDictionary" || className == "NSMutableDictionary")
            return decodeDictionary(record);
        if (className == "NSString" || className == "NSMutableString")
            return record["NS.string"].string() ? record["NS.string"] : fail();
        if (className == "NSData" || className == "NSMutableData")
            return record["NS.data"].data() ? record["NS.data"] : fail();
        if (className == "NSDate")
            return record["NS.time"].isNumber()
                ? Value { NSDateValue { record["NS.time"].doubleValue() + referenceDate } }
                : fail();
        if (className == "NSNull")
            return NSNull {};
        if (className == "NSURL") {
            const Value text = decodeField(record["NS.relative"]);
            return text.string() ? Value { NSURLValue { *text.string() } } : fail();
        }
        if (className == "NSUUID") {
            const NSData* bytes = record["NS.uuidbytes"].data();
            return bytes && bytes->bytes.size() == 16 ? Value { NSUUIDValue { textOfUUID(bytes->view()) } }
                                                      : fail();
        }
        return decodeArchivable(slot, record, className);
    }

    Value decodeArray(const Value& references)
    {
        if (!references.array())
            return fail();
        NSArray elements;
        for (const Value& reference : *references.array()) {
            elements.push_back(decodeField(reference));
            if (m_hasFailed)
                return {};
        }
        return elements;
    }

    Value decodeDictionary(const NSDictionary& record)
    {
        const Value keys = decodeArray(record["NS.keys"]);
        const Value values = decodeArray(record["NS.objects"]);
        if (m_hasFailed || keys.array()->size() != values.array()->size())
            return fail();
        std::map<std::string_view, size_t> distinct;
        std::vector<NSDictionary::Entry> entries;
        for (size_t i = 0; i < keys.array()->size(); i++) {
            const std::string* key = (*keys.array())[i].string();
            if (!key)
                return fail();
            // Keys that were no text may have become equal when they were repaired: the first counts.
            if (!distinct.emplace(*key, i).second)
                continue;
            entries.emplace_back(*key, (*values.array())[i]);
        }
        return NSDictionary::withDistinctKeys(std::move(entries));
    }

    Value decodeArchivable(size_t slot, const NSDictionary& record, const std::string& className)
    {
        Class cls = m_allowedClass && className != *m_allowedClass ? nullptr : NSClassFromString(className);
        if (!cls || !class_getInstanceMethod(cls, sel::initWithCoder))
            return fail();
        std::shared_ptr<Object> object = class_createInstance(cls);
        m_made.insert_or_assign(slot, Value::weak(object));
        const NSDictionary* outer = std::exchange(m_current, &record);
        id initialised = send(object, sel::initWithCoder, this);
        m_current = outer;
        // An initialiser may answer another object, or none.
        m_made.insert_or_assign(slot, Value { initialised == object.get() ? object : retain(initialised) });
        return m_made[slot];
    }

    std::optional<std::string_view> m_allowedClass;
    const NSArray* m_objects { nullptr };
    std::unordered_map<size_t, Value> m_made;
    const NSDictionary* m_current { nullptr };
    size_t m_decoded { 0 };
    size_t m_decodedBytes { 0 };
    int m_depth { 0 };
    bool m_hasFailed { false };
};

static const RegisteredClass registeredArchiver { &NSKeyedArchiver::classDescription };
static const RegisteredClass registeredUnarchiver { &NSKeyedUnarchiver::classDescription };

NSData archivedDataWithRootObject(const Value& rootObject)
{
    try {
        return make<NSKeyedArchiver>()->finished(rootObject);
    } catch (const std::exception&) {
        return {};
    }
}

static Value unarchived(const NSData& data, std::optional<std::string_view> className)
{
    const std::optional<Value> archive = propertyListWithData(data.view());
    if (!archive || !archive->dictionary())
        return {};
    try {
        const auto unarchiver = make<NSKeyedUnarchiver>();
        if (className)
            unarchiver->allowOnly(*className);
        return unarchiver->root(*archive->dictionary());
    } catch (const std::exception&) {
        return {};
    }
}

Value unarchiveObjectWithData(const NSData& data) { return unarchived(data, std::nullopt); }

Value unarchivedObjectOfClass(std::string_view className, const NSData& fromData)
{
    return unarchived(fromData, className);
}

} // namespace lumora
