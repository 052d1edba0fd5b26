#include "platform/linux/CairoSupport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <jerror.h>
#include <jpeglib.h>
#include <libdeflate.h>
#include <png.h>

namespace lumora {

namespace {

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

bool isDecodable(uint32_t width, uint32_t height)
{
    // A side is at most 32 bits, so the product cannot overflow.
    return width > 0 && height > 0 && uint64_t { width } * height <= static_cast<uint64_t>(maximumPixels);
}

struct Pixels {
    int width { 0 };
    int height { 0 };
    std::vector<uint8_t> rgba;
};

// The C libraries leave through longjmp, so whatever has a destructor is a member, made before the jump's
// target is set.

class PNGReader {
public:
    explicit PNGReader(std::string_view data)
        : m_rest(data)
        , m_png(png_create_read_struct(
              PNG_LIBPNG_VER_STRING, nullptr, [](png_structp png, png_const_charp) { png_longjmp(png, 1); },
              [](png_structp, png_const_charp) {}))
        , m_info(m_png ? png_create_info_struct(m_png) : nullptr)
    {
    }
    ~PNGReader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    PNGReader(const PNGReader&) = delete;
    PNGReader& operator=(const PNGReader&) = delete;

    bool read(Pixels& into)
    {
        if (!m_info || setjmp(png_jmpbuf(m_png)) != 0)
            return false;
        png_set_read_fn(m_png, this, [](png_structp png, png_bytep to, size_t length) {
            std::string_view& rest = static_cast<PNGReader*>(png_get_io_ptr(png))->m_rest;
            if (rest.size() < length)
                png_error(png, "the data ends early");
            std::memcpy(to, rest.data(), length);
            rest.remove_prefix(length);
        });
        png_read_info(m_png, m_info);
        if (!isDecodable(png_get_image_width(m_png, m_info), png_get_image_height(m_png, m_info)))
            return false;
        png_set_expand(m_png);
        png_set_scale_16(m_png);
        png_set_gray_to_rgb(m_png);
        png_set_add_alpha(m_png, 255, PNG_FILLER_AFTER);
        png_set_interlace_handling(m_png);
        png_read_update_info(m_png, m_info);
        into.width = static_cast<int>(png_get_image_width(m_png, m_info));
        into.height = static_cast<int>(png_get_image_height(m_png, m_info));
        const size_t rowLength = size_t(into.width) * 4;
        if (png_get_rowbytes(m_png, m_info) != rowLength)
            return false;
        into.rgba.resize(rowLength * size_t(into.height));
        for (int row = 0; row < into.height; row++)
            m_rows.push_back(into.rgba.data() + size_t(row) * rowLength);
        png_read_image(m_png, m_rows.data());
        png_read_end(m_png, nullptr);
        return true;
    }

private:
    std::string_view m_rest;
    png_structp m_png;
    png_infop m_info;
    std::vector<png_bytep> m_rows;
};

/// Errors of the JPEG library, and the warnings that mean lost picture, come back through a jump.
struct JPEGErrors {
    jpeg_error_mgr base {};
    std::jmp_buf leave {};

    JPEGErrors()
    {
        jpeg_std_error(&base);
        base.error_exit = &fail;
        base.output_message = [](j_common_ptr) {};
        base.emit_message = [](j_common_ptr jpeg, int level) {
            const int code = jpeg->err->msg_code;
            if (level < 0
                && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE
                    || code == JWRN_MUST_RESYNC))
                fail(jpeg);
        };
    }
    [[noreturn]] static void fail(j_common_ptr jpeg)
    {
        // `base` is the first member.
        std::longjmp(reinterpret_cast<JPEGErrors*>(jpeg->err)->leave, 1);
    }
};

class JPEGReader {
public:
    JPEGReader() { m_jpeg.err = &m_errors.base; }
    ~JPEGReader() { jpeg_destroy_decompress(&m_jpeg); }
    JPEGReader(const JPEGReader&) = delete;
    JPEGReader& operator=(const JPEGReader&) = delete;

    bool read(std::string_view data, Pixels& into)
    {
        if (setjmp(m_errors.leave) != 0)
            return false;
        jpeg_create_decompress(&m_jpeg);
        jpeg_mem_src(&m_jpeg, reinterpret_cast<const unsigned char*>(data.data()), data.size());
        jpeg_read_header(&m_jpeg, TRUE);
        if (!isDecodable(m_jpeg.image_width, m_jpeg.image_height))
            return false;
        const bool printed = m_jpeg.jpeg_color_space == JCS_CMYK || m_jpeg.jpeg_color_space == JCS_YCCK;
        m_jpeg.out_color_space = printed ? JCS_CMYK : JCS_EXT_RGBA;
        jpeg_start_decompress(&m_jpeg);
        into.width = static_cast<int>(m_jpeg.output_width);
        into.height = static_cast<int>(m_jpeg.output_height);
        const size_t rowLength = size_t(into.width) * 4;
        into.rgba.resize(rowLength * size_t(into.height));
        while (m_jpeg.output_scanline < m_jpeg.output_height) {
            JSAMPROW row = into.rgba.data() + m_jpeg.output_scanline * rowLength;
            jpeg_read_scanlines(&m_jpeg, &row, 1);
        }
        jpeg_finish_decompress(&m_jpeg);
        if (printed)
            separate(into.rgba, m_jpeg.saw_Adobe_marker);
        return true;
    }

private:
    /// Four inks to three lights. Files with Adobe's marker hold the inks the other way round.
    static void separate(std::vector<uint8_t>& pixels, bool inverted)
    {
        for (size_t at = 0; at < pixels.size(); at += 4) {
            auto light = [&](size_t ink) { return inverted ? pixels[at + ink] : 255 - pixels[at + ink]; };
            for (size_t ink = 0; ink < 3; ink++)
                pixels[at + ink] = static_cast<uint8_t>(light(ink) * light(3) / 255);
            pixels[at + 3] = 255;
        }
    }

    JPEGErrors m_errors;
    jpeg_decompress_struct m_jpeg {};
};

class JPEGWriter {
public:
    JPEGWriter() { m_jpeg.err = &m_errors.base; }
    ~JPEGWriter()
    {
        jpeg_destroy_compress(&m_jpeg);
        free(m_bytes);
    }
    JPEGWriter(const JPEGWriter&) = delete;
    JPEGWriter& operator=(const JPEGWriter&) = delete;

    bool write(const UIImage& image, int quality)
    {
        m_row.resize(size_t(image.pixelWidth()) * 3);
        if (setjmp(m_errors.leave) != 0)
            return false;
        jpeg_create_compress(&m_jpeg);
        jpeg_mem_dest(&m_jpeg, &m_bytes, &m_length);
        m_jpeg.image_width = static_cast<JDIMENSION>(image.pixelWidth());
        m_jpeg.image_height = static_cast<JDIMENSION>(image.pixelHeight());
        m_jpeg.input_components = 3;
        m_jpeg.in_color_space = JCS_RGB;
        jpeg_set_defaults(&m_jpeg);
        jpeg_set_quality(&m_jpeg, quality, TRUE);
        jpeg_start_compress(&m_jpeg, TRUE);
        while (m_jpeg.next_scanline < m_jpeg.image_height) {
            putOnWhite(image.pixels() + m_jpeg.next_scanline * size_t(image.pixelWidth()) * 4);
            JSAMPROW row = m_row.data();
            jpeg_write_scanlines(&m_jpeg, &row, 1);
        }
        jpeg_finish_compress(&m_jpeg);
        return true;
    }
    NSData data() const { return { { m_bytes, m_bytes + m_length } }; }

private:
    void putOnWhite(const uint8_t* from)
    {
        for (size_t at = 0; at < m_row.size(); at += 3, from += 4) {
            for (size_t part = 0; part < 3; part++)
                m_row[at + part]
                    = static_cast<uint8_t>((from[part] * from[3] + 255 * (255 - from[3]) + 127) / 255);
        }
    }

    JPEGErrors m_errors;
    jpeg_compress_struct m_jpeg {};
    unsigned char* m_bytes { nullptr };
    unsigned long m_length { 0 };
    std::vector<uint8_t> m_row;
};

void appendBigEndian(std::vector<uint8_t>& to, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        to.push_back(static_cast<uint8_t>(value >> shift));
}

/// Begins a chunk at the end of the bytes; `endChunk` with the answer fills in its length and adds its
/// checksum.
size_t beginChunk(std::vector<uint8_t>& to, std::string_view type)
{
    const size_t start = to.size();
    appendBigEndian(to, 0);
    to.insert(to.end(), type.begin(), type.end());
    return start;
}

void endChunk(std::vector<uint8_t>& to, size_t start)
{
    std::vector<uint8_t> length;
    appendBigEndian(length, static_cast<uint32_t>(to.size() - start - 8));
    std::copy(length.begin(), length.end(), to.begin() + static_cast<ptrdiff_t>(start));
    appendBigEndian(to, libdeflate_crc32(0, to.data() + start + 4, to.size() - start - 4));
}

bool isOpaque(const UIImage& image)
{
    const size_t pixelCount = size_t(image.pixelWidth()) * size_t(image.pixelHeight());
    const uint8_t* pixels = image.pixels();
    // All four bytes at once, which compilers turn into the widest loads there are.
    std::array<uint8_t, 4> all { 255, 255, 255, 255 };
    for (size_t at = 0; at < pixelCount; at++) {
        for (size_t part = 0; part < all.size(); part++)
            all[part] &= pixels[at * 4 + part];
    }
    return all[3] == 255;
}

/// Bytes that are written before they are read, so nobody clears them first.
struct Buffer {
    explicit Buffer(size_t wanted)
        : bytes(new uint8_t[wanted])
        , size(wanted)
    {
    }
    std::unique_ptr<uint8_t[]> bytes;
    size_t size;
};

/// The rows as PNG compresses them: a filter byte each, then the difference to the row above.
Buffer filteredRows(const UIImage& image, size_t channels)
{
    const size_t width = size_t(image.pixelWidth());
    const size_t height = size_t(image.pixelHeight());
    const size_t length = width * channels;
    Buffer rows((length + 1) * height);
    uint8_t* to = rows.bytes.get();
    // A pixel is packed whole, and the next one laid over what is too much of it.
    constexpr size_t tooMuch = 1;
    std::vector<uint8_t> above(length + tooMuch);
    std::vector<uint8_t> packed(length + tooMuch);
    for (size_t y = 0; y < height; y++) {
        const uint8_t* row = image.pixels() + y * width * 4;
        if (channels == 4) {
            std::memcpy(packed.data(), row, length);
        } else {
            for (size_t x = 0; x < width; x++)
                std::memcpy(packed.data() + x * 3, row + x * 4, 4);
        }
        constexpr uint8_t up = 2;
        *to++ = up;
        for (size_t i = 0; i < length; i++)
            to[i] = static_cast<uint8_t>(packed[i] - above[i]);
        to += length;
        packed.swap(above);
    }
    return rows;
}

} // namespace

std::optional<UIImage> UIImage::imageWithData(const NSData& data, double scale)
{
    const std::string_view bytes = data.view();
    Pixels pixels;
    bool read = false;
    if (bytes.starts_with(pngSignature))
        read = PNGReader(bytes).read(pixels);
    else if (bytes.starts_with("\xff\xd8"))
        read = JPEGReader().read(bytes, pixels);
    if (!read)
        return std::nullopt;
    return UIImage { pixels.width, pixels.height, std::move(pixels.rgba), scale > 0 ? scale : 1 };
}

NSData UIImagePNGRepresentation(const UIImage& image)
{
    if (image.isNull())
        return {};
    const bool opaque = isOpaque(image);
    const Buffer rows = filteredRows(image, opaque ? 3 : 4);
    constexpr int fastest = 1;
    const std::unique_ptr<libdeflate_compressor, FreeWith<libdeflate_free_compressor>> compressor {
        libdeflate_alloc_compressor(fastest)
    };
    if (!compressor)
        return {};

    NSData png = NSData::fromText(pngSignature);
    std::vector<uint8_t>& bytes = png.bytes;
    size_t chunk = beginChunk(bytes, "IHDR");
    appendBigEndian(bytes, static_cast<uint32_t>(image.pixelWidth()));
    appendBigEndian(bytes, static_cast<uint32_t>(image.pixelHeight()));
    const uint8_t bitDepth = 8;
    const uint8_t colorType = opaque ? 2 : 6;
    bytes.insert(bytes.end(), { bitDepth, colorType, 0, 0, 0 });
    endChunk(bytes, chunk);

    chunk = beginChunk(bytes, "IDAT");
    const Buffer compressed(libdeflate_zlib_compress_bound(compressor.get(), rows.size));
    const size_t length = libdeflate_zlib_compress(
        compressor.get(), rows.bytes.get(), rows.size, compressed.bytes.get(), compressed.size);
    bytes.insert(bytes.end(), compressed.bytes.get(), compressed.bytes.get() + length);
    endChunk(bytes, chunk);

    endChunk(bytes, beginChunk(bytes, "IEND"));
    return png;
}

NSData UIImageJPEGRepresentation(const UIImage& image, double quality)
{
    JPEGWriter writer;
    const double percent = quality > 0 ? std::min(quality, 1.0) * 100 : 0;
    return !image.isNull() && writer.write(image, static_cast<int>(std::lround(percent))) ? writer.data()
                                                                                          : NSData {};
}

} // namespace lumora
