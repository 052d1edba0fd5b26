#include "interception/Extraction.h"

#include "platform/foundation/NSRegularExpression.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"
#include "platform/uikit/UIView.h"

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

} // namespace

bool isKindOfClassNamed(const Object* object, std::string_view name)
{
    return isKindOfClass(object, NSClassFromString(name));
}

Value getValueFromObject(const Object* object, const KeyPaths& keyPathes)
{
    if (!object)
        return {};
    // An accessor may let go of the object between two paths.
    const auto alive = retain(const_cast<Object*>(object));
    for (const char* path : keyPathes) {
        Value value = readGuarded([&] { return const_cast<Object*>(object)->valueForKeyPath(path); });
        if (!value.isNothing())
            return value;
    }
    return {};
}

Value readKeyPath(const Value& root, const std::string& keyPath)
{
    return readGuarded([&] { return valueForKeyPath(root, keyPath); });
}

std::string textOf(const Value& value, Numbers numbers)
{
    if (numbers == Numbers::AreNoText || !value.isNumber())
        return value.stringOrEmpty();
    return numbers == Numbers::AsInteger ? std::to_string(value.integerValue()) : value.description();
}

std::string textFromObject(const Object* object, const KeyPaths& keyPathes, Numbers numbers)
{
    return textOf(getValueFromObject(object, keyPathes), numbers);
}

std::string Version::read() const
{
    for (const char* name : classes) {
        Class cls = NSClassFromString(name);
        if (!cls)
            continue;
        const Value made = *instance ? answerOf(cls, instance) : Value {};
        const std::shared_ptr<Object> object = made.object();
        const Value answer = answerOf(*instance ? object.get() : cls, selector);
        return answer.isString() ? *answer.string() : fallback;
    }
    return fallback;
}

id superviewOf(id adView)
{
    const auto* view = as<UIView>(adView);
    return view ? view->superview() : nullptr;
}

ReadFromView from(id (*start)(id adView), KeyPaths keyPathes, Numbers numbers)
{
    return [=](id adView) {
        const Value root = readGuarded([&] { return Value { retain(start(adView)) }; });
        return textFromObject(root.object().get(), keyPathes, numbers);
    };
}

ReadFromView fromView(KeyPaths keyPathes, Numbers numbers)
{
    return from([](id adView) { return adView; }, std::move(keyPathes), numbers);
}

ReadFromView fromSuperview(KeyPaths keyPathes, Numbers numbers)
{
    return from(&superviewOf, std::move(keyPathes), numbers);
}

ReadFromView fromNextResponder(KeyPaths keyPathes)
{
    return from(
        [](id adView) -> id {
            auto* view = as<UIResponder>(adView);
            return view ? send(view, sel::nextResponder) : nullptr;
        },
        std::move(keyPathes));
}

ReadFromBoth fromSupportObject(KeyPaths keyPathes, Numbers numbers)
{
    return [=](id, id supportObject) { return textFromObject(supportObject, keyPathes, numbers); };
}

std::optional<std::string> firstMatch(std::string_view text, std::string_view pattern, bool caseInsensitive)
{
    const auto compiled = NSRegularExpression::regularExpressionWithPattern(pattern, caseInsensitive);
    const auto match = compiled ? compiled->firstMatchInString(text) : std::nullopt;
    return match ? std::optional(match->text) : std::nullopt;
}

std::optional<std::string> textAfterPrefix(
    std::string_view text, const std::vector<std::string>& prefixes, std::string_view rest)
{
    for (const std::string& prefix : prefixes) {
        // The match may differ from the prefix in letter case, hence in bytes: its length is counted in
        // units.
        if (const auto match = firstMatch(text, prefix + std::string { rest }))
            return match->substr(prefixOfUTF16Length(*match, utf16Length(prefix)).size());
    }
    return std::nullopt;
}

std::optional<std::string> digitsAfterPrefix(std::string_view text, const std::vector<std::string>& prefixes)
{
    return textAfterPrefix(text, prefixes, "\\d+");
}

} // namespace lumora
