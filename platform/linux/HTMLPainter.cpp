#include "platform/webkit/HTMLPainter.h"

#include "platform/linux/BoundedHTML.h"
#include "platform/linux/CairoSupport.h"
#include "platform/process/SignalsBlocked.h"

// The library's headers need its first one before them.
// clang-format off
#include <litehtml/litehtml.h>
#include <litehtml/el_anchor.h>
#include <litehtml/el_body.h>
#include <litehtml/el_comment.h>
#include <litehtml/el_div.h>
#include <litehtml/el_font.h>
#include <litehtml/el_para.h>
#include <litehtml/el_table.h>
#include <litehtml/el_td.h>
#include <litehtml/el_tr.h>
// clang-format on

#include <cmath>
#include <pango/pangocairo.h>
#include <pthread.h>
#include <unordered_map>

namespace lumora {

namespace {

using litehtml::position;

/// What browsers agree on before a page's own styles.
constexpr const char* masterStyles = R"css(
html, address, article, aside, blockquote, body, center, dd, details, dir, div, dl, dt, fieldset, figcaption, figure, footer,
form, h1, h2, h3, h4, h5, h6, header, hr, main, menu, nav, ol, p, pre, section, summary, ul, textarea, xmp { display: block }
head, style, script, title, link, meta, base, template { display: none }
html { height: 100% }
body { margin: 8px }
p, dl { margin-top: 1em; margin-bottom: 1em }
ul, ol, menu, dir { margin-top: 1em; margin-bottom: 1em; padding-left: 40px; list-style-type: disc }
ol { list-style-type: decimal }
li { display: list-item }
dd { margin-left: 40px }
blockquote, figure { margin: 1em 40px }
h1 { font-size: 2em; margin: 0.67em 0 }
h2 { font-size: 1.5em; margin: 0.83em 0 }
h3 { font-size: 1.17em; margin: 1em 0 }
h4 { margin: 1.33em 0 }
h5 { font-size: 0.83em; margin: 1.67em 0 }
h6 { font-size: 0.67em; margin: 2.33em 0 }
h1, h2, h3, h4, h5, h6, b, strong, th { font-weight: bold }
i, em, cite, dfn, var, address { font-style: italic }
u, ins { text-decoration: underline }
s, strike, del { text-decoration: line-through }
a:link { color: #0000ee; text-decoration: underline }
small { font-size: smaller }
big { font-size: larger }
sub { vertical-align: sub; font-size: smaller }
sup { vertical-align: super; font-size: smaller }
center { text-align: center }
pre, textarea, xmp { white-space: pre }
hr { border: 1px inset #808080; margin: 0.5em auto }
img, button, input { display: inline-block }
button, input { border: 1px solid #767676; padding: 1px 6px; background-color: #efefef; font-size: 13px }
table { display: table; border-collapse: separate; border-spacing: 2px; text-indent: 0 }
caption { display: table-caption; text-align: center }
thead { display: table-header-group }
tbody { display: table-row-group }
tfoot { display: table-footer-group }
tr { display: table-row }
td, th { display: table-cell; padding: 1px; vertical-align: middle }
th { text-align: center }
col { display: table-column }
colgroup { display: table-column-group }
)css";

/// Layout takes time that grows with the power of nesting: floats in floats, tables in tables, selectors in
/// selectors. What recurses pays for each step, and is left when it has paid too much.
class Effort {
public:
    struct Exhausted { };
    void spend(size_t units)
    {
        if (units > m_left)
            throw Exhausted {};
        m_left -= units;
    }

private:
    size_t m_left { 3'000'000 };
};

template <typename Element> class Paying final : public Element {
public:
    Paying(const litehtml::document::ptr& document, Effort& effort)
        : Element(document)
        , m_effort(effort)
    {
    }

    int render(int x, int y, int maximumWidth, bool secondPass) override
    {
        m_effort.spend(10 * (1 + this->get_children_count()));
        return Element::render(x, y, maximumWidth, secondPass);
    }
    int select(const litehtml::css_selector& selector, bool applyPseudo) override
    {
        m_effort.spend(1);
        return Element::select(selector, applyPseudo);
    }
    int select(const litehtml::css_element_selector& selector, bool applyPseudo) override
    {
        return Element::select(selector, applyPseudo);
    }
    bool is_nth_child(const litehtml::element::ptr& child, int number, int offset, bool ofType) const override
    {
        m_effort.spend(this->get_children_count());
        return Element::is_nth_child(child, number, offset, ofType);
    }
    bool is_nth_last_child(
        const litehtml::element::ptr& child, int number, int offset, bool ofType) const override
    {
        m_effort.spend(this->get_children_count());
        return Element::is_nth_last_child(child, number, offset, ofType);
    }
    bool is_only_child(const litehtml::element::ptr& child, bool ofType) const override
    {
        m_effort.spend(this->get_children_count());
        return Element::is_only_child(child, ofType);
    }
    void draw_children(litehtml::uint_ptr to, int x, int y, const position* clip, litehtml::draw_flag flag,
        int zindex) override
    {
        m_effort.spend(1 + this->get_children_count());
        Element::draw_children(to, x, y, clip, flag, zindex);
    }
    litehtml::element::ptr get_child_by_point(
        int x, int y, int clientX, int clientY, litehtml::draw_flag flag, int zindex) override
    {
        m_effort.spend(1 + this->get_children_count());
        return Element::get_child_by_point(x, y, clientX, clientY, flag, zindex);
    }

private:
    Effort& m_effort;
};

class PageContainer final : public litehtml::document_container {
public:
    PageContainer(const BoundedHTML& page, CGSize size)
        : m_page(page)
        , m_size(size)
    {
    }
    virtual ~PageContainer() = default;

    // Fonts and text

    litehtml::uint_ptr create_font(const litehtml::tchar_t*, int size, int weight, litehtml::font_style style,
        unsigned decoration, litehtml::font_metrics* metrics) override
    {
        // One family stands for all, so that a page looks the same on every machine.
        Font font { FontDescription { pango_font_description_from_string("Roboto") },
            std::clamp(size, 0, 500), decoration, {} };
        pango_font_description_set_weight(
            font.description.get(), static_cast<PangoWeight>(std::clamp(weight, 100, 900)));
        if (style == litehtml::fontStyleItalic)
            pango_font_description_set_style(font.description.get(), PANGO_STYLE_ITALIC);
        pango_font_description_set_absolute_size(font.description.get(), double(font.size) * PANGO_SCALE);
        withLayout(nullptr, font.description.get(), [&](PangoLayout* layout) {
            setLayoutText(layout, "x");
            PangoRectangle ink;
            pango_layout_get_pixel_extents(layout, &ink, nullptr);
            PangoContext* context = pango_layout_get_context(layout);
            PangoFontMetrics* known = pango_context_get_metrics(context, font.description.get(), nullptr);
            metrics->ascent = PANGO_PIXELS(pango_font_metrics_get_ascent(known));
            metrics->descent = PANGO_PIXELS(pango_font_metrics_get_descent(known));
            metrics->height = metrics->ascent + metrics->descent;
            metrics->x_height = ink.height;
            pango_font_metrics_unref(known);
        });
        m_fonts.push_back(std::move(font));
        return m_fonts.size();
    }
    void delete_font(litehtml::uint_ptr) override { }
    int text_width(const litehtml::tchar_t* text, litehtml::uint_ptr handle) override
    {
        Font* font = fontOf(handle);
        if (!font)
            return 0;
        // Words come back: each is measured once.
        auto [known, isNew] = font->widths.emplace(text, 0);
        if (isNew) {
            withLayout(nullptr, font->description.get(), [&, &width = known->second](PangoLayout* layout) {
                setLayoutText(layout, text);
                pango_layout_get_pixel_size(layout, &width, nullptr);
            });
        }
        return known->second;
    }
    void draw_text(litehtml::uint_ptr to, const litehtml::tchar_t* text, litehtml::uint_ptr handle,
        litehtml::web_color color, const position& place) override
    {
        Font* font = fontOf(handle);
        if (!font)
            return;
        cairo_t* cairo = beginDrawing(to);
        setColor(cairo, color);
        withLayout(cairo, font->description.get(), [&](PangoLayout* layout) {
            setLayoutText(layout, text);
            using Attributes = std::unique_ptr<PangoAttrList, FreeWith<pango_attr_list_unref>>;
            const Attributes attributes { pango_attr_list_new() };
            if (font->decoration & litehtml::font_decoration_underline)
                pango_attr_list_insert(attributes.get(), pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
            if (font->decoration & litehtml::font_decoration_linethrough)
                pango_attr_list_insert(attributes.get(), pango_attr_strikethrough_new(TRUE));
            pango_layout_set_attributes(layout, attributes.get());
            cairo_move_to(cairo, place.x, place.y);
            pango_cairo_show_layout(cairo, layout);
        });
        cairo_restore(cairo);
    }
    int pt_to_px(int points) const override { return static_cast<int>(std::lround(points * 96.0 / 72)); }
    int get_default_font_size() const override { return 16; }
    const litehtml::tchar_t* get_default_font_name() const override { return "Roboto"; }
    void transform_text(litehtml::tstring& text, litehtml::text_transform transform) override
    {
        using Text = std::unique_ptr<char, FreeWith<g_free>>;
        const size_t head = transform == litehtml::text_transform_capitalize
            ? static_cast<size_t>(g_utf8_next_char(text.c_str()) - text.c_str())
            : text.size();
        if (text.empty() || head > text.size() || transform == litehtml::text_transform_none)
            return;
        const Text changed { transform == litehtml::text_transform_lowercase
                ? g_utf8_strdown(text.data(), gssize(head))
                : g_utf8_strup(text.data(), gssize(head)) };
        text.replace(0, head, changed.get());
    }

    // Pictures, backgrounds and borders

    void load_image(const litehtml::tchar_t*, const litehtml::tchar_t*, bool) override { }
    void get_image_size(
        const litehtml::tchar_t* source, const litehtml::tchar_t*, litehtml::size& size) override
    {
        const Picture& picture = pictureAt(source);
        size.width = picture.width;
        size.height = picture.height;
    }
    void draw_background(litehtml::uint_ptr to, const litehtml::background_paint& paint) override
    {
        cairo_t* cairo = beginDrawing(to);
        addRoundedRect(cairo, rectOf(paint.border_box), paint.border_radius);
        cairo_clip(cairo);
        addRoundedRect(cairo, rectOf(paint.clip_box), {});
        cairo_clip(cairo);
        if (paint.color.alpha > 0) {
            setColor(cairo, paint.color);
            cairo_paint(cairo);
        }
        if (!paint.image.empty() && paint.image_size.width > 0 && paint.image_size.height > 0)
            drawPicture(cairo, paint);
        cairo_restore(cairo);
    }
    void draw_borders(
        litehtml::uint_ptr to, const litehtml::borders& borders, const position& place, bool) override
    {
        cairo_t* cairo = beginDrawing(to);
        const CGRect outer = rectOf(place);
        const double left = outer.minX(), top = outer.minY(), right = outer.maxX(), bottom = outer.maxY();
        const double innerLeft = left + borders.left.width, innerTop = top + borders.top.width;
        const double innerRight = right - borders.right.width, innerBottom = bottom - borders.bottom.width;
        // The ring between two rounded rectangles, then each side's part of it.
        addRoundedRect(cairo, outer, borders.radius);
        const CGRect inner = CGRectMake(innerLeft, innerTop, innerRight - innerLeft, innerBottom - innerTop);
        if (!inner.isEmpty())
            addRoundedRect(cairo, inner, borders.radius, std::max(borders.left.width, borders.top.width));
        cairo_set_fill_rule(cairo, CAIRO_FILL_RULE_EVEN_ODD);
        cairo_clip(cairo);
        auto sameAsTop = [&](const litehtml::border& border) {
            const litehtml::web_color &a = border.color, &b = borders.top.color;
            return border.width > 0 && border.style == borders.top.style && a.red == b.red
                && a.green == b.green && a.blue == b.blue && a.alpha == b.alpha;
        };
        if (borders.top.style == litehtml::border_style_solid && sameAsTop(borders.top)
            && sameAsTop(borders.right) && sameAsTop(borders.bottom) && sameAsTop(borders.left)) {
            setColor(cairo, borders.top.color);
            cairo_paint(cairo);
            cairo_restore(cairo);
            return;
        }
        auto side = [&](const litehtml::border& border, CGPoint a, CGPoint b, CGPoint c, CGPoint d) {
            if (border.width <= 0 || border.style == litehtml::border_style_none
                || border.style == litehtml::border_style_hidden)
                return;
            setColor(cairo, border.color);
            if (border.style == litehtml::border_style_dotted
                || border.style == litehtml::border_style_dashed) {
                const double dash
                    = border.width * (border.style == litehtml::border_style_dotted ? 1.0 : 3.0);
                cairo_set_dash(cairo, &dash, 1, 0);
                cairo_set_line_width(cairo, border.width);
                cairo_move_to(cairo, (a.x + d.x) / 2, (a.y + d.y) / 2);
                cairo_line_to(cairo, (b.x + c.x) / 2, (b.y + c.y) / 2);
                cairo_stroke(cairo);
                return;
            }
            cairo_move_to(cairo, a.x, a.y);
            for (CGPoint point : { b, c, d })
                cairo_line_to(cairo, point.x, point.y);
            cairo_fill(cairo);
        };
        side(borders.top, { left, top }, { right, top }, { innerRight, innerTop }, { innerLeft, innerTop });
        side(borders.right, { right, top }, { right, bottom }, { innerRight, innerBottom },
            { innerRight, innerTop });
        side(borders.bottom, { right, bottom }, { left, bottom }, { innerLeft, innerBottom },
            { innerRight, innerBottom });
        side(borders.left, { left, bottom }, { left, top }, { innerLeft, innerTop },
            { innerLeft, innerBottom });
        cairo_restore(cairo);
    }
    void draw_list_marker(litehtml::uint_ptr to, const litehtml::list_marker& marker) override
    {
        if (marker.marker_type >= litehtml::list_style_type_armenian) {
            draw_text(
                to, (std::to_string(marker.index) + ".").c_str(), marker.font, marker.color, marker.pos);
            return;
        }
        cairo_t* cairo = beginDrawing(to);
        setColor(cairo, marker.color);
        const double size = std::min(marker.pos.width, marker.pos.height);
        if (marker.marker_type == litehtml::list_style_type_square)
            cairo_rectangle(cairo, marker.pos.x, marker.pos.y, size, size);
        else
            cairo_arc(cairo, marker.pos.x + size / 2, marker.pos.y + size / 2, std::max(0.5, size / 2 - 0.5),
                0, 2 * M_PI);
        cairo_set_line_width(cairo, 1);
        if (marker.marker_type == litehtml::list_style_type_circle)
            cairo_stroke(cairo);
        else
            cairo_fill(cairo);
        cairo_restore(cairo);
    }
    void set_clip(const position& place, const litehtml::border_radiuses& radii, bool horizontal,
        bool vertical) override
    {
        position clip = place;
        if (!horizontal) {
            clip.x = 0;
            clip.width = static_cast<int>(m_size.width);
        }
        if (!vertical) {
            clip.y = 0;
            clip.height = static_cast<int>(m_size.height);
        }
        m_clips.emplace_back(clip, radii);
    }
    void del_clip() override
    {
        if (!m_clips.empty())
            m_clips.pop_back();
    }

    // The page's surroundings

    void get_client_rect(position& client) const override
    {
        client = { 0, 0, static_cast<int>(m_size.width), static_cast<int>(m_size.height) };
    }
    void get_media_features(litehtml::media_features& media) const override
    {
        media.type = litehtml::media_type_screen;
        media.width = media.device_width = static_cast<int>(m_size.width);
        media.height = media.device_height = static_cast<int>(m_size.height);
        media.color = 8;
        media.resolution = 96;
    }
    void get_language(litehtml::tstring& language, litehtml::tstring& culture) const override
    {
        language = "en";
        culture.clear();
    }
    litehtml::element::ptr create_element(const litehtml::tchar_t* name, const litehtml::string_map&,
        const litehtml::document::ptr& document) override
    {
        if (m_elements++ >= mostElements)
            return std::make_shared<litehtml::el_comment>(document);
        const std::string_view tag { name };
        auto make = [&]<typename Element>(Element*) -> litehtml::element::ptr {
            return std::make_shared<Paying<Element>>(document, m_effort);
        };
        if (tag == "table")
            return make(static_cast<litehtml::el_table*>(nullptr));
        if (tag == "td" || tag == "th")
            return make(static_cast<litehtml::el_td*>(nullptr));
        if (tag == "tr")
            return make(static_cast<litehtml::el_tr*>(nullptr));
        if (tag == "div")
            return make(static_cast<litehtml::el_div*>(nullptr));
        if (tag == "p")
            return make(static_cast<litehtml::el_para*>(nullptr));
        if (tag == "a")
            return make(static_cast<litehtml::el_anchor*>(nullptr));
        if (tag == "font")
            return make(static_cast<litehtml::el_font*>(nullptr));
        if (tag == "body")
            return make(static_cast<litehtml::el_body*>(nullptr));
        // These the library makes itself; all others are plain.
        if (tag == "img" || tag == "br" || tag == "style" || tag == "link" || tag == "base" || tag == "title"
            || tag == "script")
            return nullptr;
        return make(static_cast<litehtml::html_tag*>(nullptr));
    }
    void set_caption(const litehtml::tchar_t*) override { }
    void set_base_url(const litehtml::tchar_t*) override { }
    void link(const litehtml::document::ptr&, const litehtml::element::ptr&) override { }
    void on_anchor_click(const litehtml::tchar_t*, const litehtml::element::ptr&) override { }
    void set_cursor(const litehtml::tchar_t*) override { }
    void import_css(litehtml::tstring&, const litehtml::tstring&, litehtml::tstring&) override { }

private:
    static constexpr size_t mostElements = 4'000;
    static constexpr double mostPicturePixels = 16e6;

    struct Font {
        FontDescription description;
        int size;
        unsigned decoration;
        std::unordered_map<std::string, int> widths;
    };
    struct Picture {
        int width { 0 };
        int height { 0 };
        CairoSurface surface;
    };

    /// Null for text too small to be seen.
    Font* fontOf(litehtml::uint_ptr handle)
    {
        return handle > 0 && handle <= m_fonts.size() && m_fonts[handle - 1].size > 0 ? &m_fonts[handle - 1]
                                                                                      : nullptr;
    }

    /// A saved state with the clips that hold now; restore it after drawing.
    cairo_t* beginDrawing(litehtml::uint_ptr to)
    {
        constexpr size_t costOfDrawing = 500;
        m_effort.spend(costOfDrawing);
        auto* cairo = reinterpret_cast<cairo_t*>(to);
        cairo_save(cairo);
        for (const auto& [place, radii] : m_clips) {
            addRoundedRect(cairo, rectOf(place), radii);
            cairo_clip(cairo);
        }
        return cairo;
    }
    static void setColor(cairo_t* cairo, const litehtml::web_color& color)
    {
        cairo_set_source_rgba(
            cairo, color.red / 255.0, color.green / 255.0, color.blue / 255.0, color.alpha / 255.0);
    }
    static CGRect rectOf(const position& place)
    {
        return CGRectMake(place.x, place.y, place.width, place.height);
    }
    static void addRoundedRect(
        cairo_t* cairo, const CGRect& rect, const litehtml::border_radiuses& radii, double inset = 0)
    {
        const double most = std::max(0.0, std::min(rect.size.width, rect.size.height) / 2);
        auto corner = [&](int radius, double x, double y, double towardsX, double towardsY, double angle) {
            const double r = std::clamp(radius - inset, 0.0, most);
            cairo_arc(cairo, x + r * towardsX, y + r * towardsY, r, angle, angle + M_PI / 2);
        };
        cairo_new_sub_path(cairo);
        corner(radii.top_left_x, rect.minX(), rect.minY(), 1, 1, M_PI);
        corner(radii.top_right_x, rect.maxX(), rect.minY(), -1, 1, -M_PI / 2);
        corner(radii.bottom_right_x, rect.maxX(), rect.maxY(), -1, -1, 0);
        corner(radii.bottom_left_x, rect.minX(), rect.maxY(), 1, -1, M_PI / 2);
        cairo_close_path(cairo);
    }

    /// The picture of a reference, decoded when first asked for; an empty one when there is none.
    const Picture& pictureAt(std::string_view reference)
    {
        constexpr std::string_view prefix = "picture:";
        static const Picture none {};
        if (!reference.starts_with(prefix))
            return none;
        auto [known, isNew] = m_pictures.try_emplace(std::string { reference });
        const size_t index = std::strtoul(known->first.c_str() + prefix.size(), nullptr, 10);
        if (!isNew || index >= m_page.pictures.size() || m_picturePixels > mostPicturePixels)
            return known->second;
        if (const auto image = UIImage::imageWithData({ bytesOfDataURL(m_page.pictures[index]) })) {
            m_picturePixels += double(image->pixelWidth()) * image->pixelHeight();
            known->second = { image->pixelWidth(), image->pixelHeight(), surfaceFromImage(*image) };
        }
        return known->second;
    }
    void drawPicture(cairo_t* cairo, const litehtml::background_paint& paint)
    {
        const Picture& picture = pictureAt(paint.image);
        const CGRect place
            = CGRectMake(paint.position_x, paint.position_y, paint.image_size.width, paint.image_size.height);
        if (!picture.surface) {
            // A picture that is not in the page: its place shows.
            cairo_set_source_rgb(cairo, 0.92, 0.92, 0.92);
            cairo_rectangle(cairo, place.minX(), place.minY(), place.size.width, place.size.height);
            cairo_fill(cairo);
            return;
        }
        if (paint.repeat == litehtml::background_repeat_no_repeat) {
            drawSurface(cairo, picture.surface.get(), place);
            return;
        }
        cairo_translate(cairo, place.minX(), place.minY());
        const bool across = paint.repeat != litehtml::background_repeat_repeat_y;
        const bool down = paint.repeat != litehtml::background_repeat_repeat_x;
        constexpr double far = 1e5;
        cairo_rectangle(cairo, across ? -far : 0, down ? -far : 0, across ? 2 * far : place.size.width,
            down ? 2 * far : place.size.height);
        cairo_scale(cairo, place.size.width / picture.width, place.size.height / picture.height);
        cairo_set_source_surface(cairo, picture.surface.get(), 0, 0);
        cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_REPEAT);
        cairo_fill(cairo);
    }

    const BoundedHTML& m_page;
    CGSize m_size;
    Effort m_effort;
    size_t m_elements { 0 };
    std::vector<Font> m_fonts;
    std::unordered_map<std::string, Picture> m_pictures;
    double m_picturePixels { 0 };
    std::vector<std::pair<position, litehtml::border_radiuses>> m_clips;
};

/// Runs a function on a thread whose stack holds the deepest page there can be, and waits for it. False when
/// there is none.
bool runOnDeepStack(const std::function<void()>& function)
{
    constexpr size_t stackSize = size_t { 128 } << 20;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_t thread {};
    std::optional<SignalsBlocked> blocked { std::in_place };
    const bool started = pthread_attr_setstacksize(&attributes, stackSize) == 0
        && pthread_create(
               &thread, &attributes,
               [](void* body) -> void* {
                   (*static_cast<const std::function<void()>*>(body))();
                   return nullptr;
               },
               const_cast<std::function<void()>*>(&function))
            == 0;
    blocked.reset();
    pthread_attr_destroy(&attributes);
    return started && pthread_join(thread, nullptr) == 0;
}

/// Lays a page out and hands it to a function. A page that takes too much effort is laid out again with less
/// of it.
void withPage(const std::string& html, CGSize size, const std::function<void(litehtml::document&)>& use)
{
    const HTMLBounds whole;
    const HTMLBounds plain { 1'000, 12, 20'000, 0 };
    runOnDeepStack([&] {
        for (const HTMLBounds& bounds : { whole, plain }) {
            try {
                const BoundedHTML page = boundHTML(html, bounds);
                PageContainer container(page, size);
                litehtml::context context;
                context.load_master_stylesheet(masterStyles);
                const auto document
                    = litehtml::document::createFromUTF8(page.markup.c_str(), &container, &context);
                if (!document || !document->root())
                    return;
                document->render(static_cast<int>(size.width));
                use(*document);
                return;
            } catch (const Effort::Exhausted&) {
                continue;
            } catch (const std::exception&) {
                continue;
            }
        }
    });
}

} // namespace

UIImage paintHTML(const std::string& html, CGSize size, double scale)
{
    const CairoSurface surface = makeSurface(size, scale);
    if (!surface)
        return {};
    // Once for a page that cannot be shown, and again over what an attempt that was given up has drawn.
    auto onWhite = [&] {
        Cairo cairo { cairo_create(surface.get()) };
        cairo_scale(cairo.get(), scale, scale);
        cairo_set_source_rgb(cairo.get(), 1, 1, 1);
        cairo_paint(cairo.get());
        return cairo;
    };
    onWhite();
    withPage(html, size, [&](litehtml::document& page) {
        const Cairo cairo = onWhite();
        const position all { 0, 0, static_cast<int>(std::ceil(size.width)),
            static_cast<int>(std::ceil(size.height)) };
        page.draw(reinterpret_cast<litehtml::uint_ptr>(cairo.get()), 0, 0, &all);
    });
    return imageFromSurface(surface.get(), scale);
}

std::optional<HTMLLink> linkAtPoint(const std::string& html, CGSize size, CGPoint point)
{
    std::optional<HTMLLink> link;
    if (!CGRect { {}, size }.contains(point) || !(size.width * size.height <= maximumPixels))
        return link;
    withPage(html, size, [&](litehtml::document& page) {
        const int x = static_cast<int>(point.x);
        const int y = static_cast<int>(point.y);
        for (auto element = page.root()->get_element_by_point(x, y, x, y); element;
             element = element->parent()) {
            const litehtml::tchar_t* href = element->get_attr("href");
            if (href && std::string_view { element->get_tagName() } == "a") {
                const litehtml::tchar_t* target = element->get_attr("target");
                link = { href, target ? target : "" };
                return;
            }
        }
    });
    return link;
}

} // namespace lumora
