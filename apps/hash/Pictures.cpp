#include "apps/hash/Pictures.h"

#include "hashing/OSHashProviders.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"
#include "platform/process/Lock.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace lumora {

namespace {

int64_t differences(const std::string& a, const std::string& b)
{
    int64_t count = 0;
    for (size_t i = 0; i < a.size(); i++)
        count += a[i] != b[i];
    return count;
}

bool isPictureName(const std::filesystem::path& path)
{
    const std::string extension = lowercased(path.extension().string());
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::optional<ImageHashes> hashesOfFile(const std::filesystem::path& path)
{
    const std::optional<NSData> contents = contentsOfFile(path);
    const std::optional<UIImage> image = contents ? UIImage::imageWithData(*contents) : std::nullopt;
    return image ? hashesOfImage(*image) : std::nullopt;
}

} // namespace

Distances::Distances(const ImageHashes& a, const ImageHashes& b)
    : aHash(differences(a.aHash, b.aHash))
    , pHash(differences(a.pHash, b.pHash))
    , dHash(OSDHash {}.hashDistance(a.dHash, b.dHash))
{
}

std::string Distances::similarBy() const
{
    std::string names;
    auto add = [&names](const char* name, bool isSimilar) {
        if (isSimilar)
            names += (names.empty() ? "" : ",") + std::string { name };
    };
    add("aHash", aHash < OSAHash {}.hashDistanceSimilarityThreshold());
    add("pHash", pHash < OSPHash {}.hashDistanceSimilarityThreshold());
    add("dHash", dHash < OSDHash {}.hashDistanceSimilarityThreshold());
    return names;
}

std::vector<Picture> picturesAt(const std::vector<std::string>& names)
{
    namespace fs = std::filesystem;
    std::vector<Picture> pictures;
    for (const std::string& name : names) {
        if (!fs::is_directory(name)) {
            if (!fs::exists(name))
                throw fs::filesystem_error(
                    "no such file", name, std::make_error_code(std::errc::no_such_file_or_directory));
            pictures.push_back({ name });
            continue;
        }
        const size_t first = pictures.size();
        for (const auto& entry :
            fs::recursive_directory_iterator(name, fs::directory_options::skip_permission_denied)) {
            if (entry.is_regular_file() && isPictureName(entry.path()))
                pictures.push_back({ entry.path() });
        }
        std::sort(pictures.begin() + static_cast<ptrdiff_t>(first), pictures.end(),
            [](const Picture& a, const Picture& b) { return a.path < b.path; });
    }
    return pictures;
}

void hashPictures(std::vector<Picture>& pictures, const std::function<void(size_t)>& hashed)
{
    std::atomic<size_t> next { 0 };
    Lock lock;
    size_t done = 0;
    auto work = [&] {
        for (size_t i = next++; i < pictures.size(); i = next++) {
            pictures[i].hashes = hashesOfFile(pictures[i].path);
            Locker hold(lock);
            hashed(++done);
        }
    };
    std::vector<std::jthread> helpers;
    const size_t threads
        = std::min<size_t>(std::max(1U, std::thread::hardware_concurrency()), pictures.size());
    for (size_t i = 1; i < threads; i++)
        helpers.emplace_back(work);
    work();
}

} // namespace lumora
