#pragma once

#include "platform/coregraphics/CGContext.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>

namespace lumora::test {

/// A pixel as eight hexadecimal digits: red, green, blue, alpha.
inline std::string pixelAt(const UIImage& image, int x, int y)
{
    if (image.isNull() || x >= image.pixelWidth() || y >= image.pixelHeight())
        return "none";
    const size_t at = 4 * (size_t(y) * size_t(image.pixelWidth()) + size_t(x));
    const uint8_t* rgba = image.pixels() + at;
    std::array<char, 9> text {};
    std::snprintf(text.data(), text.size(), "%02x%02x%02x%02x", rgba[0], rgba[1], rgba[2], rgba[3]);
    return text.data();
}

/// The smallest rectangle around all pixels of a picture that differ from its top left one.
inline CGRect inked(const UIImage& image)
{
    int left = image.pixelWidth(), top = image.pixelHeight(), right = 0, bottom = 0;
    const std::string paper = pixelAt(image, 0, 0);
    for (int y = 0; y < image.pixelHeight(); y++) {
        for (int x = 0; x < image.pixelWidth(); x++) {
            if (pixelAt(image, x, y) == paper)
                continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x + 1);
            bottom = std::max(bottom, y + 1);
        }
    }
    return right > left ? CGRectMake(left, top, right - left, bottom - top) : CGRectZero;
}

/// A picture of that size whose pixels all differ from their neighbours.
inline UIImage patterned(int width, int height, bool opaque)
{
    std::vector<uint8_t> pixels;
    for (int at = 0; at < width * height; at++) {
        for (int part : { at * 37, at * 101 + 5, at / 3 * 53, opaque ? 255 : at * 29 })
            pixels.push_back(static_cast<uint8_t>(part));
    }
    return { width, height, std::move(pixels) };
}

inline std::string bytesOf(const UIImage& image)
{
    const size_t length = size_t(image.pixelWidth()) * size_t(image.pixelHeight()) * 4;
    return { reinterpret_cast<const char*>(image.pixels()), length };
}

} // namespace lumora::test
