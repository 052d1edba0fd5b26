#pragma once

#include "hashing/UIImageHashing.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

/// A file and its hashes; none when it cannot be read or is no picture.
struct Picture {
    std::filesystem::path path;
    std::optional<ImageHashes> hashes {};
};

/// How far two pictures are apart by each hash, in bits.
struct Distances {
    Distances(const ImageHashes& a, const ImageHashes& b);
    /// The names of the hashes by which they are similar, with commas between; empty for none.
    std::string similarBy() const;

    int64_t aHash;
    int64_t pHash;
    int64_t dHash;
};

/// The files named, and the PNG and JPEG files in the folders named and below, in the order of their names.
/// Throws std::filesystem::filesystem_error when a name is neither.
std::vector<Picture> picturesAt(const std::vector<std::string>& names);

/// Hashes all pictures, as many at a time as the machine has cores. `hashed` hears how many are done, now and
/// then, from any thread, one at a time.
void hashPictures(std::vector<Picture>& pictures, const std::function<void(size_t)>& hashed);

} // namespace lumora
