#include "platform/linux/BoundedHTML.h"

#include "platform/webkit/HTMLTokenizer.h"

#include <algorithm>
#include <array>

namespace lumora {

namespace {

constexpr auto npos = std::string_view::npos;
constexpr size_t longestAttribute = 2'000;
constexpr size_t mostAttributes = 24;

template <size_t count> bool isOneOf(std::string_view name, const std::array<std::string_view, count>& names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isVoid(std::string_view element)
{
    static constexpr std::array<std::string_view, 14> names { "area", "base", "br", "col", "embed", "hr",
        "img", "input", "link", "meta", "param", "source", "track", "wbr" };
    return isOneOf(element, names);
}

/// What shows nothing here, with all that is in it.
bool isLeftOut(std::string_view element)
{
    static constexpr std::array<std::string_view, 14> names { "script", "svg", "math", "iframe", "noembed",
        "noframes", "title", "template", "object", "video", "audio", "canvas", "frameset", "select" };
    return isOneOf(element, names);
}

int base64Digit(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

class Bounding {
public:
    Bounding(std::string_view html, const HTMLBounds& bounds)
        : m_tokens(html)
        , m_left(bounds)
    {
    }

    BoundedHTML run()
    {
        HTMLToken token;
        while (m_left.textBytes > 0 && m_tokens.next(token)) {
            if (!m_leftOut.empty())
                skip(token);
            else if (token.kind == HTMLToken::Kind::StartTag)
                open(token);
            else if (token.kind == HTMLToken::Kind::EndTag)
                close(token.name);
            else if (!m_open.empty() && m_open.back().name == "style")
                addStyle(token.text);
            else
                addText(token.text);
        }
        closeDownTo(0);
        return std::move(m_page);
    }

private:
    struct Open {
        std::string name;
        int items;
    };

    void skip(const HTMLToken& token)
    {
        if (token.kind == HTMLToken::Kind::Text || token.name != m_leftOut)
            return;
        if (token.kind == HTMLToken::Kind::EndTag)
            m_leftOutDepth--;
        else if (!token.selfClosing)
            m_leftOutDepth++;
        if (m_leftOutDepth == 0)
            m_leftOut.clear();
    }

    void open(const HTMLToken& token)
    {
        // Where the tags have run out, the text goes on.
        const bool spent = m_left.tags == 0;
        if (isLeftOut(token.name) || (spent && token.name == "style")) {
            if (!token.selfClosing) {
                m_leftOut = token.name;
                m_leftOutDepth = 1;
            }
            return;
        }
        if (spent)
            return;
        const bool leaf = isVoid(token.name);
        m_left.tags--;
        closeImplied(token.name);
        // What is too deep loses its tags and keeps its text.
        if (!leaf && m_open.size() >= m_left.depth)
            return;
        m_page.markup += "<" + plainName(token.name);
        size_t count = 0;
        for (const auto& [name, value] : token.attributes) {
            if (count++ == mostAttributes)
                break;
            addAttribute(name, value);
        }
        if (token.name == "li")
            m_page.markup += " list_index=\"" + std::to_string(nextItemNumber()) + "\"";
        m_page.markup += ">";
        if (!leaf)
            m_open.push_back({ token.name, 0 });
    }

    /// Many end tags may be left out: the next row ends a row, a block ends a paragraph.
    void closeImplied(std::string_view name)
    {
        struct Rule {
            std::string_view opened;
            std::string_view ends;
            std::string_view within;
        };
        static constexpr std::array<Rule, 7> rules { {
            { " li ", " li ", " ul ol " },
            { " dt dd ", " dt dd ", " dl " },
            { " td th ", " td th ", " table " },
            { " tr ", " tr ", " table " },
            { " thead tbody tfoot ", " thead tbody tfoot ", " table " },
            { " option ", " option ", " div " },
            { " address article aside blockquote center dl div fieldset figure footer form h1 h2 h3 h4 h5 h6 "
              "header hr li main "
              "nav ol p pre section table ul ",
                " p ", " table td th button " },
        } };
        auto lists = [](std::string_view names, std::string_view wanted) {
            return names.find(" " + std::string { wanted } + " ") != npos;
        };
        for (const auto& [opened, ends, within] : rules) {
            if (!lists(opened, name))
                continue;
            for (size_t depth = m_open.size(); depth > 0 && !lists(within, m_open[depth - 1].name); depth--) {
                if (lists(ends, m_open[depth - 1].name)) {
                    closeDownTo(depth - 1);
                    break;
                }
            }
        }
    }

    /// Of an item in the innermost list.
    int nextItemNumber()
    {
        const auto list = std::find_if(m_open.rbegin(), m_open.rend(),
            [](const Open& open) { return open.name == "ol" || open.name == "ul"; });
        return list == m_open.rend() ? 1 : ++list->items;
    }

    void close(const std::string& name)
    {
        // One that was never opened closes nothing.
        const auto found = std::find_if(
            m_open.rbegin(), m_open.rend(), [&](const Open& open) { return open.name == name; });
        if (found != m_open.rend())
            closeDownTo(static_cast<size_t>(m_open.rend() - found) - 1);
    }

    void closeDownTo(size_t depth)
    {
        for (; m_open.size() > depth; m_open.pop_back())
            m_page.markup += "</" + plainName(m_open.back().name) + ">";
    }

    void addAttribute(const std::string& name, std::string_view value)
    {
        if (name.starts_with("on") || name.starts_with("data-") || (name == "style" && m_left.styleBytes == 0)
            || name.find_first_of("\"'<") != npos)
            return;
        std::string decoded;
        if ((name == "src" || name == "background") && value.starts_with("data:"))
            decoded = keepPicture(value);
        else if (value.find("data:") != npos)
            decoded = withoutPictures(decodedHTML(value));
        else
            decoded = decodedHTML(value.substr(0, longestAttribute));
        if (decoded.size() > longestAttribute)
            return;
        // A cell that claims thousands of columns would be given room for them.
        if ((name == "colspan" || name == "rowspan") && decoded.find_first_not_of("0123456789") == npos
            && decoded.size() > 1)
            decoded = "9";
        m_page.markup += " " + plainName(name) + "=\"" + escaped(decoded) + "\"";
    }

    void addText(std::string_view text)
    {
        text = text.substr(0, m_left.textBytes);
        m_left.textBytes -= text.size();
        for (char c : text) {
            if (c == '<')
                m_page.markup += "&lt;";
            else if (c != '\0')
                m_page.markup += c;
        }
    }

    void addStyle(std::string_view css)
    {
        std::string plain;
        while (!css.empty()) {
            const size_t comment = std::min(css.find("/*"), css.size());
            plain += css.substr(0, comment);
            const size_t end = css.find("*/", std::min(comment + 2, css.size()));
            css.remove_prefix(end == npos ? css.size() : end + 2);
        }
        plain = withoutPictures(plain);
        plain.erase(std::remove(plain.begin(), plain.end(), '\0'), plain.end());
        // A rule is kept whole or left out.
        if (plain.size() > m_left.styleBytes)
            plain.resize(
                plain.rfind('}', m_left.styleBytes) == npos ? 0 : plain.rfind('}', m_left.styleBytes));
        m_left.styleBytes -= std::min(m_left.styleBytes, plain.size());
        m_page.markup += plain;
    }

    /// Puts references in the place of the data URLs of style text.
    std::string withoutPictures(std::string_view css)
    {
        std::string result;
        for (size_t start = css.find("url("); start != npos; start = css.find("url(")) {
            result += css.substr(0, start);
            css.remove_prefix(start);
            size_t begin = std::min(css.find_first_not_of(" \t\n\r", 4), css.size());
            const char quote = begin < css.size() ? css[begin] : '\0';
            const bool quoted = quote == '"' || quote == '\'';
            begin += quoted ? 1 : 0;
            const size_t end = std::min(css.find(quoted ? quote : ')', begin), css.size());
            if (css.substr(begin, 5) == "data:") {
                const size_t close = std::min(css.find(')', end), css.size());
                result += "url(" + keepPicture(css.substr(begin, end - begin)) + ")";
                css.remove_prefix(std::min(close + 1, css.size()));
            } else {
                result += css.substr(0, 4);
                css.remove_prefix(4);
            }
        }
        return result.append(css);
    }

    std::string keepPicture(std::string_view url)
    {
        m_page.pictures.emplace_back(url);
        return "picture:" + std::to_string(m_page.pictures.size() - 1);
    }

    static std::string escaped(std::string_view text)
    {
        std::string result;
        for (char c : text) {
            if (c == '"')
                result += "&quot;";
            else if (c == '&')
                result += "&amp;";
            else if (c != '\0')
                result += c;
        }
        return result;
    }

    /// A name as long as names are.
    static std::string plainName(std::string_view name)
    {
        std::string result { name.substr(0, 40) };
        std::replace(result.begin(), result.end(), '\0', '-');
        return result;
    }

    HTMLTokenizer m_tokens;
    HTMLBounds m_left;
    BoundedHTML m_page;
    std::vector<Open> m_open;
    std::string m_leftOut;
    int m_leftOutDepth { 0 };
};

} // namespace

BoundedHTML boundHTML(std::string_view html, const HTMLBounds& bounds)
{
    return Bounding(html, bounds).run();
}

std::vector<uint8_t> bytesOfDataURL(std::string_view url)
{
    const size_t comma = url.find(',');
    if (!url.starts_with("data:") || comma == npos || !url.substr(0, comma).ends_with(";base64"))
        return {};
    std::vector<uint8_t> bytes;
    uint32_t bits = 0;
    int count = 0;
    for (char c : url.substr(comma + 1)) {
        const int digit = base64Digit(c);
        // Line breaks and padding say nothing.
        if (digit < 0)
            continue;
        bits = bits << 6 | static_cast<uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<uint8_t>(bits >> count));
        }
    }
    return bytes;
}

} // namespace lumora
