#include "hashing/OSTuple.h"

#include "platform/objc/ClassDescription.h"
#include "platform/objc/Message.h"

namespace lumora {

const ClassDescription& OSTuple::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<OSTuple, NSObject>("OSTuple"));
    return description;
}
static const RegisteredClass registeredTuple { &OSTuple::classDescription };

std::shared_ptr<OSTuple> OSTuple::tupleWithFirst(Value first, Value andSecond)
{
    auto tuple = make<OSTuple>();
    tuple->first = std::move(first);
    tuple->second = std::move(andSecond);
    return tuple;
}

std::string OSTuple::description() const
{
    // "<%@: %p, first: %@, second: %@>"; what an object says of itself is "<%@: %p>".
    std::string text = Object::description();
    text.pop_back();
    return text + ", first: " + first.description() + ", second: " + second.description() + ">";
}

const ClassDescription& OSHashResultTuple::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<OSHashResultTuple, NSObject>("OSHashResultTuple"));
    return description;
}
static const RegisteredClass registeredResult { &OSHashResultTuple::classDescription };

} // namespace lumora
