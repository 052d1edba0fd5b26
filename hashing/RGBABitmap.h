#pragma once

#include "platform/uikit/UIImage.h"

#include <optional>
#include <span>

namespace lumora {

/// A picture scaled into a small bitmap: 8-bit R, G, B, A, premultiplied, rows from the top, each `rowLength`
/// bytes.
struct RGBABitmap {
    struct Size {
        int width { 0 };
        int height { 0 };
    };

    Size size;
    /// 32 for 8 pixels, else 4 bytes a pixel rounded up to a multiple of 64.
    size_t rowLength { 0 };
    std::vector<uint8_t> bytes;

    const uint8_t* pixel(size_t x, size_t y) const { return bytes.data() + y * rowLength + x * 4; }
};

/// Scales the whole picture into bitmaps of several sizes, reading its pixels once. A pixel of a bitmap is
/// the exact mean, rounded once, of the area it covers; pixels on the border of two areas count by their
/// share. Sizes are in pixels. Empty for a null picture and for a size below 1. Any thread.
std::vector<RGBABitmap> RGBABitmapsOfImage(const UIImage& image, std::span<const RGBABitmap::Size> sizes);

/// The same for one size; nothing for a null picture.
std::optional<RGBABitmap> RGBABitmapOfImage(const UIImage& image, RGBABitmap::Size size);

/// Decodes a PNG or JPEG and scales it; nothing when it cannot be decoded. Any thread.
std::optional<RGBABitmap> RGBABitmapDataForResizedImageWithWidth(
    const NSData& imageData, int width, int andHeight);

} // namespace lumora
