#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"
#include "platform/uikit/UIImage.h"

#include <memory>
#include <string>

namespace lumora {

/// A font by its PostScript name, such as "Roboto-Medium", in points. An unknown name falls back to
/// Roboto-Regular.
struct UIFont {
    std::string name { "Roboto-Regular" };
    double size { 17 };
    bool operator==(const UIFont&) const = default;
};

enum class NSTextAlignment { Left, Center, Right };

/// How a text is set into a rectangle: centred vertically, cut with an ellipsis where it does not fit.
struct TextStyle {
    UIFont font;
    UIColor color { UIColor::blackColor() };
    NSTextAlignment alignment { NSTextAlignment::Left };
    /// 0 for as many as fit.
    int numberOfLines { 1 };
    /// Shrinks the font, down to this factor, to fit the width; 1 never shrinks.
    double minimumScaleFactor { 1 };
};

/// What views draw into, in points. State that is saved is restored in pairs. One thread at a time.
class CGContext {
public:
    virtual ~CGContext() = default;
    virtual void saveGState() = 0;
    virtual void restoreGState() = 0;
    virtual void translateBy(double x, double y) = 0;
    virtual void scaleBy(double x, double y) = 0;
    virtual void clipToPath(const UIBezierPath& path) = 0;
    virtual void fillPath(const UIBezierPath& path, const UIColor& color) = 0;
    virtual void strokePath(const UIBezierPath& path, const UIColor& color, double lineWidth) = 0;
    virtual void drawImage(const UIImage& image, const CGRect& rect) = 0;
    virtual void drawText(const std::string& text, const TextStyle& style, const CGRect& rect) = 0;
    /// What is drawn until the matching end is put down as one picture with that alpha.
    virtual void beginTransparencyLayer(double alpha) = 0;
    virtual void endTransparencyLayer() = 0;
};

/// A context over memory, transparent at first; an opaque one black, and never transparent.
class CGBitmapContext : public CGContext {
public:
    virtual UIImage makeImage() = 0;
};

/// A bitmap of a size in points; null for an empty size or one beyond 64 million pixels. Defined by the
/// platform linked.
std::unique_ptr<CGBitmapContext> makeBitmapContext(CGSize size, double scale, bool opaque = false);

/// The size a text takes when set in at most that width; width 0 is unlimited. Defined by the platform
/// linked.
CGSize measureText(const std::string& text, const TextStyle& style, double maximumWidth);

/// Registers a font file's contents for the process; a reason when it is no font.
std::optional<std::string> CTFontManagerRegisterGraphicsFont(const NSData& font);

} // namespace lumora
