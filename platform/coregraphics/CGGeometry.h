#pragma once

#include "platform/objc/TypeEncoding.h"

#include <algorithm>

namespace lumora {

/// Geometry in points, origin at the top left, y growing downwards.
struct CGPoint {
    double x { 0 };
    double y { 0 };
    bool operator==(const CGPoint&) const = default;
};

struct CGSize {
    double width { 0 };
    double height { 0 };
    bool operator==(const CGSize&) const = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;

    double minX() const { return origin.x; }
    double minY() const { return origin.y; }
    double maxX() const { return origin.x + size.width; }
    double maxY() const { return origin.y + size.height; }
    double midX() const { return origin.x + size.width / 2; }
    double midY() const { return origin.y + size.height / 2; }
    /// The left and top edges belong to the rectangle, the right and bottom ones do not.
    bool contains(CGPoint point) const
    {
        return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
    bool isEmpty() const { return size.width <= 0 || size.height <= 0; }
    CGRect offsetBy(double dx, double dy) const { return { { origin.x + dx, origin.y + dy }, size }; }
    CGRect insetBy(double dx, double dy) const
    {
        return { { origin.x + dx, origin.y + dy }, { size.width - 2 * dx, size.height - 2 * dy } };
    }
    CGRect intersection(const CGRect& other) const
    {
        const double left = std::max(minX(), other.minX());
        const double top = std::max(minY(), other.minY());
        const double right = std::min(maxX(), other.maxX());
        const double bottom = std::min(maxY(), other.maxY());
        return right > left && bottom > top ? CGRect { { left, top }, { right - left, bottom - top } }
                                            : CGRect {};
    }
    bool operator==(const CGRect&) const = default;
};

inline constexpr CGRect CGRectZero {};
inline CGRect CGRectMake(double x, double y, double width, double height)
{
    return { { x, y }, { width, height } };
}

struct UIEdgeInsets {
    double top { 0 };
    double left { 0 };
    double bottom { 0 };
    double right { 0 };
    bool operator==(const UIEdgeInsets&) const = default;
};

LUMORA_ENCODE(CGPoint, CGPoint, "{CGPoint=dd}");
LUMORA_ENCODE(CGSize, CGSize, "{CGSize=dd}");
LUMORA_ENCODE(CGRect, CGRect, "{CGRect={CGPoint=dd}{CGSize=dd}}");

} // namespace lumora
