#pragma once

#include "hashing/OSAbstractHash.h"

namespace lumora {

// The three providers, one instance each in a process. A PNG holds exactly the pixels of its picture, so a
// picture is hashed without one, at a fraction of the time.

/// The average hash. It exists as a text only (`UIImageHashing.h`): the integer is always the error, and so
/// compares with nothing.
class OSAHash final : public OSAbstractHash {
public:
    static OSAHash& sharedInstance();
    OSHashType hashImageData(const NSData& imageData) const override;
    OSHashType hashImage(const UIImage& image) const override;
    OSHashDistanceType hashDistanceSimilarityThreshold() const override { return 10; }
};

/// The difference hash, the default.
class OSDHash final : public OSAbstractHash {
public:
    static OSDHash& sharedInstance();
    OSHashType hashImageData(const NSData& imageData) const override;
    OSHashType hashImage(const UIImage& image) const override;
    OSHashDistanceType hashDistanceSimilarityThreshold() const override { return 9; }
};

/// The hash by cosine transform. It exists as a text only, like the average hash.
class OSPHash final : public OSAbstractHash {
public:
    static OSPHash& sharedInstance();
    /// Prints the picture's greys to standard output, 32 lines of 32: a debugging print that is kept.
    OSHashType hashImageData(const NSData& imageData) const override;
    OSHashType hashImage(const UIImage& image) const override;
    OSHashDistanceType hashDistanceSimilarityThreshold() const override { return 10; }
};

} // namespace lumora
