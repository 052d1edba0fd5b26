#include "platform/linux/CairoSupport.h"
#include "platform/process/Lock.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>
#include <set>
#include <sys/mman.h>
#include <unistd.h>

namespace lumora {

namespace {

constexpr size_t maximumTextLength = 5'000;
constexpr double maximumFontSize = 2'000;

std::optional<std::string> whyNoFont(const NSData& data)
{
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0)
        return "the font library cannot be started";
    FT_Face face = nullptr;
    const bool readable
        = FT_New_Memory_Face(library, data.bytes.data(), static_cast<FT_Long>(data.bytes.size()), 0, &face)
        == 0;
    const bool named = readable && FT_Get_Postscript_Name(face);
    FT_Done_FreeType(library);
    if (!readable)
        return "the data is not a font";
    return named ? std::nullopt : std::optional<std::string> { "the font has no name" };
}

/// The fonts of this machine and those registered later: one set for the whole program, as a font file knows
/// nothing of a phone. One thread at a time uses it. Never destroyed: text may still be drawn while static
/// objects are going.
class FontLibrary {
public:
    static FontLibrary& shared()
    {
        static FontLibrary& library = *new FontLibrary;
        return library;
    }

    void withLayout(
        cairo_t* cairo, const PangoFontDescription* font, const std::function<void(PangoLayout*)>& function)
    {
        Locker hold(m_lock);
        using Context = std::unique_ptr<PangoContext, FreeWith<g_object_unref>>;
        using Layout = std::unique_ptr<PangoLayout, FreeWith<g_object_unref>>;
        const Context context { pango_font_map_create_context(m_fontMap) };
        pango_cairo_context_set_font_options(context.get(), m_options);
        pango_context_set_round_glyph_positions(context.get(), FALSE);
        if (cairo)
            pango_cairo_update_context(cairo, context.get());
        const Layout layout { pango_layout_new(context.get()) };
        pango_layout_set_font_description(layout.get(), font);
        function(layout.get());
    }

    FontDescription named(const std::string& name)
    {
        Locker hold(m_lock);
        auto known = m_named.find(name);
        if (known == m_named.end()) {
            FontDescription found = lookUpLocked(name);
            if (!found)
                found.reset(pango_font_description_from_string("Roboto"));
            known = m_named.emplace(name, std::move(found)).first;
        }
        return FontDescription { pango_font_description_copy(known->second.get()) };
    }

    std::optional<std::string> add(const NSData& data)
    {
        Locker hold(m_lock);
        if (m_registered.count(data.bytes))
            return std::nullopt;
        if (std::optional<std::string> reason = whyNoFont(data))
            return reason;
        // Fontconfig reads files only. One without a name is gone when the program is, however it ends.
        const int file = memfd_create("font", MFD_CLOEXEC);
        if (file < 0)
            return "no file for the font can be made";
        const std::string path = "/proc/self/fd/" + std::to_string(file);
        if (write(file, data.bytes.data(), data.bytes.size()) != static_cast<ssize_t>(data.bytes.size())
            || !FcConfigAppFontAddFile(m_config, reinterpret_cast<const FcChar8*>(path.c_str()))) {
            close(file);
            return "the font cannot be kept";
        }
        m_registered.insert(data.bytes);
        m_named.clear();
        pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(m_fontMap));
        return std::nullopt;
    }

private:
    FontLibrary()
        : m_config(FcInitLoadConfigAndFonts())
        , m_fontMap(pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT))
        , m_options(cairo_font_options_create())
    {
        pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(m_fontMap), m_config);
        // The same pixels on every machine, whatever its screen is.
        cairo_font_options_set_antialias(m_options, CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_style(m_options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(m_options, CAIRO_HINT_METRICS_OFF);
    }

    FontDescription lookUpLocked(const std::string& name) LUMORA_REQUIRES(m_lock)
    {
        using Pattern = std::unique_ptr<FcPattern, FreeWith<FcPatternDestroy>>;
        using Objects = std::unique_ptr<FcObjectSet, FreeWith<FcObjectSetDestroy>>;
        using Fonts = std::unique_ptr<FcFontSet, FreeWith<FcFontSetDestroy>>;
        const Pattern wanted { FcPatternCreate() };
        FcPatternAddString(wanted.get(), FC_POSTSCRIPT_NAME, reinterpret_cast<const FcChar8*>(name.c_str()));
        const Objects parts { FcObjectSetBuild(FC_FAMILY, FC_STYLE, FC_WEIGHT, FC_SLANT, FC_WIDTH, nullptr) };
        const Fonts found { FcFontList(m_config, wanted.get(), parts.get()) };
        if (!found || found->nfont == 0)
            return nullptr;
        return FontDescription { pango_fc_font_description_from_pattern(found->fonts[0], FALSE) };
    }

    Lock m_lock;
    FcConfig* m_config LUMORA_GUARDED_BY(m_lock);
    PangoFontMap* m_fontMap LUMORA_GUARDED_BY(m_lock);
    cairo_font_options_t* m_options LUMORA_GUARDED_BY(m_lock);
    std::map<std::string, FontDescription> m_named LUMORA_GUARDED_BY(m_lock);
    std::set<std::vector<uint8_t>> m_registered LUMORA_GUARDED_BY(m_lock);
};

int pangoUnits(double points)
{
    return static_cast<int>(std::ceil(std::clamp(points, 0.0, 100'000.0) * PANGO_SCALE));
}

struct LaidOut {
    double width { 0 };
    double height { 0 };
    bool cut { false };
};

LaidOut measure(PangoLayout* layout)
{
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    return { double(logical.width) / PANGO_SCALE, double(logical.height) / PANGO_SCALE,
        bool(pango_layout_is_ellipsized(layout)) };
}

double lineHeight(PangoLayout* layout)
{
    PangoContext* context = pango_layout_get_context(layout);
    PangoFontMetrics* metrics
        = pango_context_get_metrics(context, pango_layout_get_font_description(layout), nullptr);
    const double height = double(pango_font_metrics_get_height(metrics)) / PANGO_SCALE;
    pango_font_metrics_unref(metrics);
    return height;
}

/// Sets the text into a width and height, infinite where there is no limit, at a fraction of the style's font
/// size.
LaidOut layOut(
    PangoLayout* layout, const TextStyle& style, FontDescription& font, double factor, CGSize space)
{
    pango_font_description_set_absolute_size(
        font.get(), std::min(style.font.size, maximumFontSize) * factor * PANGO_SCALE);
    pango_layout_set_font_description(layout, font.get());
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_width(layout, std::isfinite(space.width) ? pangoUnits(space.width) : -1);
    double height = space.height;
    if (style.numberOfLines > 0)
        height = std::min(height, (style.numberOfLines + 0.5) * lineHeight(layout));
    // Height 0 is one line, whatever the text holds; without a width nothing is cut, and lines end where the
    // text says.
    pango_layout_set_height(layout,
        style.numberOfLines == 1    ? 0
            : std::isfinite(height) ? pangoUnits(height)
                                    : INT_MAX);
    return measure(layout);
}

PangoAlignment pangoAlignment(NSTextAlignment alignment)
{
    switch (alignment) {
    case NSTextAlignment::Left:
        return PANGO_ALIGN_LEFT;
    case NSTextAlignment::Center:
        return PANGO_ALIGN_CENTER;
    case NSTextAlignment::Right:
        return PANGO_ALIGN_RIGHT;
    }
    return PANGO_ALIGN_LEFT;
}

} // namespace

void withLayout(
    cairo_t* cairo, const PangoFontDescription* font, const std::function<void(PangoLayout*)>& function)
{
    FontLibrary::shared().withLayout(cairo, font, function);
}

FontDescription fontNamed(const std::string& postScriptName, double size)
{
    FontDescription font = FontLibrary::shared().named(postScriptName);
    pango_font_description_set_absolute_size(
        font.get(), std::clamp(size, 0.0, maximumFontSize) * PANGO_SCALE);
    return font;
}

void setLayoutText(PangoLayout* layout, std::string_view text)
{
    text = text.substr(0, maximumTextLength);
    const std::unique_ptr<char, FreeWith<g_free>> valid { g_utf8_make_valid(
        text.data() ? text.data() : "", static_cast<gssize>(text.size())) };
    pango_layout_set_text(layout, valid.get(), -1);
}

void drawTextInRect(cairo_t* cairo, const std::string& text, const TextStyle& style, const CGRect& rect)
{
    if (text.empty() || !(style.font.size > 0) || rect.isEmpty())
        return;
    FontDescription font = fontNamed(style.font.name, style.font.size);
    withLayout(cairo, font.get(), [&](PangoLayout* layout) {
        setLayoutText(layout, text);
        pango_layout_set_alignment(layout, pangoAlignment(style.alignment));
        const double smallest = std::clamp(style.minimumScaleFactor, 0.01, 1.0);
        double factor = 1;
        LaidOut result = layOut(layout, style, font, factor, rect.size);
        while (result.cut && factor > smallest) {
            factor = std::max(smallest, factor - 0.02);
            result = layOut(layout, style, font, factor, rect.size);
        }
        cairo_rectangle(cairo, rect.minX(), rect.minY(), rect.size.width, rect.size.height);
        cairo_clip(cairo);
        cairo_set_source_rgba(cairo, style.color.red, style.color.green, style.color.blue, style.color.alpha);
        cairo_move_to(cairo, rect.minX(), rect.midY() - result.height / 2);
        pango_cairo_show_layout(cairo, layout);
    });
}

CGSize measureText(const std::string& text, const TextStyle& style, double maximumWidth)
{
    if (text.empty() || !(style.font.size > 0))
        return {};
    constexpr double unlimited = std::numeric_limits<double>::infinity();
    FontDescription font = fontNamed(style.font.name, style.font.size);
    LaidOut result;
    withLayout(nullptr, font.get(), [&](PangoLayout* layout) {
        setLayoutText(layout, text);
        CGSize space { unlimited, unlimited };
        if (maximumWidth > 0)
            space.width = maximumWidth;
        result = layOut(layout, style, font, 1, space);
    });
    // Whole points, so that the text fits a rectangle of this size again.
    const double width = std::ceil(result.width);
    return { maximumWidth > 0 ? std::min(width, maximumWidth) : width, std::ceil(result.height) };
}

std::optional<std::string> CTFontManagerRegisterGraphicsFont(const NSData& font)
{
    return FontLibrary::shared().add(font);
}

} // namespace lumora
