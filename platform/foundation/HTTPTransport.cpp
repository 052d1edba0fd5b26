#include "platform/foundation/HTTPTransport.h"

#include <algorithm>

namespace lumora {

// Names of header fields are ASCII.
static bool isSameName(std::string_view a, std::string_view b)
{
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

const std::string* HTTPHeaders::find(std::string_view name) const
{
    auto field = std::find_if(
        m_fields.begin(), m_fields.end(), [&](const Field& f) { return isSameName(f.first, name); });
    return field == m_fields.end() ? nullptr : &field->second;
}

void HTTPHeaders::set(std::string_view name, std::string value)
{
    std::erase_if(m_fields, [&](const Field& field) { return isSameName(field.first, name); });
    m_fields.emplace_back(name, std::move(value));
}

void HTTPHeaders::add(std::string_view name, std::string value)
{
    auto field = std::find_if(
        m_fields.begin(), m_fields.end(), [&](const Field& f) { return isSameName(f.first, name); });
    if (field == m_fields.end())
        m_fields.emplace_back(name, std::move(value));
    else
        field->second += "," + value;
}

bool HTTPAnswerCollector::addHeaderLine(std::string_view line)
{
    m_headerSize += line.size();
    m_isFull |= m_headerSize > longestHeader || ++m_headerLines > mostHeaderLines;
    if (m_isFull)
        return false;
    // Each redirect begins anew.
    if (line.starts_with("HTTP/"))
        m_answer.headers = {};
    const size_t colon = line.find(':');
    if (colon != std::string_view::npos && colon > 0) {
        std::string_view value = line.substr(colon + 1);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        value = value.substr(0, value.find_last_not_of(" \t\r\n") + 1);
        m_answer.headers.add(line.substr(0, colon), std::string { value });
    }
    return true;
}

bool HTTPAnswerCollector::addBody(std::string_view piece)
{
    m_bodySize += piece.size();
    if (m_bodySize <= m_longestBody)
        m_answer.body += piece;
    else
        m_isFull |= m_bodySize > longestUselessBody;
    return !m_isFull;
}

HTTPExchangeAnswer HTTPAnswerCollector::take()
{
    m_answer.bodyIsLeftOut = m_isFull || m_bodySize > m_longestBody;
    if (m_answer.bodyIsLeftOut)
        m_answer.body = {};
    return std::move(m_answer);
}

} // namespace lumora
