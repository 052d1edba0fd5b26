#pragma once

#include "hashing/OSHashType.h"
#include "platform/objc/Object.h"

namespace lumora {

/// A pair of objects, both held strongly. Immutable by habit; any thread.
class OSTuple final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<OSTuple> tupleWithFirst(Value first, Value andSecond);
    std::string description() const override;

    Value first;
    Value second;
};

/// A picture's hash beside what identifies the picture: what a search would be made of. Kept, as nothing
/// searches.
class OSHashResultTuple final : public NSObject {
public:
    static const ClassDescription& classDescription();

    Value first;
    OSHashType hashResult { OSHashTypeError };
};

} // namespace lumora
