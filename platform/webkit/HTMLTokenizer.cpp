#include "platform/webkit/HTMLTokenizer.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace lumora {

namespace {

constexpr std::string_view blanks = " \t\n\f\r";
constexpr auto npos = std::string_view::npos;

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isBlank(char c) { return blanks.find(c) != npos; }

std::string lower(std::string_view text)
{
    std::string result { text };
    std::transform(result.begin(), result.end(), result.begin(), toLower);
    return result;
}

/// Elements whose content is text up to their own end tag.
bool isRawText(std::string_view element)
{
    static constexpr std::array<std::string_view, 9> names { "script", "style", "textarea", "title", "xmp",
        "iframe", "noembed", "noframes", "plaintext" };
    return std::find(names.begin(), names.end(), element) != names.end();
}

void appendUTF8(std::string& to, uint32_t code)
{
    if (code == 0 || code > 0x10ffff || (code >= 0xd800 && code < 0xe000))
        code = 0xfffd;
    auto tail = [&](int shift) { to += static_cast<char>(0x80 | (code >> shift & 0x3f)); };
    if (code < 0x80) {
        to += static_cast<char>(code);
    } else if (code < 0x800) {
        to += static_cast<char>(0xc0 | code >> 6);
        tail(0);
    } else if (code < 0x10000) {
        to += static_cast<char>(0xe0 | code >> 12);
        tail(6);
        tail(0);
    } else {
        to += static_cast<char>(0xf0 | code >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

/// The number of a reference such as "#38" or "#x26"; false when it is none.
bool numericReference(std::string_view reference, uint32_t& code)
{
    if (reference.size() < 2 || reference[0] != '#')
        return false;
    const bool hexadecimal = toLower(reference[1]) == 'x';
    reference.remove_prefix(hexadecimal ? 2 : 1);
    const std::string_view digits = hexadecimal ? "0123456789abcdef" : "0123456789";
    code = 0;
    for (char c : reference) {
        const size_t digit = digits.find(toLower(c));
        if (digit == npos)
            return false;
        code = std::min<uint32_t>(
            code * static_cast<uint32_t>(digits.size()) + static_cast<uint32_t>(digit), 0x110000);
    }
    return !reference.empty();
}

} // namespace

const std::string_view* HTMLToken::attribute(std::string_view attributeName) const
{
    for (const Attribute& attribute : attributes) {
        if (attribute.first == attributeName)
            return &attribute.second;
    }
    return nullptr;
}

bool HTMLTokenizer::next(HTMLToken& token)
{
    size_t textBegin = m_at;
    auto text = [&](size_t end) {
        token.kind = HTMLToken::Kind::Text;
        token.name.clear();
        token.attributes.clear();
        token.text = m_html.substr(textBegin, end - textBegin);
        token.begin = textBegin;
        token.end = end;
        return true;
    };
    if (!m_rawElement.empty()) {
        m_at = endOfRawText();
        m_rawElement.clear();
        if (m_at > textBegin)
            return text(m_at);
    }
    while (m_at < m_html.size()) {
        const size_t open = m_html.find('<', m_at);
        const char first = open != npos && open + 1 < m_html.size() ? m_html[open + 1] : '\0';
        const bool endTag = first == '/' && open + 2 < m_html.size();
        const bool tag = isLetter(first) || (endTag && isLetter(m_html[open + 2]));
        const bool comment = !tag && (first == '!' || first == '?' || endTag);
        if (open == npos || (!tag && !comment)) {
            // Text goes on: the character only looked like the beginning of a tag.
            m_at = open == npos ? m_html.size() : open + 1;
            continue;
        }
        if (open > textBegin) {
            m_at = open;
            return text(open);
        }
        if (tag) {
            m_at = open;
            return readTag(token);
        }
        m_at = m_html.compare(open, 4, "<!--") == 0 ? skipPast("-->", open + 4) : skipPast(">", open);
        textBegin = m_at;
    }
    return m_at > textBegin && text(m_at);
}

bool HTMLTokenizer::readTag(HTMLToken& token)
{
    token.begin = m_at;
    token.kind = m_html[m_at + 1] == '/' ? HTMLToken::Kind::EndTag : HTMLToken::Kind::StartTag;
    token.attributes.clear();
    token.selfClosing = false;
    token.text = {};
    m_at += token.kind == HTMLToken::Kind::EndTag ? 2 : 1;
    const size_t end = std::min(m_html.find_first_of(" \t\n\f\r/>", m_at), m_html.size());
    token.name = lower(m_html.substr(m_at, end - m_at));
    m_at = end;
    readAttributes(token);
    token.end = m_at;
    if (token.kind == HTMLToken::Kind::StartTag && isRawText(token.name))
        m_rawElement = token.name;
    return true;
}

void HTMLTokenizer::readAttributes(HTMLToken& token)
{
    while (true) {
        skipSpace();
        if (m_at >= m_html.size())
            return;
        if (m_html[m_at] == '>') {
            m_at++;
            return;
        }
        if (m_html[m_at] == '/') {
            m_at++;
            token.selfClosing = m_at < m_html.size() && m_html[m_at] == '>';
            continue;
        }
        // A name may begin with an equals sign, so that there is always a step forward.
        size_t end = std::min(m_html.find_first_of("= \t\n\f\r/>", m_at + 1), m_html.size());
        std::string name = lower(m_html.substr(m_at, end - m_at));
        m_at = end;
        skipSpace();
        std::string_view value;
        if (m_at < m_html.size() && m_html[m_at] == '=') {
            m_at++;
            skipSpace();
            const char quote = m_at < m_html.size() ? m_html[m_at] : '\0';
            if (quote == '"' || quote == '\'') {
                end = std::min(m_html.find(quote, m_at + 1), m_html.size());
                value = m_html.substr(m_at + 1, end - m_at - 1);
                m_at = std::min(end + 1, m_html.size());
            } else {
                end = std::min(m_html.find_first_of(" \t\n\f\r>", m_at), m_html.size());
                value = m_html.substr(m_at, end - m_at);
                m_at = end;
            }
        }
        token.attributes.emplace_back(std::move(name), value);
    }
}

void HTMLTokenizer::skipSpace() { m_at = std::min(m_html.find_first_not_of(blanks, m_at), m_html.size()); }

size_t HTMLTokenizer::skipPast(std::string_view ending, size_t from) const
{
    const size_t found = m_html.find(ending, from);
    return found == npos ? m_html.size() : found + ending.size();
}

size_t HTMLTokenizer::endOfRawText() const
{
    for (size_t at = m_html.find("</", m_at); at != npos; at = m_html.find("</", at + 2)) {
        const std::string_view rest = m_html.substr(at + 2);
        const bool sameName = rest.size() > m_rawElement.size()
            && std::equal(m_rawElement.begin(), m_rawElement.end(), rest.begin(),
                [](char a, char b) { return a == toLower(b); });
        if (!sameName)
            continue;
        const char after = rest[m_rawElement.size()];
        if (isBlank(after) || after == '/' || after == '>')
            return at;
    }
    return m_html.size();
}

std::string decodedHTML(std::string_view text)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> names { { { "amp", "&" },
        { "lt", "<" }, { "gt", ">" }, { "quot", "\"" }, { "apos", "'" }, { "nbsp", "\xc2\xa0" } } };
    constexpr size_t longestReference = 32;
    std::string result;
    while (!text.empty()) {
        const size_t ampersand = std::min(text.find('&'), text.size());
        result += text.substr(0, ampersand);
        text.remove_prefix(ampersand);
        const size_t end = text.substr(0, longestReference).find(';');
        if (end == npos) {
            result += text.substr(0, 1);
            text.remove_prefix(std::min<size_t>(1, text.size()));
            continue;
        }
        const std::string_view reference = text.substr(1, end - 1);
        uint32_t code = 0;
        const auto* named = std::find_if(
            names.begin(), names.end(), [&](const auto& name) { return name.first == reference; });
        if (named != names.end())
            result += named->second;
        else if (numericReference(reference, code))
            appendUTF8(result, code);
        else
            result += text.substr(0, end + 1);
        text.remove_prefix(end + 1);
    }
    return result;
}

} // namespace lumora
