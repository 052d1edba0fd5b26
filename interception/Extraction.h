#pragma once

#include "platform/objc/Object.h"

#include <initializer_list>
#include <optional>
#include <string>

namespace lumora {

/// Answered when a network's version cannot be read.
inline constexpr const char* versionNotAvailable = "version param is not available";

/// True when a class of that name exists and the object is of it or of a subclass; false for nil.
bool isKindOfClassNamed(const Object* object, std::string_view name);

/// The first value that one of the key paths finds, tried in order. An unknown key counts as nothing found,
/// and so does a nil object. Any thread.
Value getValueFromObject(const Object* object, std::initializer_list<const char*> keyPathes);

/// The same as text; empty when nothing is found or it is no text.
std::string textFromObject(const Object* object, std::initializer_list<const char*> keyPathes);

/// The version that the first of the classes that exists answers to a class-level selector; the fallback when
/// none exists, it does not answer, or answers no text.
std::string versionFromClass(std::initializer_list<const char*> classNames, std::string_view selector,
    const char* fallback = versionNotAvailable);
/// The same, asked of the object that another class-level selector, such as "sharedInstance", answers.
std::string versionFromInstance(const char* className, std::string_view instanceSelector,
    std::string_view selector, const char* fallback = versionNotAvailable);

/// The digits that follow the first of the prefixes found in a text. Prefixes stand in the pattern as they
/// are.
std::optional<std::string> digitsAfterPrefix(
    std::string_view text, std::initializer_list<const char*> prefixes);

} // namespace lumora
