#include "hashing/DCTKernel.h"
#include "hashing/HashKernels.h"
#include "hashing/OSHashProviders.h"
#include "hashing/OSImageHashing.h"
#include "hashing/OSTuple.h"
#include "hashing/PairCombinations.h"
#include "hashing/RGBABitmap.h"
#include "hashing/UIImageHashing.h"
#include "hashing/UIImageRedrawing.h"
#include "platform/objc/NSException.h"
#include "tests/hashing/DirectDCT.h"
#include "tests/platform/drawing/Pixels.h"

#include <array>
#include <cmath>
#include <functional>
#include <set>

namespace lumora::test {

namespace {

using Provider = OSImageHashingProviderId;
using Pixel = std::array<int, 4>;

UIImage drawn(int width, int height, const std::function<Pixel(int x, int y)>& pixel)
{
    std::vector<uint8_t> pixels;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            for (const int part : pixel(x, y))
                pixels.push_back(static_cast<uint8_t>(part));
        }
    }
    return { width, height, std::move(pixels) };
}

UIImage grey(int width, int height, const std::function<int(int x, int y)>& level)
{
    return drawn(width, height, [&](int x, int y) {
        const int g = level(x, y);
        return Pixel { g, g, g, 255 };
    });
}

/// Something like an ad: a ground, a picture, lines of text, a button.
UIImage ad(int width, int height, int design)
{
    return drawn(width, height, [&](int x, int y) {
        const double right = double(x) / width, down = double(y) / height;
        const double wave
            = std::sin(design * 3 + right * (4 + design % 5)) * std::cos(down * (3 + design % 4) + design);
        const bool button = std::abs(right - 0.15 * (design % 7)) < 0.12 && std::abs(down - 0.8) < 0.07;
        const int ground = static_cast<int>(128 + 100 * wave);
        return button ? Pixel { 250, 200, 20 * design % 255, 255 }
                      : Pixel { ground, 255 - ground, ground / 2, 255 };
    });
}

int differences(const std::string& a, const std::string& b)
{
    int count = a.size() == b.size() ? 0 : 1000;
    for (size_t i = 0; i < std::min(a.size(), b.size()); i++)
        count += a[i] != b[i];
    return count;
}

} // namespace

TEST(HashKernels, TransformIsTheDirectSumToTheBit)
{
    for (uint64_t number = 0; number < 60; number++) {
        const std::vector<double> in = matrixNumber(number);
        std::vector<double> expected(1024), out(1024);
        directDCT(in.data(), expected.data());
        for (const DCTKernel& kernel : dctKernels()) {
            if (!kernel.isSupported())
                continue;
            kernel.run(in.data(), out.data());
            EXPECT_EQ(out, expected) << kernel.name << ", matrix " << number;
        }
    }
}

TEST(RGBABitmap, HoldsExactAreaMeansOfPremultipliedPixels)
{
    const std::array<RGBABitmap::Size, 3> sizes { { { 8, 8 }, { 9, 9 }, { 32, 32 } } };
    for (const auto& [w, h, opaque] :
        { std::array { 1, 1, 0 }, { 7, 5, 0 }, { 70, 41, 1 }, { 33, 600, 1 } }) {
        const UIImage image = patterned(w, h, opaque != 0);
        for (const RGBABitmap& bitmap : RGBABitmapsOfImage(image, sizes)) {
            const int columns = bitmap.size.width, rows = bitmap.size.height;
            // Pixels of the picture cut into one for each column and row of the bitmap, so that areas are
            // whole.
            std::vector<int64_t> sums(size_t(columns * rows) * 4);
            for (int y = 0; y < h * rows; y++) {
                for (int x = 0; x < w * columns; x++) {
                    const uint8_t* p
                        = image.pixels() + (size_t(y / rows) * size_t(w) + size_t(x / columns)) * 4;
                    for (size_t c = 0; c < 4; c++)
                        sums[size_t(y / h * columns + x / w) * 4 + c] += c < 3 ? p[c] * p[3] : 255 * p[3];
                }
            }
            const int64_t whole = int64_t { 255 } * w * h;
            for (int i = 0; i < columns * rows * 4; i++) {
                const int x = i / 4 % columns, y = i / 4 / columns;
                ASSERT_EQ(bitmap.pixel(x, y)[i % 4], (sums[size_t(i)] + whole / 2) / whole)
                    << w << "x" << h << " at " << i;
            }
        }
    }
}

TEST(RGBABitmap, AddsUpTallPicturesWithoutOverflow)
{
    const UIImage opaque = grey(2, 70'000, [](int, int y) { return y < 35'000 ? 255 : 100; });
    const UIImage faint = drawn(1, 140'000, [](int, int) { return Pixel { 255, 255, 255, 254 }; });
    EXPECT_EQ(RGBABitmapOfImage(opaque, { 8, 8 })->pixel(0, 3)[0], 255);
    EXPECT_EQ(RGBABitmapOfImage(opaque, { 8, 8 })->pixel(7, 4)[0], 100);
    EXPECT_EQ(RGBABitmapOfImage(faint, { 1, 1 })->pixel(0, 0)[1], 254);
    EXPECT_EQ(RGBABitmapOfImage(opaque, { 9, 9 })->rowLength, 64U);
}

TEST(DHash, ReadsEightRowsFromTheLowestBitOn)
{
    auto hashOf = [](const std::function<int(int, int)>& level) {
        return OSDHash::sharedInstance().hashImageData(UIImagePNGRepresentation(grey(9, 9, level)));
    };
    auto darkAfter = [](int column, int row) {
        return [=](int x, int y) { return y == row && x <= column ? 200 : 100; };
    };
    EXPECT_EQ(hashOf([](int, int) { return 77; }), 0);
    EXPECT_EQ(hashOf(darkAfter(0, 0)), 1);
    EXPECT_EQ(hashOf(darkAfter(3, 2)), int64_t { 1 } << (8 * 2 + 3));
    EXPECT_EQ(hashOf(darkAfter(3, 8)), 0) << "the ninth row";
    EXPECT_EQ(hashOf([](int x, int) { return 200 - x; }), OSHashTypeError) << "all bits set";
    EXPECT_EQ(getDHash(grey(9, 9, darkAfter(7, 7))), "-9223372036854775808");
    // 302 / 3 and 301 / 3 are the same integer.
    const UIImage nearly = drawn(9, 9, [](int x, int) { return Pixel { 101, 100, x < 4 ? 101 : 100, 255 }; });
    EXPECT_EQ(OSDHash::sharedInstance().hashImage(nearly), 0);
}

TEST(AHash, IsAllZeroForEveryFlatColor)
{
    for (int sum = 0; sum <= 765; sum++) {
        const UIImage flat = drawn(8, 8, [sum](int, int) {
            return Pixel { sum / 3, (sum + 1) / 3, (sum + 2) / 3, 255 };
        });
        ASSERT_EQ(getAHash(flat), std::string(64, '0')) << sum;
    }
}

TEST(StringHashes, RunDownTheColumns)
{
    const std::string hash = getAHash(grey(8, 8, [](int x, int y) { return x == 2 && y == 5 ? 255 : 0; }));
    EXPECT_EQ(hash.find('1'), 2U * 8 + 5);
    EXPECT_EQ(std::count(hash.begin(), hash.end(), '1'), 1);

    // By the definition: columns as rows, fractions kept, the first output neither counted nor written.
    const UIImage picture = ad(32, 32, 3);
    std::vector<double> matrix, out(1024);
    for (size_t i = 0; i < 1024; i++) {
        const uint8_t* pixel = picture.pixels() + (i % 32 * 32 + i / 32) * 4;
        matrix.push_back((pixel[0] + pixel[1] + pixel[2]) / 3.0);
    }
    directDCT(matrix.data(), out.data());
    double sum = 0;
    for (size_t i = 0; i < 64; i++)
        sum += out[i / 8 * 32 + i % 8];
    std::string expected;
    for (size_t i = 1; i < 64; i++)
        expected += out[i / 8 * 32 + i % 8] > (sum - out[0]) / 63.0 ? '1' : '0';
    EXPECT_EQ(getPHash(picture), expected);
}

TEST(ImageHashes, OfOnePassAreThoseOfEachAlone)
{
    const UIImage picture = patterned(301, 507, false);
    const std::optional<ImageHashes> hashes = hashesOfImage(picture);
    EXPECT_EQ(hashes->aHash, getAHash(picture));
    EXPECT_EQ(hashes->pHash, getPHash(picture));
    EXPECT_EQ(std::to_string(hashes->dHash), getDHash(picture));
}

TEST(ImageHashes, FindAPictureAgainAndNoOther)
{
    for (int design = 0; design < 8; design++) {
        const UIImage original = ad(320, 480, design);
        const ImageHashes hashes = *hashesOfImage(original);
        const UIImage jpeg = *UIImage::imageWithData(UIImageJPEGRepresentation(original, 0.5));
        for (const UIImage& copy : { jpeg, getDowngradedImage(jpeg), resizeWithRate(original) }) {
            const ImageHashes again = *hashesOfImage(copy);
            EXPECT_LT(differences(hashes.aHash, again.aHash), 10) << design;
            EXPECT_LT(differences(hashes.pHash, again.pHash), 10) << design;
            EXPECT_LT(OSDHash::sharedInstance().hashDistance(hashes.dHash, again.dHash), 9) << design;
        }
        const ImageHashes other = *hashesOfImage(ad(320, 480, design + 1));
        EXPECT_GE(differences(hashes.aHash, other.aHash), 10) << design;
        EXPECT_GE(differences(hashes.pHash, other.pHash), 10) << design;
        EXPECT_GE(OSDHash::sharedInstance().hashDistance(hashes.dHash, other.dHash), 9) << design;
    }
}

TEST(HashProviders, AnswerTheErrorForWhatIsNoPicture)
{
    const NSData whole = UIImagePNGRepresentation(ad(64, 64, 1));
    const NSData broken { { whole.bytes.begin(), whole.bytes.begin() + 200 } };
    for (OSAbstractHash* provider : NSArrayForProvidersFromOSImageHashingProviderId(
             Provider::AHash | Provider::DHash | Provider::PHash)) {
        EXPECT_EQ(provider->hashImageData(broken), OSHashTypeError);
        EXPECT_EQ(provider->hashImageData({}), OSHashTypeError);
        EXPECT_EQ(provider->hashImage({}), OSHashTypeError);
        EXPECT_FALSE(provider->compareImageData(broken, broken));
    }
    EXPECT_EQ(getDHash({}) + getAHash({}) + getPHash({}), "");
    EXPECT_EQ(hashesOfImage({}), std::nullopt);

    const OSAbstractHash abstract;
    try {
        abstract.hashImageData(whole);
        ADD_FAILURE() << "an abstract operation answered";
    } catch (const NSException& exception) {
        EXPECT_STREQ(exception.what(), "NSInternalInconsistencyException: Abstract method called.");
    }
    EXPECT_THROW(abstract.hashDistanceSimilarityThreshold(), NSException);
    EXPECT_THROW(OSAbstractHash::sharedInstance(), NSException);
}

TEST(HashProviders, OfThePHashPrintsGreysAndHasNoInteger)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(OSPHash::sharedInstance().hashImage(grey(32, 32, [](int x, int y) { return x + y; })),
        OSHashTypeError);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.size(), 32U * (32 * 4 + 1));
    EXPECT_TRUE(printed.starts_with("  0   1   2 "));
    EXPECT_EQ(printed.substr(129, 8), "  1   2 ");
}

TEST(ImageHashing, ComparesStrictlyBelowTheThreshold)
{
    const OSImageHashing& hashing = OSImageHashing::sharedInstance();
    auto png = [](int brightRows) {
        return UIImagePNGRepresentation(
            grey(9, 9, [=](int x, int y) { return y == 0 && x < brightRows ? 200 - x : 0; }));
    };
    const NSData flat = png(0);
    EXPECT_FALSE(hashing.compareImageData(flat, png(8), 8)) << "a distance of 8";
    EXPECT_TRUE(hashing.compareImageData(flat, png(8), 9));
    EXPECT_TRUE(hashing.compareImageData(flat, png(8), OSImageHashingQuality::Low));
    EXPECT_FALSE(hashing.compareImageData(flat, png(8), Provider::DHash | Provider::AHash))
        << "none by aHash";
    EXPECT_TRUE(hashing.compareImageData(flat, {}, Provider::None));
    EXPECT_TRUE(hashing.compareImageData(flat, {}, OSImageHashingQuality::None));
    EXPECT_EQ(hashing.hashImageData(png(8), Provider::None), 0);
    EXPECT_EQ(hashing.hashDistance(0, -1), 64);
}

TEST(ImageHashing, SortsByClosenessWithTheUnreadableLast)
{
    const OSImageHashing& hashing = OSImageHashing::sharedInstance();
    auto png = [](const Value& bits) {
        const auto count = bits.integerValue();
        return count < 0 ? NSData {}
                         : UIImagePNGRepresentation(
                             grey(9, 9, [=](int x, int y) { return 9 * y + x <= count ? 200 - 20 * x : 0; }));
    };
    const NSArray shuffled { -1, 30, -2, 4, 60, 3 };
    const NSArray sorted { 3, 4, 30, 60, -1, -2 };
    EXPECT_EQ(
        hashing.sortedArrayUsingImageSimilartyComparator(png(0), shuffled, Provider::DHash, png), sorted);
    EXPECT_EQ(
        hashing.sortedArrayUsingImageSimilartyComparator(png(-1), shuffled, Provider::DHash, png), shuffled);
    EXPECT_EQ(
        hashing.sortedArrayUsingImageSimilartyComparator(png(0), shuffled, OSImageHashingQuality::None, png),
        shuffled);
    const std::vector<std::array<int, 4>> rows { { 0, 3, 30, -1 }, { 0, 30, 3, 1 }, { 0, 3, 3, 0 },
        { 0, -1, 3, 1 }, { 0, 3, -1, -1 }, { 0, -1, -1, 1 }, { -1, 3, 30, 0 } };
    for (const auto& [base, left, right, order] : rows) {
        EXPECT_EQ(static_cast<int>(hashing.imageSimilarityComparatorForImageForBaseImageData(
                      png(base), png(left), png(right))),
            order)
            << base << ", " << left << ", " << right;
    }
}

TEST(ImageHashingTypes, KnowTheirNames)
{
    for (const char* name : { "aHash", "dHash", "pHash", "None" })
        EXPECT_EQ(NSStringFromOSImageHashingProviderId(OSImageHashingProviderIdFromString(name)), name);
    EXPECT_EQ(OSImageHashingProviderIdFromString("ahash"), Provider::None);
    EXPECT_EQ(NSStringFromOSImageHashingProviderId(Provider::AHash | Provider::DHash), std::nullopt);
    EXPECT_EQ(OSImageHashingQualityFromString("low"), OSImageHashingQuality::None);
    EXPECT_EQ(NSStringFromOSImageHashingQuality(OSImageHashingQualityFromString("High")), "High");
    EXPECT_EQ(
        NSArrayFromOSImageHashingQualityNames(), (std::vector<std::string> { "Low", "Medium", "High" }));
    EXPECT_EQ(
        NSArrayFromOSImageHashingProviderIdNames(), (std::vector<std::string> { "aHash", "dHash", "pHash" }));
    EXPECT_EQ(OSImageHashingProviderFromImageHashingProviderId(Provider::AHash | Provider::PHash),
        &OSPHash::sharedInstance());
}

TEST(PairCombinations, AreAllPairsOnce)
{
    NSArray array;
    for (int i = 0; i < 40; i++)
        array.emplace_back(i);
    std::set<std::pair<int64_t, int64_t>> pairs;
    const NSArray tuples = arrayWithPairCombinations(array);
    EXPECT_EQ(tuples.size(), 40U * 39 / 2);
    for (const Value& tuple : tuples) {
        const auto pair = std::dynamic_pointer_cast<OSTuple>(tuple.object());
        pairs.emplace(pair->first.integerValue(), pair->second.integerValue());
    }
    EXPECT_EQ(pairs.size(), 40U * 39 / 2);
    EXPECT_TRUE(
        std::all_of(pairs.begin(), pairs.end(), [](const auto& pair) { return pair.first < pair.second; }));
    EXPECT_TRUE(arrayWithPairCombinations({}).empty());
    const auto tuple = OSTuple::tupleWithFirst("a", Value {});
    EXPECT_TRUE(tuple->description().starts_with("<OSTuple: 0x"));
    EXPECT_TRUE(tuple->description().ends_with(", first: a, second: (null)>"));
}

} // namespace lumora::test
