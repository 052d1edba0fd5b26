#include "hashing/OSHashProviders.h"

#include "hashing/BitmapHashes.h"
#include "hashing/HashKernels.h"
#include "platform/process/ProcessLocal.h"

#include <array>
#include <cstdio>

namespace lumora {

namespace {

ProcessLocal<OSAHash> s_aHash;
ProcessLocal<OSDHash> s_dHash;
ProcessLocal<OSPHash> s_pHash;

// Put together first, so that the lines of two threads do not mix.
void printGreys(const std::array<double, 1024>& greys)
{
    std::string text;
    for (size_t i = 0; i < greys.size(); i++) {
        std::array<char, 16> number {};
        std::snprintf(number.data(), number.size(), "%3.0f ", greys[i]);
        text += number.data();
        if (i % 32 == 31)
            text += '\n';
    }
    std::fputs(text.c_str(), stdout);
}

OSHashType dHashOf(const std::optional<RGBABitmap>& bitmap)
{
    return bitmap ? dHashOfBitmap(*bitmap) : OSHashTypeError;
}

void printIfThere(const std::optional<RGBABitmap>& bitmap)
{
    if (!bitmap)
        return;
    std::array<double, 1024> greys {};
    greyscale_pixels_rgba_32_32(bitmap->bytes.data(), greys.data());
    printGreys(greys);
}

} // namespace

OSAHash& OSAHash::sharedInstance() { return s_aHash.get(); }
OSHashType OSAHash::hashImageData(const NSData&) const { return OSHashTypeError; }
OSHashType OSAHash::hashImage(const UIImage&) const { return OSHashTypeError; }

OSDHash& OSDHash::sharedInstance() { return s_dHash.get(); }
OSHashType OSDHash::hashImageData(const NSData& imageData) const
{
    return dHashOf(RGBABitmapDataForResizedImageWithWidth(imageData, dHashSize.width, dHashSize.height));
}
OSHashType OSDHash::hashImage(const UIImage& image) const
{
    return dHashOf(RGBABitmapOfImage(image, dHashSize));
}

OSPHash& OSPHash::sharedInstance() { return s_pHash.get(); }
OSHashType OSPHash::hashImageData(const NSData& imageData) const
{
    printIfThere(RGBABitmapDataForResizedImageWithWidth(imageData, pHashSize.width, pHashSize.height));
    return OSHashTypeError;
}
OSHashType OSPHash::hashImage(const UIImage& image) const
{
    printIfThere(RGBABitmapOfImage(image, pHashSize));
    return OSHashTypeError;
}

} // namespace lumora
