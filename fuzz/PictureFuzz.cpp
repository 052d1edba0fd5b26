// Any bytes are a picture or none, and a picture has hashes, the same as those of the PNG that is written of
// it.

#include "fuzz/Fuzzing.h"
#include "hashing/OSHashProviders.h"
#include "hashing/UIImageHashing.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    fuzz::phone();
    const NSData file { { data, data + size } };
    const std::optional<UIImage> image = UIImage::imageWithData(file);
    // A few bytes may be a very large picture, too slow to hash and write for every input.
    constexpr int largest = 1 << 20;
    if (image && image->pixelWidth() * image->pixelHeight() > largest)
        return 0;
    const std::optional<ImageHashes> hashes = image ? hashesOfImage(*image) : std::nullopt;
    fuzz::expect(OSDHash::sharedInstance().hashImageData(file) == (hashes ? hashes->dHash : OSHashTypeError),
        "what cannot be decoded hashes to the error");
    if (!image)
        return 0;
    const std::optional<UIImage> again = UIImage::imageWithData(UIImagePNGRepresentation(*image));
    fuzz::expect(again && again->pixelWidth() == image->pixelWidth()
            && std::memcmp(again->pixels(), image->pixels(),
                   size_t(image->pixelWidth()) * size_t(image->pixelHeight()) * 4)
                == 0,
        "a written picture reads back");
    const std::optional<ImageHashes> itsHashes = hashesOfImage(*again);
    fuzz::expect(hashes->aHash == itsHashes->aHash && hashes->pHash == itsHashes->pHash
            && hashes->dHash == itsHashes->dHash,
        "and hashes the same");
    return 0;
}
