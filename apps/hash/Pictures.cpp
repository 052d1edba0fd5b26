#include "apps/hash/Pictures.h"

#include "hashing/OSHashProviders.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <stdexcept>
#include <thread>

namespace lumora {

namespace {

namespace fs = std::filesystem;

// Providers of this program's own: the shared ones would bring a whole process with them.
const OSAHash aHashProvider;
const OSDHash dHashProvider;
const OSPHash pHashProvider;

uint64_t bitsOf(const std::string& hash)
{
    uint64_t bits = 0;
    for (const char c : hash)
        bits = bits << 1 | (c == '1' ? 1 : 0);
    return bits;
}

int64_t distance(uint64_t a, uint64_t b)
{
    return dHashProvider.hashDistance(static_cast<OSHashType>(a), static_cast<OSHashType>(b));
}

bool isPictureName(const fs::path& path)
{
    const std::string extension = lowercased(path.extension().string());
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::vector<Picture> picturesIn(const std::string& folder)
{
    std::vector<Picture> pictures;
    std::error_code ignored;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, ignored);
    for (; entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (isPictureName(entry->path()) && fs::is_regular_file(entry->path(), ignored))
            pictures.push_back({ entry->path() });
    }
    std::sort(
        pictures.begin(), pictures.end(), [](const Picture& a, const Picture& b) { return a.path < b.path; });
    return pictures;
}

void hash(Picture& picture)
{
    const std::optional<NSData> contents = contentsOfFile(picture.path);
    const std::optional<UIImage> image = contents ? UIImage::imageWithData(*contents) : std::nullopt;
    picture.hashes = image ? hashesOfImage(*image) : std::nullopt;
    if (picture.hashes)
        picture.bits = { bitsOf(picture.hashes->aHash), bitsOf(picture.hashes->pHash),
            static_cast<uint64_t>(picture.hashes->dHash) };
}

/// Calls `work` for every number below `count`, on threads of its own: there is no process here to lend its.
/// The first error ends it and is thrown on.
void inParallel(size_t count, const Progress& done, const std::function<void(size_t)>& work)
{
    std::atomic<size_t> next { 0 };
    std::atomic<size_t> finished { 0 };
    std::atomic_flag hasFailed;
    std::exception_ptr error;
    auto run = [&] {
        try {
            for (size_t i = next++; i < count; i = next++) {
                work(i);
                done(++finished);
            }
        } catch (...) {
            if (!hasFailed.test_and_set())
                error = std::current_exception();
            next = count;
        }
    };
    {
        std::vector<std::jthread> helpers;
        const size_t threads = std::min<size_t>(std::max(1U, std::thread::hardware_concurrency()), count);
        for (size_t i = 1; i < threads; i++)
            helpers.emplace_back(run);
        run();
    }
    if (error)
        std::rethrow_exception(error);
}

} // namespace

Distances::Distances(const Picture& a, const Picture& b)
    : aHash(distance(a.bits.aHash, b.bits.aHash))
    , pHash(distance(a.bits.pHash, b.bits.pHash))
    , dHash(distance(a.bits.dHash, b.bits.dHash))
    , byAHash(aHash < aHashProvider.hashDistanceSimilarityThreshold())
    , byPHash(pHash < pHashProvider.hashDistanceSimilarityThreshold())
    // The error is similar to nothing, not even to itself.
    , byDHash(dHash < dHashProvider.hashDistanceSimilarityThreshold() && a.hashes->dHash != OSHashTypeError
          && b.hashes->dHash != OSHashTypeError)
{
}

std::string Distances::similarBy() const
{
    std::string names;
    for (const auto& [name, isSimilar] :
        { std::pair { ",aHash", byAHash }, std::pair { ",pHash", byPHash }, std::pair { ",dHash", byDHash } })
        names += isSimilar ? name : "";
    return names.empty() ? "none" : names.substr(1);
}

std::vector<Picture> picturesAt(const std::vector<std::string>& names)
{
    std::vector<Picture> pictures;
    for (const std::string& name : names) {
        std::error_code error;
        const fs::file_status status = fs::status(name, error);
        if (!fs::exists(status))
            throw std::runtime_error(name + ": " + error.message());
        if (!fs::is_directory(status)) {
            pictures.push_back({ name });
            continue;
        }
        std::vector<Picture> inside = picturesIn(name);
        std::move(inside.begin(), inside.end(), std::back_inserter(pictures));
    }
    return pictures;
}

void hashPictures(std::vector<Picture>& pictures, const Progress& done)
{
    inParallel(pictures.size(), done, [&](size_t i) { hash(pictures[i]); });
}

std::vector<SimilarPair> similarPairs(const std::vector<Picture>& pictures, const Progress& done)
{
    std::vector<std::vector<SimilarPair>> rows(pictures.size());
    inParallel(pictures.size(), done, [&](size_t i) {
        for (size_t j = i + 1; pictures[i].hashes && j < pictures.size(); j++) {
            if (!pictures[j].hashes)
                continue;
            const Distances distances(pictures[i], pictures[j]);
            if (distances.isSimilar())
                rows[i].push_back({ i, j, distances });
        }
    });
    std::vector<SimilarPair> pairs;
    for (const std::vector<SimilarPair>& row : rows)
        pairs.insert(pairs.end(), row.begin(), row.end());
    return pairs;
}

} // namespace lumora
