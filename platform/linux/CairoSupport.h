#pragma once

#include "platform/coregraphics/CGContext.h"

#include <cairo/cairo.h>
#include <functional>
#include <memory>
#include <pango/pango.h>
#include <string_view>

namespace lumora {

/// Gives a C library's object back with the function that frees it.
template <auto Free> struct FreeWith {
    template <typename T> void operator()(T* object) const { Free(object); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, FreeWith<cairo_surface_destroy>>;
using Cairo = std::unique_ptr<cairo_t, FreeWith<cairo_destroy>>;
using FontDescription = std::unique_ptr<PangoFontDescription, FreeWith<pango_font_description_free>>;

/// The largest picture that is drawn or decoded, in pixels.
inline constexpr double maximumPixels = 64e6;

/// A transparent surface of that many pixels; null when it is empty, too large, or there is no memory.
CairoSurface makeSurface(double width, double height);
/// The same for a size in points.
CairoSurface makeSurface(CGSize size, double scale);
/// The premultiplied pixels of a picture, for Cairo; null for a null picture.
CairoSurface surfaceFromImage(const UIImage& image);
/// The picture on a surface; null for a surface in an error state.
UIImage imageFromSurface(cairo_surface_t* surface, double scale);
/// Stretches a surface over a rectangle.
void drawSurface(cairo_t* cairo, cairo_surface_t* surface, const CGRect& rect);

/// Runs a function with an empty layout in a font, under the lock of the font library: the function calls
/// nothing but Cairo and Pango. With a context, the layout is fit for drawing into it.
void withLayout(
    cairo_t* cairo, const PangoFontDescription* font, const std::function<void(PangoLayout*)>& function);
/// The font of a PostScript name and a size in points; Roboto-Regular when nobody has that name.
FontDescription fontNamed(const std::string& postScriptName, double size);
/// Sets UTF-8 text; bytes that are none are replaced, and what is longer than any label is cut.
void setLayoutText(PangoLayout* layout, std::string_view text);
/// Puts a text down as CGContext::drawText says.
void drawTextInRect(cairo_t* cairo, const std::string& text, const TextStyle& style, const CGRect& rect);

} // namespace lumora
