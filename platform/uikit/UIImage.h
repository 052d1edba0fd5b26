#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/foundation/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace lumora {

/// A picture: 8-bit RGBA, not premultiplied, rows from the top without gaps. Pixels are shared between copies
/// and never change. Any thread.
class UIImage {
public:
    UIImage() = default;
    /// `pixels` holds 4 bytes a pixel, width * height of them; scale is pixels per point.
    UIImage(int width, int height, std::vector<uint8_t> pixels, double scale = 1);

    bool isNull() const { return !m_pixels; }
    /// Pixels.
    int pixelWidth() const { return m_width; }
    int pixelHeight() const { return m_height; }
    double scale() const { return m_scale; }
    /// Points.
    CGSize size() const { return { m_width / m_scale, m_height / m_scale }; }
    const uint8_t* pixels() const { return m_pixels ? m_pixels->data() : nullptr; }

    /// Decodes PNG or JPEG; nothing when the data is damaged, truncated, larger than 64 million pixels, or
    /// longer on a side than the decoders take: a million pixels of a PNG, 65,500 of a JPEG.
    static std::optional<UIImage> imageWithData(const NSData& data, double scale = 1);

private:
    int m_width { 0 };
    int m_height { 0 };
    double m_scale { 1 };
    std::shared_ptr<const std::vector<uint8_t>> m_pixels;
};

/// PNG bytes of a picture; empty for a null one.
NSData UIImagePNGRepresentation(const UIImage& image);
/// JPEG bytes; quality from 0 to 1. Empty for a null picture.
NSData UIImageJPEGRepresentation(const UIImage& image, double quality);

} // namespace lumora
