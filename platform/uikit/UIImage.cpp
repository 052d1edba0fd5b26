#include "platform/uikit/UIImage.h"

namespace lumora {

UIImage::UIImage(int width, int height, std::vector<uint8_t> pixels, double scale)
{
    // What does not describe a picture is the null picture.
    if (width <= 0 || height <= 0 || !(scale > 0) || pixels.size() != size_t(width) * size_t(height) * 4)
        return;
    m_width = width;
    m_height = height;
    m_scale = scale;
    m_pixels = std::make_shared<const std::vector<uint8_t>>(std::move(pixels));
}

} // namespace lumora
