#include "hashing/PairCombinations.h"

#include "hashing/OSTuple.h"
#include "platform/dispatch/DispatchApply.h"
#include "platform/process/Lock.h"

namespace lumora {

void enumeratePairCombinationsUsingBlock(
    const NSArray& array, const std::function<void(const Value&, const Value&)>& block)
{
    if (array.size() < 2)
        return;
    dispatch_apply(array.size() - 1, dispatch_get_global_queue(), [&](size_t i) {
        for (size_t j = i + 1; j < array.size(); j++)
            block(array[i], array[j]);
    });
}

NSArray arrayWithPairCombinations(const NSArray& array)
{
    struct Pairs {
        Lock lock;
        NSArray tuples LUMORA_GUARDED_BY(lock);
    } pairs;
    enumeratePairCombinationsUsingBlock(array, [&](const Value& first, const Value& second) {
        auto tuple = OSTuple::tupleWithFirst(first, second);
        Locker hold(pairs.lock);
        pairs.tuples.emplace_back(std::move(tuple));
    });
    Locker hold(pairs.lock);
    return std::move(pairs.tuples);
}

} // namespace lumora
