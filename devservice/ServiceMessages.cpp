#include "devservice/ServiceMessages.h"

#include "devservice/ServiceJSON.h"

#include <algorithm>

namespace lumora {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

} // namespace

bool pathMatches(std::string_view pattern, std::string_view path)
{
    while (pattern != "**") {
        if (pattern.empty() || path.empty())
            return pattern.empty() && path.empty();
        const bool isPart = pattern.front() == '*';
        const size_t length = isPart ? std::min(path.find('/'), path.size()) : 1;
        if (length == 0 || (!isPart && pattern.front() != path.front()))
            return false;
        pattern.remove_prefix(1);
        path.remove_prefix(length);
    }
    return true;
}

bool CaseInsensitiveLess::operator()(std::string_view a, std::string_view b) const
{
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) < lower(y); });
}

std::string_view ServiceRequest::path() const
{
    return std::string_view(target).substr(0, target.find_first_of("?#"));
}

std::string ServiceRequest::header(std::string_view name) const
{
    std::string values;
    const auto [begin, end] = headers.equal_range(name);
    for (auto field = begin; field != end; ++field)
        values += (field == begin ? "" : ", ") + field->second;
    return values;
}

ServiceAnswer jsonAnswer(int status, std::string body)
{
    return { status, { { "Content-Type", "application/json" } }, std::move(body) };
}

ServiceAnswer errorAnswer(int status, std::string_view message)
{
    return jsonAnswer(status, R"({"error":)" + quoted(message) + "}");
}

} // namespace lumora
