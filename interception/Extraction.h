#pragma once

#include "platform/objc/Object.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

// Reading what the networks keep in their private objects. Every read is guarded: an unknown key, and
// whatever else a foreign object raises, counts as nothing found. Nothing is logged. Any thread, unless views
// are read.

using KeyPaths = std::vector<const char*>;

/// True when a class of that name exists and the object is of it or of a subclass; false for nil.
bool isKindOfClassNamed(const Object* object, std::string_view name);

/// The first value that one of the key paths finds, tried in order; nothing for nil.
Value getValueFromObject(const Object* object, const KeyPaths& keyPathes);
inline Value getValueFromObject(const Object* object, const char* keyPath)
{
    return getValueFromObject(object, KeyPaths { keyPath });
}

/// The same from any value, such as parsed JSON.
Value readKeyPath(const Value& root, const std::string& keyPath);

/// What a number becomes where text is expected.
enum class Numbers {
    /// Nothing: an empty text, like everything else that is no text.
    AreNoText,
    /// Formatted with "%ld".
    AsInteger,
    /// Its `stringValue`.
    AsText,
};
std::string textOf(const Value& value, Numbers numbers = Numbers::AreNoText);
/// The first value on the key paths as text; empty when nothing is found or it is no text.
std::string textFromObject(
    const Object* object, const KeyPaths& keyPathes, Numbers numbers = Numbers::AreNoText);

/// Answered when a network's version cannot be read.
inline constexpr const char* versionNotAvailable = "version param is not available";

/// Where a network's version is read.
struct Version {
    /// The first of these that exists is asked.
    KeyPaths classes;
    const char* selector { "" };
    /// A class-level operation that answers the object to ask, such as "sharedInstance"; empty when the class
    /// itself is asked.
    const char* instance { "" };
    /// Answered when there is none to ask, it does not answer, or answers no text.
    const char* fallback { versionNotAvailable };

    std::string read() const;
    /// The same answer always.
    static Version constant(const char* text) { return { .classes = {}, .fallback = text }; }
};

/// How an identifier is read: from the ad view alone, or also from the network's ad object, which may be nil.
using ReadFromView = std::function<std::string(id adView)>;
using ReadFromBoth = std::function<std::string(id adView, id supportObject)>;

/// Reads below what a function finds from the ad view, or below the ad view itself, the view above it, or the
/// responder after it.
ReadFromView from(id (*start)(id adView), KeyPaths keyPathes, Numbers numbers = Numbers::AreNoText);
ReadFromView fromView(KeyPaths keyPathes, Numbers numbers = Numbers::AreNoText);
ReadFromView fromSuperview(KeyPaths keyPathes, Numbers numbers = Numbers::AreNoText);
ReadFromView fromNextResponder(KeyPaths keyPathes);
ReadFromBoth fromSupportObject(KeyPaths keyPathes, Numbers numbers = Numbers::AreNoText);

/// The superview of what may be a view.
id superviewOf(id adView);

/// What follows the first of the prefixes that is found in a text together with something of `rest`, a
/// pattern. Prefixes stand in the pattern as they are; letter case is ignored.
std::optional<std::string> textAfterPrefix(
    std::string_view text, const std::vector<std::string>& prefixes, std::string_view rest);
/// The same with digits behind the prefix.
std::optional<std::string> digitsAfterPrefix(std::string_view text, const std::vector<std::string>& prefixes);
/// The first match of a pattern.
std::optional<std::string> firstMatch(
    std::string_view text, std::string_view pattern, bool caseInsensitive = true);

} // namespace lumora
