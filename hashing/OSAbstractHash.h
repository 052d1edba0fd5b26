#pragma once

#include "hashing/OSHashType.h"
#include "platform/foundation/NSComparisonResult.h"
#include "platform/uikit/UIImage.h"

namespace lumora {

/// A provider of one perceptual hash. Without state; any thread. A picture that is null or cannot be decoded
/// hashes to `OSHashTypeError` and is similar to nothing. The base hashes nothing: its three abstract
/// operations raise `NSInternalInconsistencyException`.
class OSAbstractHash {
public:
    OSAbstractHash() = default;
    virtual ~OSAbstractHash() = default;
    OSAbstractHash(const OSAbstractHash&) = delete;
    OSAbstractHash& operator=(const OSAbstractHash&) = delete;

    /// Abstract: every provider has the one of its process.
    static OSAbstractHash& sharedInstance();
    /// Abstract. Hashes the bytes of a PNG or JPEG.
    virtual OSHashType hashImageData(const NSData& imageData) const;
    /// Abstract. Two pictures are similar below this distance.
    virtual OSHashDistanceType hashDistanceSimilarityThreshold() const;

    /// Hashes a picture as its PNG would hash.
    virtual OSHashType hashImage(const UIImage& image) const;
    OSHashDistanceType hashDistance(OSHashType from, OSHashType to) const;
    /// With the provider's own threshold.
    bool compareImageData(const NSData& left, const NSData& to) const;
    /// Whether both can be hashed and their distance is strictly below the threshold.
    bool compareImageData(
        const NSData& left, const NSData& to, OSHashDistanceType withDistanceThreshold) const;
    /// Orders two pictures by their closeness to a base; one that cannot be hashed comes last.
    NSComparisonResult imageSimilarityComparatorForImageForBaseImageData(
        const NSData& base, const NSData& forLeftHandImageData, const NSData& forRightHandImageData) const;
    /// The same over hashes. Two that could not be hashed: the left one is sorted behind, kept.
    NSComparisonResult compareByDistance(OSHashType base, OSHashType left, OSHashType right) const;
};

} // namespace lumora
