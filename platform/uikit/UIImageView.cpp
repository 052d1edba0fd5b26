#include "platform/uikit/UIImageView.h"

#include <cmath>

namespace lumora {

const ClassDescription& UIImageView::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIImageView, UIView>("UIImageView")
                                    .method<&UIImageView::intrinsicContentSize>(sel::intrinsicContentSize)
                                    .method<&UIImageView::drawRect>(sel::drawRect));
    return description;
}
static const RegisteredClass registeredUIImageView { &UIImageView::classDescription };

static UIImage tinted(const UIImage& image, const UIColor& color)
{
    constexpr double most = 255;
    auto byte = [](double component) {
        return static_cast<uint8_t>(std::lround(std::clamp(component, 0.0, 1.0) * most));
    };
    const size_t count = static_cast<size_t>(image.pixelWidth()) * static_cast<size_t>(image.pixelHeight());
    std::vector<uint8_t> pixels(image.pixels(), image.pixels() + count * 4);
    for (size_t i = 0; i < pixels.size(); i += 4) {
        pixels[i] = byte(color.red);
        pixels[i + 1] = byte(color.green);
        pixels[i + 2] = byte(color.blue);
        pixels[i + 3] = byte(pixels[i + 3] / most * color.alpha);
    }
    return { image.pixelWidth(), image.pixelHeight(), std::move(pixels), image.scale() };
}

void UIImageView::setImage(UIImage image)
{
    m_image = std::move(image);
    m_tinted = {};
    invalidateIntrinsicContentSize();
}

void UIImageView::setTintColor(std::optional<UIColor> color)
{
    m_tintColor = color;
    m_tinted = {};
}

CGSize UIImageView::intrinsicContentSize()
{
    return m_image.isNull() ? CGSize { noIntrinsicMetric, noIntrinsicMetric } : m_image.size();
}

static CGRect placed(CGSize image, const CGRect& bounds, UIViewContentMode mode)
{
    double scale = 1;
    const double across = bounds.size.width / image.width;
    const double along = bounds.size.height / image.height;
    switch (mode) {
    case UIViewContentMode::ScaleToFill:
        return bounds;
    case UIViewContentMode::ScaleAspectFit:
        scale = std::min(across, along);
        break;
    case UIViewContentMode::ScaleAspectFill:
        scale = std::max(across, along);
        break;
    case UIViewContentMode::Center:
        break;
    }
    const CGSize size { image.width * scale, image.height * scale };
    return { { bounds.midX() - size.width / 2, bounds.midY() - size.height / 2 }, size };
}

void UIImageView::drawRect(CGContext& context)
{
    if (m_image.isNull() || m_image.size().width <= 0 || m_image.size().height <= 0)
        return;
    if (m_tintColor && m_tinted.isNull())
        m_tinted = tinted(m_image, *m_tintColor);
    context.drawImage(m_tintColor ? m_tinted : m_image, placed(m_image.size(), bounds(), contentMode()));
}

} // namespace lumora
