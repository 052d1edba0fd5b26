#include "hashing/UIImageHashing.h"

#include "hashing/HashKernels.h"
#include "hashing/OSImageHashing.h"
#include "hashing/RGBABitmap.h"
#include "lumora/LMLog.h"

#include <array>

namespace lumora {

namespace {

constexpr RGBABitmap::Size aHashSize { 8, 8 };
constexpr RGBABitmap::Size dHashSize { 9, 9 };
constexpr RGBABitmap::Size pHashSize { 32, 32 };

/// Greys with their fraction, columns as rows: kept, texts in any other order would not compare with older
/// ones.
template <int side> std::array<double, side * side> transposedGreys(const RGBABitmap& bitmap)
{
    std::array<double, side * side> greys {};
    for (int row = 0; row < side; row++) {
        for (int column = 0; column < side; column++) {
            const uint8_t* pixel = bitmap.pixel(column, row);
            greys[size_t(side * column + row)] = (pixel[0] + pixel[1] + pixel[2]) / 3.0;
        }
    }
    return greys;
}

std::string aHashOf(const RGBABitmap& bitmap) { return ahash_rgba_8_8(transposedGreys<8>(bitmap).data()); }

std::string pHashOf(const RGBABitmap& bitmap)
{
    std::array<double, 1024> out {};
    dct_rgba_32_32(transposedGreys<32>(bitmap).data(), out.data());
    return phash_rgba_8_8(out.data(), fast_avg_no_first_el_rgba_8_8(out.data()));
}

} // namespace

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
    LMLog::logDebug("YOUR IMAGE IS NIL OR HAS NOW WIDTH AND HEIGHT");
    return {};
}

std::string doAHashStaff(const UIImage& image)
{
    const std::optional<RGBABitmap> bitmap = RGBABitmapOfImage(image, aHashSize);
    return bitmap ? aHashOf(*bitmap) : std::string {};
}

std::string doPHashStaff(const UIImage& image)
{
    const std::optional<RGBABitmap> bitmap = RGBABitmapOfImage(image, pHashSize);
    return bitmap ? pHashOf(*bitmap) : std::string {};
}

std::optional<ImageHashes> hashesOfImage(const UIImage& image)
{
    const std::array sizes { aHashSize, pHashSize, dHashSize };
    const std::vector<RGBABitmap> bitmaps = RGBABitmapsOfImage(image, sizes);
    if (bitmaps.empty())
        return std::nullopt;
    return ImageHashes { aHashOf(bitmaps[0]), pHashOf(bitmaps[1]), dhash_rgba_9_9(bitmaps[2].bytes.data()) };
}

} // namespace lumora
