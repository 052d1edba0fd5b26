#include "hashing/BitmapHashes.h"

#include "hashing/HashKernels.h"

#include <array>

namespace lumora {

namespace {

/// Greys with their fraction, columns as rows: kept, texts in any other order would not compare with older
/// ones.
template <size_t side> std::array<double, side * side> transposedGreys(const RGBABitmap& bitmap)
{
    std::array<double, side * side> greys {};
    for (size_t row = 0; row < side; row++) {
        for (size_t column = 0; column < side; column++) {
            const uint8_t* pixel = bitmap.pixel(column, row);
            greys[side * column + row] = (pixel[0] + pixel[1] + pixel[2]) / 3.0;
        }
    }
    return greys;
}

} // namespace

std::string aHashOfBitmap(const RGBABitmap& bitmap)
{
    return ahash_rgba_8_8(transposedGreys<8>(bitmap).data());
}

OSHashType dHashOfBitmap(const RGBABitmap& bitmap) { return dhash_rgba_9_9(bitmap.bytes.data()); }

std::string pHashOfBitmap(const RGBABitmap& bitmap)
{
    std::array<double, 1024> out {};
    dct_rgba_32_32(transposedGreys<32>(bitmap).data(), out.data());
    return phash_rgba_8_8(out.data(), fast_avg_no_first_el_rgba_8_8(out.data()));
}

} // namespace lumora
