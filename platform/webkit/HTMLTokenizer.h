#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumora {

/// One piece of a page's text, as it stands there.
struct HTMLToken {
    enum class Kind { Text, StartTag, EndTag };
    using Attribute = std::pair<std::string, std::string_view>;

    Kind kind { Kind::Text };
    /// Of a tag, in lower case.
    std::string name;
    /// Of a start tag, in order; names in lower case, values without their quotes, references not decoded.
    std::vector<Attribute> attributes;
    /// A tag that ends in "/>".
    bool selfClosing { false };
    /// Of text: the text itself, references not decoded; inside scripts, styles and the like also what looks
    /// like tags.
    std::string_view text;
    /// The byte of the page's text where it begins, and the one after its end.
    size_t begin { 0 };
    size_t end { 0 };

    /// The value of an attribute; null when it is not there.
    const std::string_view* attribute(std::string_view attributeName) const;
};

/// Splits a page's text into tags and text as browsers do; comments and declarations are left out. Any text
/// has tokens, and they take time in proportion to it. The text must outlive the tokens. One thread at a
/// time.
class HTMLTokenizer {
public:
    explicit HTMLTokenizer(std::string_view html)
        : m_html(html)
    {
    }
    /// The next token; false at the end.
    bool next(HTMLToken& token);

private:
    bool readTag(HTMLToken& token);
    void readAttributes(HTMLToken& token);
    void skipSpace();
    size_t skipPast(std::string_view ending, size_t from) const;
    size_t endOfRawText() const;

    std::string_view m_html;
    size_t m_at { 0 };
    // The element whose end tag alone ends the text now, such as a script.
    std::string m_rawElement;
};

/// Text with the references that markup is full of replaced by what they stand for: numbers, and the five
/// that markup needs; others stay as they are.
std::string decodedHTML(std::string_view text);

} // namespace lumora
