#pragma once

namespace lumora {

/// A colour in components from 0 to 1, not premultiplied.
struct UIColor {
    double red { 0 };
    double green { 0 };
    double blue { 0 };
    double alpha { 0 };

    static constexpr UIColor clearColor() { return {}; }
    static constexpr UIColor whiteColor() { return { 1, 1, 1, 1 }; }
    static constexpr UIColor blackColor() { return { 0, 0, 0, 1 }; }
    constexpr UIColor withAlpha(double value) const { return { red, green, blue, value }; }
    bool operator==(const UIColor&) const = default;
};

} // namespace lumora
