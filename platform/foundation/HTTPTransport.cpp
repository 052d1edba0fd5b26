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

} // namespace lumora
