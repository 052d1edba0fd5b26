#include "tests/platform/drawing/Pixels.h"

#include <libdeflate.h>

namespace lumora::test {

namespace {

NSData beginning(const NSData& data, size_t length)
{
    return { { data.bytes.begin(), data.bytes.begin() + static_cast<ptrdiff_t>(length) } };
}

/// Whole PNG files of two by one pixels, red and a green of which every kind of file has its own idea.
struct KindOfPNG {
    const char* name;
    std::vector<uint8_t> header;
    std::vector<uint8_t> palette;
    std::vector<uint8_t> transparency;
    std::vector<uint8_t> row;
    const char* left;
    const char* right;
};

std::string bigEndian(uint32_t value)
{
    std::string bytes;
    for (const int shift : { 24, 16, 8, 0 })
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string chunk(const std::string& type, const std::string& content)
{
    return bigEndian(static_cast<uint32_t>(content.size())) + type + content
        + bigEndian(libdeflate_crc32(0, (type + content).data(), type.size() + content.size()));
}

std::string text(const std::vector<uint8_t>& bytes) { return { bytes.begin(), bytes.end() }; }

/// One uncompressed block.
std::string zlib(const std::string& content)
{
    const auto length = static_cast<uint16_t>(content.size());
    std::string stream { "\x78\x01\x01", 3 };
    for (const uint16_t value : { length, static_cast<uint16_t>(~length) })
        stream += { static_cast<char>(value & 255), static_cast<char>(value >> 8) };
    return stream + content + bigEndian(libdeflate_adler32(1, content.data(), content.size()));
}

std::string png(const std::string& header, const std::string& others, const std::string& rows)
{
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header) + others + chunk("IDAT", zlib(rows))
        + chunk("IEND", "");
}

} // namespace

TEST(ImageCodecs, PNGKeepsEveryPixelButNoAlphaThatSaysNothing)
{
    constexpr size_t colorType = 25;
    for (const auto& [width, height] : { std::pair { 1, 1 }, { 2, 3 }, { 17, 5 }, { 333, 7 } }) {
        for (const bool opaque : { true, false }) {
            SCOPED_TRACE(std::to_string(width) + (opaque ? " opaque" : ""));
            const UIImage image = patterned(width, height, opaque);
            const NSData png = UIImagePNGRepresentation(image);
            EXPECT_EQ(png.bytes.at(colorType), opaque ? 2 : 6);
            const auto back = UIImage::imageWithData(png, 2);
            ASSERT_TRUE(back);
            EXPECT_EQ(bytesOf(*back), bytesOf(image));
            EXPECT_EQ(back->size(), (CGSize { width / 2.0, height / 2.0 }));
        }
    }
    EXPECT_TRUE(UIImagePNGRepresentation({}).bytes.empty());
}

TEST(ImageCodecs, ReadsEveryKindOfPNG)
{
    // Bit depth, colour type, compression, filter, interlacing.
    const std::vector<KindOfPNG> kinds {
        { "grey, 1 bit", { 1, 0, 0, 0, 0 }, {}, {}, { 0, 0x40 }, "000000ff", "ffffffff" },
        { "grey, 16 bits", { 16, 0, 0, 0, 0 }, {}, {}, { 0, 0x80, 0, 0x20, 0x10 }, "808080ff", "202020ff" },
        { "grey, one transparent", { 8, 0, 0, 0, 0 }, {}, { 0, 9 }, { 0, 9, 10 }, "09090900", "0a0a0aff" },
        { "grey and alpha", { 8, 4, 0, 0, 0 }, {}, {}, { 0, 5, 6, 7, 8 }, "05050506", "07070708" },
        { "palette", { 4, 3, 0, 0, 0 }, { 255, 0, 0, 0, 255, 0 }, { 255, 7 }, { 0, 0x01 }, "ff0000ff",
            "00ff0007" },
        { "colours", { 8, 2, 0, 0, 0 }, {}, {}, { 0, 1, 2, 3, 4, 5, 6 }, "010203ff", "040506ff" },
        { "interlaced", { 8, 0, 0, 0, 1 }, {}, {}, { 0, 50, 0, 60 }, "323232ff", "3c3c3cff" },
    };
    for (const KindOfPNG& kind : kinds) {
        const std::string others = (kind.palette.empty() ? "" : chunk("PLTE", text(kind.palette)))
            + (kind.transparency.empty() ? "" : chunk("tRNS", text(kind.transparency)));
        const std::string file = png(bigEndian(2) + bigEndian(1) + text(kind.header), others, text(kind.row));
        const auto image = UIImage::imageWithData(NSData::fromText(file));
        ASSERT_TRUE(image) << kind.name;
        EXPECT_EQ(pixelAt(*image, 0, 0), kind.left) << kind.name;
        EXPECT_EQ(pixelAt(*image, 1, 0), kind.right) << kind.name;
    }
}

TEST(ImageCodecs, RefuseAnythingCutShort)
{
    const UIImage image = patterned(9, 6, false);
    for (const NSData& whole : { UIImagePNGRepresentation(image), UIImageJPEGRepresentation(image, 0.8) }) {
        ASSERT_TRUE(UIImage::imageWithData(whole));
        for (size_t length = 0; length < whole.bytes.size(); length++)
            ASSERT_FALSE(UIImage::imageWithData(beginning(whole, length)))
                << length << " of " << whole.bytes.size();
    }
}

TEST(ImageCodecs, SurviveDamageAnywhere)
{
    const UIImage image = patterned(9, 6, false);
    const NSData whole = UIImagePNGRepresentation(image);
    constexpr size_t tail = 4;
    for (size_t at = 0; at < whole.bytes.size() - tail; at++) {
        NSData damaged = whole;
        damaged.bytes[at] ^= 0x10;
        EXPECT_FALSE(UIImage::imageWithData(damaged)) << at;
    }
    const NSData jpeg = UIImageJPEGRepresentation(image, 0.8);
    for (size_t at = 0; at < jpeg.bytes.size(); at++) {
        NSData damaged = jpeg;
        damaged.bytes[at] = static_cast<uint8_t>(~damaged.bytes[at]);
        UIImage::imageWithData(damaged);
    }
}

TEST(ImageCodecs, RefusePicturesTooLargeToHold)
{
    for (const auto& [width, height] : { std::pair { 8001U, 8000U }, { 0x7fffffffU, 1U }, { 0U, 5U } }) {
        const std::string header = bigEndian(width) + bigEndian(height) + std::string { "\1\0\0\0\0", 5 };
        EXPECT_FALSE(UIImage::imageWithData(NSData::fromText(png(header, "", ""))))
            << width << " x " << height;
    }
}

TEST(ImageCodecs, JPEGComesCloserWithQuality)
{
    std::vector<uint8_t> ramp;
    for (int at = 0; at < 64 * 64; at++)
        ramp.insert(ramp.end(), { uint8_t(at % 64 * 4), uint8_t(at / 64 * 4), 90, 255 });
    const UIImage image { 64, 64, std::move(ramp) };
    auto worst = [&](double quality) {
        const auto back = UIImage::imageWithData(UIImageJPEGRepresentation(image, quality));
        int distance = 0;
        for (size_t at = 0; back && at < size_t { 64 } * 64 * 4; at++)
            distance = std::max(distance, std::abs(back->pixels()[at] - image.pixels()[at]));
        return back ? distance : 256;
    };
    EXPECT_LE(worst(1), 6);
    EXPECT_LT(worst(0.9), worst(0.05));
    EXPECT_EQ(UIImageJPEGRepresentation(image, 7), UIImageJPEGRepresentation(image, 1));
    const auto clear = UIImage::imageWithData(UIImageJPEGRepresentation({ 1, 1, { 0, 0, 0, 0 } }, 1));
    EXPECT_EQ(pixelAt(*clear, 0, 0), "ffffffff") << "what is transparent becomes white";
    EXPECT_TRUE(UIImageJPEGRepresentation({}, 1).bytes.empty());
}

TEST(Image, IsNullWhenItsPixelsDoNotMatchItsSize)
{
    EXPECT_TRUE((UIImage { 2, 2, std::vector<uint8_t>(15) }).isNull());
    EXPECT_TRUE((UIImage { 0, 2, {} }).isNull());
    EXPECT_TRUE((UIImage { 1, 1, std::vector<uint8_t>(4), 0 }).isNull());
    EXPECT_FALSE((UIImage { 1, 1, std::vector<uint8_t>(4) }).isNull());
}

} // namespace lumora::test
