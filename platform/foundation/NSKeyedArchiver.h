#pragma once

#include "platform/foundation/NSCoding.h"

namespace lumora {

/// What an object writes itself to, or reads itself from, under keys of its own. Borrowed for the length of
/// `encodeWithCoder:` or `initWithCoder:`; that call's thread only.
class NSCoder : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Writes a value under a key; an object inside must be archivable too. Raises on a coder that reads.
    virtual void encodeObject(const Value& object, std::string_view forKey);
    /// The value under a key, or nothing. Raises on a coder that writes.
    virtual Value decodeObject(std::string_view forKey);
};

/// Deeper nesting than this is refused, written or read.
inline constexpr int deepestArchive = 128;

/// A keyed archive of a value: a binary property list. Objects are archived through `encodeWithCoder:`, each
/// once however often it occurs. Empty when something in it is not archivable: an object without that method,
/// or nesting too deep. Any thread.
NSData archivedDataWithRootObject(const Value& rootObject);

/// Reads an archive back; objects are allocated by class name and sent `initWithCoder:`. Nothing when it is
/// truncated or damaged, or names a class that is unknown or not archivable. Any thread.
Value unarchiveObjectWithData(const NSData& data);
/// The same when all objects in it are of one class, besides the platform's own values; else nothing.
Value unarchivedObjectOfClass(std::string_view className, const NSData& fromData);

} // namespace lumora
