#include "platform/uikit/UIBezierPath.h"

namespace lumora {

UIBezierPath UIBezierPath::bezierPathWithRect(const CGRect& rect)
{
    return bezierPathWithRoundedRect(rect, 0, {});
}

UIBezierPath UIBezierPath::bezierPathWithRoundedRect(const CGRect& rect, double cornerRadius)
{
    return bezierPathWithRoundedRect(rect, UIRectCornerAllCorners, { cornerRadius, cornerRadius });
}

UIBezierPath UIBezierPath::bezierPathWithRoundedRect(const CGRect& rect, unsigned corners, CGSize radii)
{
    // A quarter of a circle as a cubic: the usual 4/3 * (sqrt(2) - 1).
    constexpr double kappa = 0.5522847498307936;
    const double rx = std::clamp(radii.width, 0.0, std::max(0.0, rect.size.width / 2));
    const double ry = std::clamp(radii.height, 0.0, std::max(0.0, rect.size.height / 2));
    const double cx = rx * (1 - kappa);
    const double cy = ry * (1 - kappa);
    const double left = rect.minX(), top = rect.minY(), right = rect.maxX(), bottom = rect.maxY();
    auto rounded = [&](unsigned corner) { return (corners & corner) != 0 && rx > 0 && ry > 0; };

    UIBezierPath path;
    path.moveTo({ left + (rounded(UIRectCornerTopLeft) ? rx : 0), top });
    if (rounded(UIRectCornerTopRight)) {
        path.addLineTo({ right - rx, top });
        path.addCurveTo({ right, top + ry }, { right - cx, top }, { right, top + cy });
    } else
        path.addLineTo({ right, top });
    if (rounded(UIRectCornerBottomRight)) {
        path.addLineTo({ right, bottom - ry });
        path.addCurveTo({ right - rx, bottom }, { right, bottom - cy }, { right - cx, bottom });
    } else
        path.addLineTo({ right, bottom });
    if (rounded(UIRectCornerBottomLeft)) {
        path.addLineTo({ left + rx, bottom });
        path.addCurveTo({ left, bottom - ry }, { left + cx, bottom }, { left, bottom - cy });
    } else
        path.addLineTo({ left, bottom });
    if (rounded(UIRectCornerTopLeft)) {
        path.addLineTo({ left, top + ry });
        path.addCurveTo({ left + rx, top }, { left, top + cy }, { left + cx, top });
    }
    path.close();
    return path;
}

void UIBezierPath::moveTo(CGPoint point) { m_elements.push_back({ Kind::Move, point, {}, {} }); }
void UIBezierPath::addLineTo(CGPoint point) { m_elements.push_back({ Kind::Line, point, {}, {} }); }
void UIBezierPath::addCurveTo(CGPoint point, CGPoint control1, CGPoint control2)
{
    m_elements.push_back({ Kind::Curve, point, control1, control2 });
}
void UIBezierPath::close() { m_elements.push_back({ Kind::Close, {}, {}, {} }); }

CGRect UIBezierPath::bounds() const
{
    bool any = false;
    CGPoint low, high;
    auto include = [&](CGPoint point) {
        low = any ? CGPoint { std::min(low.x, point.x), std::min(low.y, point.y) } : point;
        high = any ? CGPoint { std::max(high.x, point.x), std::max(high.y, point.y) } : point;
        any = true;
    };
    for (const Element& element : m_elements) {
        if (element.kind == Kind::Close)
            continue;
        include(element.to);
        if (element.kind == Kind::Curve) {
            include(element.control1);
            include(element.control2);
        }
    }
    return { low, { high.x - low.x, high.y - low.y } };
}

} // namespace lumora
