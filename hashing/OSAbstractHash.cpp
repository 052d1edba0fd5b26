#include "hashing/OSAbstractHash.h"

#include "platform/objc/NSException.h"

#include <bit>

namespace lumora {

namespace {
[[noreturn]] void raiseAbstract()
{
    throw NSException(NSInternalInconsistencyException, "Abstract method called.");
}
} // namespace

OSAbstractHash& OSAbstractHash::sharedInstance() { raiseAbstract(); }
OSHashType OSAbstractHash::hashImageData(const NSData&) const { raiseAbstract(); }
OSHashDistanceType OSAbstractHash::hashDistanceSimilarityThreshold() const { raiseAbstract(); }

OSHashType OSAbstractHash::hashImage(const UIImage& image) const
{
    const NSData png = UIImagePNGRepresentation(image);
    return png.bytes.empty() ? OSHashTypeError : hashImageData(png);
}

OSHashDistanceType OSAbstractHash::hashDistance(OSHashType from, OSHashType to) const
{
    return std::popcount(static_cast<uint64_t>(from ^ to));
}

bool OSAbstractHash::compareImageData(const NSData& left, const NSData& to) const
{
    return compareImageData(left, to, hashDistanceSimilarityThreshold());
}

bool OSAbstractHash::compareImageData(
    const NSData& left, const NSData& to, OSHashDistanceType withDistanceThreshold) const
{
    const OSHashType a = hashImageData(left);
    const OSHashType b = hashImageData(to);
    return a != OSHashTypeError && b != OSHashTypeError && hashDistance(a, b) < withDistanceThreshold;
}

NSComparisonResult OSAbstractHash::imageSimilarityComparatorForImageForBaseImageData(
    const NSData& base, const NSData& forLeftHandImageData, const NSData& forRightHandImageData) const
{
    return compareByDistance(
        hashImageData(base), hashImageData(forLeftHandImageData), hashImageData(forRightHandImageData));
}

NSComparisonResult OSAbstractHash::compareByDistance(OSHashType base, OSHashType left, OSHashType right) const
{
    if (base == OSHashTypeError)
        return NSComparisonResult::OrderedSame;
    if (left == OSHashTypeError)
        return NSComparisonResult::OrderedDescending;
    if (right == OSHashTypeError)
        return NSComparisonResult::OrderedAscending;
    const OSHashDistanceType toLeft = hashDistance(base, left);
    const OSHashDistanceType toRight = hashDistance(base, right);
    return toLeft < toRight ? NSComparisonResult::OrderedAscending
        : toLeft > toRight  ? NSComparisonResult::OrderedDescending
                            : NSComparisonResult::OrderedSame;
}

} // namespace lumora
