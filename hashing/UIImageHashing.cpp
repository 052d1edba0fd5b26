#include "hashing/UIImageHashing.h"

#include "hashing/BitmapHashes.h"
#include "hashing/OSImageHashing.h"
#include "lumora/LMLog.h"

#include <array>

namespace lumora {

std::string getAHash(const UIImage& image) { return doAHashStaff(image); }
std::string getPHash(const UIImage& image) { return doPHashStaff(image); }
std::string getDHash(const UIImage& image)
{
    return getStringHashForProvider(image, OSImageHashingProviderId::DHash);
}

std::string getStringHashForProvider(const UIImage& image, OSImageHashingProviderId provider)
{
    const OSHashType hash = OSImageHashing::sharedInstance().hashImage(image, provider);
    if (hash != OSHashTypeError)
        return std::to_string(hash);
    // Also what a provider without an integer gets; kept, word for word.
    LMLog::logDebug("YOUR IMAGE IS NIL OR HAS NOW WIDTH AND HEIGHT");
    return {};
}

std::string doAHashStaff(const UIImage& image)
{
    const std::optional<RGBABitmap> bitmap = RGBABitmapOfImage(image, aHashSize);
    return bitmap ? aHashOfBitmap(*bitmap) : std::string {};
}

std::string doPHashStaff(const UIImage& image)
{
    const std::optional<RGBABitmap> bitmap = RGBABitmapOfImage(image, pHashSize);
    return bitmap ? pHashOfBitmap(*bitmap) : std::string {};
}

std::optional<ImageHashes> hashesOfImage(const UIImage& image)
{
    const std::array sizes { aHashSize, pHashSize, dHashSize };
    const std::vector<RGBABitmap> bitmaps = RGBABitmapsOfImage(image, sizes);
    if (bitmaps.empty())
        return std::nullopt;
    return ImageHashes { aHashOfBitmap(bitmaps[0]), pHashOfBitmap(bitmaps[1]), dHashOfBitmap(bitmaps[2]) };
}

} // namespace lumora
