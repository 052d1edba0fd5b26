#include "platform/linux/CairoSupport.h"

#include <cmath>

namespace lumora {

CairoSurface makeSurface(double width, double height)
{
    if (!(width >= 1 && height >= 1 && width * height <= maximumPixels))
        return nullptr;
    CairoSurface surface { cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(width), static_cast<int>(height)) };
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    return surface;
}

CairoSurface makeSurface(CGSize size, double scale)
{
    // A fraction of a pixel takes a whole one; what arithmetic left over does not.
    auto pixels = [&](double points) { return std::ceil(points * scale - 1e-6); };
    return makeSurface(pixels(size.width), pixels(size.height));
}

CairoSurface surfaceFromImage(const UIImage& image)
{
    CairoSurface surface = makeSurface(image.pixelWidth(), image.pixelHeight());
    if (!surface)
        return nullptr;
    uint8_t* row = cairo_image_surface_get_data(surface.get());
    const uint8_t* from = image.pixels();
    for (int y = 0; y < image.pixelHeight(); y++, row += cairo_image_surface_get_stride(surface.get())) {
        auto* to = reinterpret_cast<uint32_t*>(row);
        for (int x = 0; x < image.pixelWidth(); x++, from += 4) {
            const uint32_t alpha = from[3];
            auto premultiplied = [&](uint32_t part) { return (part * alpha + 127) / 255; };
            to[x] = alpha << 24 | premultiplied(from[0]) << 16 | premultiplied(from[1]) << 8
                | premultiplied(from[2]);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

UIImage imageFromSurface(cairo_surface_t* surface, double scale)
{
    cairo_surface_flush(surface);
    const uint8_t* row = cairo_image_surface_get_data(surface);
    if (!row)
        return {};
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    std::vector<uint8_t> pixels(size_t(width) * size_t(height) * 4);
    uint8_t* to = pixels.data();
    for (int y = 0; y < height; y++, row += cairo_image_surface_get_stride(surface)) {
        const auto* from = reinterpret_cast<const uint32_t*>(row);
        for (int x = 0; x < width; x++, to += 4) {
            const uint32_t alpha = from[x] >> 24;
            auto plain = [&](uint32_t part) {
                return static_cast<uint8_t>(alpha ? std::min(255U, (part * 255 + alpha / 2) / alpha) : 0);
            };
            to[0] = plain(from[x] >> 16 & 255);
            to[1] = plain(from[x] >> 8 & 255);
            to[2] = plain(from[x] & 255);
            to[3] = static_cast<uint8_t>(alpha);
        }
    }
    return { width, height, std::move(pixels), scale };
}

void drawSurface(cairo_t* cairo, cairo_surface_t* surface, const CGRect& rect)
{
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    if (rect.isEmpty() || width <= 0 || height <= 0)
        return;
    cairo_save(cairo);
    cairo_translate(cairo, rect.minX(), rect.minY());
    cairo_scale(cairo, rect.size.width / width, rect.size.height / height);
    cairo_set_source_surface(cairo, surface, 0, 0);
    // The edge is not mixed with the nothing beyond it.
    cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
    cairo_rectangle(cairo, 0, 0, width, height);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

namespace {

/// Numbers that are none, or beyond what a picture can be, draw nothing: they would put the whole context out
/// of order.
bool isDrawable(double value) { return std::abs(value) < 1e6; }
bool isDrawable(CGPoint point) { return isDrawable(point.x) && isDrawable(point.y); }
bool isDrawable(const CGRect& rect)
{
    return isDrawable(rect.origin) && isDrawable(CGPoint { rect.maxX(), rect.maxY() });
}

class CairoContext final : public CGBitmapContext {
public:
    CairoContext(CairoSurface surface, double scale, bool opaque)
        : m_surface(std::move(surface))
        , m_cairo(cairo_create(m_surface.get()))
        , m_scale(scale)
    {
        if (opaque)
            cairo_paint(m_cairo.get());
        cairo_scale(m_cairo.get(), scale, scale);
    }

    void saveGState() override
    {
        cairo_save(m_cairo.get());
        m_open.push_back(openState);
    }
    void restoreGState() override
    {
        // One that has no partner is ignored.
        if (m_open.empty() || m_open.back() != openState)
            return;
        cairo_restore(m_cairo.get());
        m_open.pop_back();
    }
    void translateBy(double x, double y) override
    {
        if (std::isfinite(x) && std::isfinite(y))
            cairo_translate(m_cairo.get(), x, y);
    }
    void scaleBy(double x, double y) override
    {
        if (isDrawable(x) && isDrawable(y) && x != 0 && y != 0) {
            cairo_scale(m_cairo.get(), x, y);
            return;
        }
        // Scaled to nothing: what follows does not show.
        cairo_new_path(m_cairo.get());
        cairo_clip(m_cairo.get());
    }
    void clipToPath(const UIBezierPath& path) override
    {
        setPath(path);
        cairo_clip(m_cairo.get());
    }
    void fillPath(const UIBezierPath& path, const UIColor& color) override
    {
        setPath(path);
        setColor(color);
        cairo_fill(m_cairo.get());
    }
    void strokePath(const UIBezierPath& path, const UIColor& color, double lineWidth) override
    {
        if (!(lineWidth > 0) || !isDrawable(lineWidth))
            return;
        setPath(path);
        setColor(color);
        cairo_set_line_width(m_cairo.get(), lineWidth);
        cairo_stroke(m_cairo.get());
    }
    void drawImage(const UIImage& image, const CGRect& rect) override
    {
        if (!isDrawable(rect))
            return;
        if (const CairoSurface surface = surfaceFromImage(image))
            drawSurface(m_cairo.get(), surface.get(), rect);
    }
    void drawText(const std::string& text, const TextStyle& style, const CGRect& rect) override
    {
        if (!isDrawable(rect))
            return;
        cairo_save(m_cairo.get());
        drawTextInRect(m_cairo.get(), text, style, rect);
        cairo_restore(m_cairo.get());
    }
    void beginTransparencyLayer(double alpha) override
    {
        cairo_push_group(m_cairo.get());
        m_open.push_back(std::clamp(alpha, 0.0, 1.0));
    }
    void endTransparencyLayer() override
    {
        while (!m_open.empty() && m_open.back() == openState)
            restoreGState();
        if (m_open.empty())
            return;
        cairo_pop_group_to_source(m_cairo.get());
        cairo_paint_with_alpha(m_cairo.get(), m_open.back());
        m_open.pop_back();
    }
    UIImage makeImage() override { return imageFromSurface(m_surface.get(), m_scale); }

private:
    // What is open: a saved state, or a transparency layer with its alpha.
    static constexpr double openState = -1;

    void setColor(const UIColor& color)
    {
        cairo_set_source_rgba(m_cairo.get(), color.red, color.green, color.blue, color.alpha);
    }
    void setPath(const UIBezierPath& path)
    {
        cairo_new_path(m_cairo.get());
        for (const auto& [kind, to, control1, control2] : path.elements()) {
            if (!isDrawable(to) || !isDrawable(control1) || !isDrawable(control2)) {
                cairo_new_path(m_cairo.get());
                return;
            }
            switch (kind) {
            case UIBezierPath::Kind::Move:
                cairo_move_to(m_cairo.get(), to.x, to.y);
                break;
            case UIBezierPath::Kind::Line:
                cairo_line_to(m_cairo.get(), to.x, to.y);
                break;
            case UIBezierPath::Kind::Curve:
                cairo_curve_to(m_cairo.get(), control1.x, control1.y, control2.x, control2.y, to.x, to.y);
                break;
            case UIBezierPath::Kind::Close:
                cairo_close_path(m_cairo.get());
                break;
            }
        }
    }

    CairoSurface m_surface;
    Cairo m_cairo;
    double m_scale;
    std::vector<double> m_open;
};

} // namespace

std::unique_ptr<CGBitmapContext> makeBitmapContext(CGSize size, double scale, bool opaque)
{
    CairoSurface surface = makeSurface(size, scale);
    if (!surface)
        return nullptr;
    return std::make_unique<CairoContext>(std::move(surface), scale, opaque);
}

} // namespace lumora
