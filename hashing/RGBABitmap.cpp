#include "hashing/RGBABitmap.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace lumora {

namespace {

constexpr size_t channels = 4;
/// The weight of a whole byte: an opaque row adds up bytes, any other bytes times alpha.
constexpr uint8_t full = 255;

bool isOpaque(const uint8_t* row, size_t width)
{
    // All four bytes at once, which compilers turn into the widest loads there are.
    std::array<uint8_t, channels> all { 255, 255, 255, 255 };
    for (size_t x = 0; x < width; x++) {
        for (size_t part = 0; part < channels; part++)
            all[part] &= row[x * channels + part];
    }
    return all[3] == 255;
}

/// The picture's rows so far added up, column by column and channel by channel, each value times `full`. Wide
/// sums are kept out of the inner loops: some rows at a time go into narrow ones.
class ColumnSums {
public:
    explicit ColumnSums(size_t width)
        : m_width(width)
        , m_bytes(width * channels)
        , m_products(width * channels)
        , m_weights(width * channels)
        , m_sums(width * channels)
    {
    }

    void add(const uint8_t* rows, size_t count)
    {
        while (count > 0) {
            const size_t some = std::min<size_t>(count, 257); // times 255 is what 16 bits hold
            if (!isOpaque(rows, m_width) || !addOpaque(rows, some))
                addTransparent(rows, some);
            rows += some * rowLength();
            count -= some;
        }
    }

    const std::vector<uint64_t>& sums() const { return m_sums; }

private:
    size_t rowLength() const { return m_width * channels; }

    /// Adds nothing, and answers false, when a pixel turns out not to be opaque.
    bool addOpaque(const uint8_t* rows, size_t count)
    {
        std::fill(m_bytes.begin(), m_bytes.end(), uint16_t { 0 });
        uint16_t* to = m_bytes.data();
        const size_t length = rowLength();
        size_t y = 0;
        // Four at a time, so that the sums are loaded and stored a quarter as often.
        for (; y + 4 <= count; y += 4, rows += 4 * length) {
            for (size_t i = 0; i < length; i++)
                to[i] = static_cast<uint16_t>(
                    to[i] + rows[i] + rows[length + i] + rows[2 * length + i] + rows[3 * length + i]);
        }
        for (; y < count; y++, rows += length) {
            for (size_t i = 0; i < length; i++)
                to[i] = static_cast<uint16_t>(to[i] + rows[i]);
        }
        for (size_t i = 3; i < length; i += channels) {
            if (to[i] != full * count)
                return false;
        }
        for (size_t i = 0; i < length; i++) {
            const uint32_t sum = to[i] * uint32_t { full };
            m_sums[i] += sum;
        }
        return true;
    }

    void addTransparent(const uint8_t* rows, size_t count)
    {
        constexpr auto alphaCountsWhole
            = std::bit_cast<uint32_t>(std::array<uint8_t, channels> { 0, 0, 0, full });
        std::fill(m_products.begin(), m_products.end(), 0U);
        uint32_t* to = m_products.data();
        uint8_t* weights = m_weights.data();
        for (size_t y = 0; y < count; y++, rows += rowLength()) {
            // In two steps, each of which compilers turn into wide operations.
            for (size_t x = 0; x < m_width; x++) {
                const uint32_t weight = rows[x * channels + 3] * 0x01010101U | alphaCountsWhole;
                std::memcpy(weights + x * channels, &weight, sizeof weight);
            }
            for (size_t i = 0; i < rowLength(); i++)
                to[i] += static_cast<uint16_t>(rows[i] * weights[i]);
        }
        for (size_t i = 0; i < m_sums.size(); i++)
            m_sums[i] += m_products[i];
    }

    size_t m_width;
    std::vector<uint16_t> m_bytes;
    std::vector<uint32_t> m_products;
    std::vector<uint8_t> m_weights;
    std::vector<uint64_t> m_sums;
};

using Color = std::array<uint64_t, channels>;

Color weighted(const uint8_t* pixel)
{
    return { uint64_t { pixel[0] } * pixel[3], uint64_t { pixel[1] } * pixel[3],
        uint64_t { pixel[2] } * pixel[3], uint64_t { full } * pixel[3] };
}

/// Where area `index` of `count` begins on a side: `whole` pixels and `part` / `count` of the next.
struct Border {
    Border(int index, int count, int side)
        : whole(static_cast<size_t>(int64_t { index } * side / count))
        , part(static_cast<uint64_t>(int64_t { index } * side % count))
    {
    }
    size_t whole;
    uint64_t part;
};

/// Makes one bitmap out of the integral of the picture over the rectangle from its corner, taken where areas
/// meet: an area is the difference of four of its values. Everything is an integer, in units of 1 / (width *
/// height) pixels.
class Reduction {
public:
    Reduction(RGBABitmap::Size size, const UIImage& image)
        : m_image(image)
        , m_above(size_t(size.width) + 1)
    {
        m_bitmap.size = size;
        m_bitmap.rowLength = size.width == 8 ? 32 : (size_t(size.width) * channels + 63) / 64 * 64;
        m_bitmap.bytes.resize(m_bitmap.rowLength * size_t(size.height));
    }

    bool isDone() const { return m_row == m_bitmap.size.height; }
    Border nextBorder() const { return { m_row + 1, m_bitmap.size.height, m_image.pixelHeight() }; }

    /// Ends a row of areas. `sums` are of the rows above the one that the border is in.
    void endRow(const std::vector<uint64_t>& sums)
    {
        const Border border = nextBorder();
        // A border at the very end has no part in a row that is not there.
        const uint8_t* row = border.part > 0
            ? m_image.pixels() + border.whole * size_t(m_image.pixelWidth()) * channels
            : nullptr;
        const std::vector<Color> below = integralAlong(sums, row, border.part);
        const uint64_t whole = uint64_t { full } * static_cast<uint64_t>(m_image.pixelWidth())
            * static_cast<uint64_t>(m_image.pixelHeight());
        uint8_t* to = m_bitmap.bytes.data() + size_t(m_row) * m_bitmap.rowLength;
        for (size_t x = 0; x < size_t(m_bitmap.size.width); x++) {
            for (size_t part = 0; part < channels; part++) {
                const uint64_t area
                    = below[x + 1][part] - below[x][part] - (m_above[x + 1][part] - m_above[x][part]);
                *to++ = static_cast<uint8_t>((area + whole / 2) / whole);
            }
        }
        m_above = below;
        m_row++;
    }

    RGBABitmap take() { return std::move(m_bitmap); }

private:
    std::vector<Color> integralAlong(
        const std::vector<uint64_t>& sums, const uint8_t* row, uint64_t shareOfRow) const
    {
        const auto rows = static_cast<uint64_t>(m_bitmap.size.height);
        const auto columns = static_cast<uint64_t>(m_bitmap.size.width);
        // One column down to the border.
        auto column = [&](size_t x) {
            const Color own = row ? weighted(row + x * channels) : Color {};
            Color color;
            for (size_t part = 0; part < channels; part++)
                color[part] = rows * sums[x * channels + part] + shareOfRow * own[part];
            return color;
        };
        std::vector<Color> integral(columns + 1);
        Color sum {};
        size_t x = 0;
        for (size_t index = 0; index <= columns; index++) {
            const Border border(static_cast<int>(index), m_bitmap.size.width, m_image.pixelWidth());
            for (; x < border.whole; x++) {
                const Color color = column(x);
                for (size_t part = 0; part < channels; part++)
                    sum[part] += color[part];
            }
            const Color shared = border.part > 0 ? column(x) : Color {};
            for (size_t part = 0; part < channels; part++)
                integral[index][part] = columns * sum[part] + border.part * shared[part];
        }
        return integral;
    }

    const UIImage& m_image;
    RGBABitmap m_bitmap;
    int m_row { 0 };
    std::vector<Color> m_above;
};

} // namespace

std::vector<RGBABitmap> RGBABitmapsOfImage(const UIImage& image, std::span<const RGBABitmap::Size> sizes)
{
    const bool areSizes = std::all_of(sizes.begin(), sizes.end(),
        [](const RGBABitmap::Size& size) { return size.width > 0 && size.height > 0; });
    if (image.isNull() || !areSizes)
        return {};
    std::vector<Reduction> reductions;
    for (const RGBABitmap::Size& size : sizes)
        reductions.emplace_back(size, image);
    ColumnSums columns(size_t(image.pixelWidth()));
    const size_t rowLength = size_t(image.pixelWidth()) * channels;
    for (size_t y = 0;;) {
        size_t next = size_t(image.pixelHeight());
        for (Reduction& reduction : reductions) {
            // A picture lower than its bitmap has several borders in one row.
            while (!reduction.isDone() && reduction.nextBorder().whole == y)
                reduction.endRow(columns.sums());
            if (!reduction.isDone())
                next = std::min(next, reduction.nextBorder().whole);
        }
        if (y == size_t(image.pixelHeight()))
            break;
        columns.add(image.pixels() + y * rowLength, next - y);
        y = next;
    }
    std::vector<RGBABitmap> bitmaps;
    bitmaps.reserve(reductions.size());
    for (Reduction& reduction : reductions)
        bitmaps.push_back(reduction.take());
    return bitmaps;
}

std::optional<RGBABitmap> RGBABitmapOfImage(const UIImage& image, RGBABitmap::Size size)
{
    std::vector<RGBABitmap> bitmaps = RGBABitmapsOfImage(image, { &size, 1 });
    return bitmaps.empty() ? std::nullopt : std::optional { std::move(bitmaps.front()) };
}

std::optional<RGBABitmap> RGBABitmapDataForResizedImageWithWidth(
    const NSData& imageData, int width, int andHeight)
{
    const std::optional<UIImage> image = UIImage::imageWithData(imageData);
    return image ? RGBABitmapOfImage(*image, { width, andHeight }) : std::nullopt;
}

} // namespace lumora
