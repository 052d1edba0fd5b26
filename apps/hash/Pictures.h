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
    /// The hashes as numbers, for quick comparison.
    struct Bits {
        uint64_t aHash { 0 };
        uint64_t pHash { 0 };
        uint64_t dHash { 0 };
    } bits {};
};

/// How far two pictures with hashes are apart by each, in bits.
struct Distances {
    Distances(const Picture& a, const Picture& b);
    bool isSimilar() const { return byAHash || byPHash || byDHash; }
    /// The names of the hashes by which the two are similar, with commas between; "none" for none.
    std::string similarBy() const;

    int64_t aHash;
    int64_t pHash;
    int64_t dHash;
    bool byAHash;
    bool byPHash;
    bool byDHash;
};

/// Two places in a list of pictures.
struct SimilarPair {
    size_t first;
    size_t second;
    Distances distances;
};

/// Hears how many of the list are done, after each, from any thread.
using Progress = std::function<void(size_t)>;

/// The files named, and the PNG and JPEG files in the folders named and below, in the order of their names. A
/// folder inside that cannot be read is left out. Throws std::runtime_error when a name is neither.
std::vector<Picture> picturesAt(const std::vector<std::string>& names);

/// Hashes all pictures, on as many threads as the machine has cores.
void hashPictures(std::vector<Picture>& pictures, const Progress& done);

/// Every pair that is similar by at least one hash, in the order of the list; on as many threads.
std::vector<SimilarPair> similarPairs(const std::vector<Picture>& pictures, const Progress& done);

} // namespace lumora
