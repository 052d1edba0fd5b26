#pragma once

#include "hashing/OSHashType.h"
#include "hashing/OSImageHashingTypes.h"
#include "platform/uikit/UIImage.h"

#include <optional>
#include <string>

namespace lumora {

// UIImage (Hashing): the hashes as texts. Any thread, better not the main one. Texts of a null picture are
// empty.

/// The average hash: 64 characters "0" or "1", down the first column of an 8 x 8 picture, then down the next.
std::string getAHash(const UIImage& image);
/// The hash by cosine transform: 63 characters "0" or "1", over a picture turned about its diagonal like the
/// other.
std::string getPHash(const UIImage& image);
/// The difference hash as decimal text.
std::string getDHash(const UIImage& image);
/// A provider's signed 64-bit hash as decimal text; empty when there is none.
std::string getStringHashForProvider(const UIImage& image, OSImageHashingProviderId provider);

/// The same under their older names: kept.
std::string doAHashStaff(const UIImage& image);
std::string doPHashStaff(const UIImage& image);

/// The three hashes of one picture.
struct ImageHashes {
    std::string aHash;
    std::string pHash;
    OSHashType dHash { OSHashTypeError };
};
/// All of them for hardly more than one costs, as the picture is read once; nothing for a null picture. Any
/// thread.
std::optional<ImageHashes> hashesOfImage(const UIImage& image);

} // namespace lumora
