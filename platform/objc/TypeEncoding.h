#pragma once

#include "platform/objc/Selector.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

namespace lumora {

class Object;
class ClassObject;
class Value;
class NSDictionary;
class SlotBase;
struct IMP;

/// A receiver or argument, borrowed for the length of a call.
using id = Object*;
/// A class, itself an object. Lives as long as its process.
using Class = ClassObject*;

/// What a C++ parameter or result is called in a method's type encoding, and the one C++ type it travels as.
/// Every object pointer travels as `id`, every text as `const std::string&`; caller and implementation
/// therefore agree on the function type exactly when their encodings are equal.
template <typename T> struct Encode;

template <typename T>
concept ObjectPointer
    = std::is_pointer_v<T> &&(std::derived_from<std::remove_pointer_t<T>,
                                  Object> || std::same_as<T, Object*> || std::same_as<T, ClassObject*>);

#define LUMORA_ENCODE(Type, Travels, Text)                                                                   \
    template <> struct Encode<Type> {                                                                        \
        using type = Travels;                                                                                \
        static std::string text() { return Text; }                                                           \
    }

LUMORA_ENCODE(void, void, "v");
LUMORA_ENCODE(bool, bool, "B");
LUMORA_ENCODE(int, int, "i");
LUMORA_ENCODE(unsigned, unsigned, "I");
LUMORA_ENCODE(long, int64_t, "q");
LUMORA_ENCODE(long long, int64_t, "q");
LUMORA_ENCODE(unsigned long, uint64_t, "Q");
LUMORA_ENCODE(unsigned long long, uint64_t, "Q");
LUMORA_ENCODE(float, float, "f");
LUMORA_ENCODE(double, double, "d");
LUMORA_ENCODE(const char*, const char*, "r*");
LUMORA_ENCODE(void*, void*, "^v");
LUMORA_ENCODE(SEL, SEL, ":");
LUMORA_ENCODE(SlotBase*, SlotBase*, "^^?");

template <> struct Encode<IMP> {
    using type = const IMP&;
    static std::string text() { return "^?"; }
};
template <> struct Encode<std::string> {
    using type = const std::string&;
    static std::string text() { return "@\"NSString\""; }
};
template <> struct Encode<Value> {
    using type = const Value&;
    static std::string text() { return "@\"Value\""; }
};
template <> struct Encode<NSDictionary> {
    using type = const NSDictionary&;
    static std::string text() { return "@\"NSDictionary\""; }
};
template <ObjectPointer T> struct Encode<T> {
    using type = id;
    static std::string text() { return "@"; }
};
template <typename T>
requires std::derived_from<T, Object> || std::same_as<T, Object>
struct Encode<std::shared_ptr<T>> {
    using type = std::shared_ptr<Object>;
    static std::string text() { return "@&"; }
};
template <typename T>
requires std::is_enum_v<T>
struct Encode<T> {
    using type = int64_t;
    static std::string text() { return "q"; }
};

template <typename T> std::string encode() { return Encode<std::remove_cvref_t<T>>::text(); }

template <typename R, typename... A> struct Encode<std::function<R(A...)>> {
    using type = const std::function<R(A...)>&;
    static std::string text() { return "@?<" + encode<R>() + (std::string {} + ... + encode<A>()) + ">"; }
};

/// The type in which a parameter travels through the runtime.
template <typename T> using Travelling = typename Encode<std::remove_cvref_t<T>>::type;
/// The type in which a result travels: never a reference.
template <typename R>
using TravellingResult = std::remove_cvref_t<typename Encode<std::remove_cvref_t<R>>::type>;

/// The encoding of a whole method, receiver and selector included: "v@:@" takes one object and answers
/// nothing. Interned like a selector, so that a host's encodings and the library's are the same objects: two
/// methods may stand in for each other exactly when their encodings' addresses are equal. Never destroyed.
/// Any thread.
struct TypeEncoding {
    TypeEncoding(const TypeEncoding&) = delete;
    TypeEncoding& operator=(const TypeEncoding&) = delete;

    const std::string text;

    bool operator==(const TypeEncoding& other) const { return this == &other; }

private:
    friend const TypeEncoding& registeredEncoding(const std::string& text);
    explicit TypeEncoding(const std::string& encoding)
        : text(encoding)
    {
    }
};

/// Interns an encoding.
const TypeEncoding& registeredEncoding(const std::string& text);

template <typename R, typename... A> const TypeEncoding& methodEncoding()
{
    static const TypeEncoding& encoding
        = registeredEncoding(encode<R>() + "@:" + (std::string {} + ... + encode<A>()));
    return encoding;
}

/// An erased function pointer whose first two parameters are the receiver and the selector, with the encoding
/// it was made from. One that lacks either answers false.
struct IMP {
    using Function = void (*)();

    IMP() = default;
    IMP(std::nullptr_t) { }
    IMP(Function erased, const TypeEncoding* encoding)
        : function(erased)
        , types(encoding)
    {
    }
    template <typename R, typename... A>
    IMP(R (*implementation)(id, SEL, A...))
        : function(reinterpret_cast<Function>(implementation))
        , types(&methodEncoding<R, A...>())
    {
        static_assert(
            std::is_same_v<R, TravellingResult<R>>, "an implementation answers the travelling type");
        static_assert((std::is_same_v<A, Travelling<A>> && ...),
            "an implementation takes travelling types: id, not UIView*");
    }

    explicit operator bool() const { return function && types; }
    bool operator==(const IMP& other) const { return function == other.function; }

    Function function { nullptr };
    const TypeEncoding* types { nullptr };
};

/// Calls an implementation whose type is known.
template <typename R, typename... A>
R callImplementation(IMP::Function function, id self, SEL selector, A... arguments)
{
    return reinterpret_cast<R (*)(id, SEL, A...)>(function)(self, selector, static_cast<A>(arguments)...);
}

} // namespace lumora
