#pragma once

#include "platform/coregraphics/CGGeometry.h"

#include <vector>

namespace lumora {

/// Which corners of a rectangle are rounded; combined with `|`. 12 is both bottom corners.
enum UIRectCorner : unsigned {
    UIRectCornerTopLeft = 1,
    UIRectCornerTopRight = 2,
    UIRectCornerBottomLeft = 4,
    UIRectCornerBottomRight = 8,
    UIRectCornerAllCorners = 15,
};

/// A path in points. A plain value.
class UIBezierPath {
public:
    enum class Kind { Move, Line, Curve, Close };
    struct Element {
        Kind kind;
        /// Move and Line use `to`; Curve is a cubic with two control points.
        CGPoint to;
        CGPoint control1;
        CGPoint control2;
        bool operator==(const Element&) const = default;
    };

    static UIBezierPath bezierPathWithRect(const CGRect& rect);
    static UIBezierPath bezierPathWithRoundedRect(const CGRect& rect, double cornerRadius);
    /// Radii larger than half a side are cut to it.
    static UIBezierPath bezierPathWithRoundedRect(
        const CGRect& rect, unsigned roundingCorners, CGSize cornerRadii);

    void moveTo(CGPoint point);
    void addLineTo(CGPoint point);
    void addCurveTo(CGPoint point, CGPoint control1, CGPoint control2);
    void close();

    const std::vector<Element>& elements() const { return m_elements; }
    bool isEmpty() const { return m_elements.empty(); }
    /// The smallest rectangle around all points and control points.
    CGRect bounds() const;
    bool operator==(const UIBezierPath&) const = default;

private:
    std::vector<Element> m_elements;
};

} // namespace lumora
