#include "interception/Extraction.h"

#include "platform/foundation/NSRegularExpression.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"
#include "platform/objc/NSException.h"

namespace lumora {

namespace {

// A value that cannot be read, whatever the foreign object raises, is not there.
template <typename Read> Value readGuarded(Read&& read)
{
    try {
        return read();
    } catch (...) {
        return {};
    }
}

// What an accessor of unknown result type answers: key-value coding boxes it.
Value answerOf(Object* receiver, std::string_view selector)
{
    return receiver && respondsToSelector(receiver, sel_registerName(selector))
        ? readGuarded([&] { return receiver->valueForKey(selector); })
        : Value {};
}

std::string textOr(const Value& value, const char* fallback)
{
    return value.isString() ? *value.string() : fallback;
}

} // namespace

bool isKindOfClassNamed(const Object* object, std::string_view name)
{
    return isKindOfClass(object, NSClassFromString(name));
}

Value getValueFromObject(const Object* object, std::initializer_list<const char*> keyPathes)
{
    if (!object)
        return {};
    for (const char* path : keyPathes) {
        Value value = readGuarded([&] { return const_cast<Object*>(object)->valueForKeyPath(path); });
        if (!value.isNothing())
            return value;
    }
    return {};
}

std::string textFromObject(const Object* object, std::initializer_list<const char*> keyPathes)
{
    return getValueFromObject(object, keyPathes).stringOrEmpty();
}

std::string versionFromClass(
    std::initializer_list<const char*> classNames, std::string_view selector, const char* fallback)
{
    for (const char* name : classNames) {
        if (Class cls = NSClassFromString(name))
            return textOr(answerOf(cls, selector), fallback);
    }
    return fallback;
}

std::string versionFromInstance(
    const char* className, std::string_view instanceSelector, std::string_view selector, const char* fallback)
{
    const Value instance = answerOf(NSClassFromString(className), instanceSelector);
    return textOr(answerOf(instance.object().get(), selector), fallback);
}

std::optional<std::string> digitsAfterPrefix(
    std::string_view text, std::initializer_list<const char*> prefixes)
{
    for (const char* prefix : prefixes) {
        const auto pattern
            = NSRegularExpression::regularExpressionWithPattern(stringWithFormat("%@\\d+", { prefix }), true);
        const auto match = pattern ? pattern->firstMatchInString(text) : std::nullopt;
        if (match)
            return match->text.substr(std::string_view(prefix).size());
    }
    return std::nullopt;
}

} // namespace lumora
