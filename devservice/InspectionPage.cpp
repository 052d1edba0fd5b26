#include "devservice/InspectionPage.h"

#include "devservice/ServiceJSON.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace json = boost::json;

namespace lumora {

namespace {

constexpr size_t longestField = 160;
constexpr size_t longestBody = 2000;
static_assert(longestBody < ArrivalStore::excerptSize);

constexpr std::string_view head = R"html(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>Arrivals</title><style>
:root { color-scheme: light dark; --paper: #f6f7f9; --card: #fff; --ink: #1c2733; --soft: #6b7785; --line: #e2e6eb;
  --good: #17784a; --bad: #b3261e; }
@media (prefers-color-scheme: dark) { :root { --paper: #12161b; --card: #1b2129; --ink: #e4e9ef; --soft: #93a0ae;
  --line: #2b333d; --good: #5fcf97; --bad: #ff8a80; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 2rem 1.25rem 4rem; max-width: 62rem; background: var(--paper); color: var(--ink);
  font: 15px/1.5 system-ui, Roboto, sans-serif; }
h1 { font-size: 1.6rem; margin: 0 0 .5rem; }
h2 { font-size: 1.1rem; margin: 2.5rem 0 .75rem; display: flex; gap: .6rem; align-items: baseline; }
a { color: inherit; } h2 a { margin-left: auto; font-size: .85rem; font-weight: normal; color: var(--soft); }
nav { display: flex; flex-wrap: wrap; gap: .5rem; }
nav a { background: var(--card); border: 1px solid var(--line); border-radius: 2rem; padding: .2rem .9rem;
  text-decoration: none; }
.count, time, .empty, dt, .note { color: var(--soft); } .count { font-weight: normal; }
article { display: flex; gap: 1rem; background: var(--card); border: 1px solid var(--line); border-radius: .6rem;
  padding: .8rem 1rem; margin-bottom: .6rem; }
article > div { min-width: 0; flex: 1; }
.line { display: flex; flex-wrap: wrap; gap: .75rem; align-items: baseline; margin: 0 0 .3rem; font-size: .85rem; }
.good { color: var(--good); } .bad { color: var(--bad); } .good, .bad { font-weight: 600; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0 1rem; margin: 0; font-size: .9rem; }
dd { margin: 0; } dd, pre, code { overflow-wrap: anywhere; white-space: pre-wrap; }
pre { margin: 0; } code, pre { font: .85em/1.5 ui-monospace, monospace; }
img { width: 7rem; align-self: flex-start; border: 1px solid var(--line); border-radius: .4rem; cursor: zoom-in; }
img:focus { width: 22rem; max-width: 60%; outline: none; cursor: default; }
</style></head><body>
)html";

std::string escaped(std::string_view bytes)
{
    std::string text;
    for (const char c : printable(bytes)) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '&' || c == '<' || c == '>' || c == '"' || c == '\'')
            text += "&#" + std::to_string(code) + ";";
        else if (code < ' ' && c != '\n' && c != '\t')
            text += "&#xFFFD;";
        else
            text += c;
    }
    return text;
}

/// Escaped, and cut between two characters when it is too long to read; then `size` is told as the whole one.
std::string excerpt(std::string_view bytes, size_t longest, size_t size)
{
    if (bytes.size() <= longest)
        return escaped(bytes);
    size_t end = longest;
    while (end > longest - 3 && (static_cast<unsigned char>(bytes[end]) & 0xC0) == 0x80)
        --end;
    return escaped(bytes.substr(0, end)) + "… <span class=\"note\">(" + std::to_string(size)
        + " bytes)</span>";
}

std::string excerpt(std::string_view bytes, size_t longest) { return excerpt(bytes, longest, bytes.size()); }

std::string clockTime(double secondsSince1970)
{
    if (!(secondsSince1970 >= 0 && secondsSince1970 < 253402300800.0)) // the year 10000
        return "at " + std::to_string(secondsSince1970);
    const double milliseconds = std::floor(secondsSince1970 * 1000);
    const auto seconds = static_cast<time_t>(milliseconds / 1000);
    std::tm parts {};
    gmtime_r(&seconds, &parts);
    std::array<char, 40> text {};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%03d UTC",
        static_cast<int>(std::fmod(milliseconds, 1000)));
    return text.data();
}

std::string thumbnail(const json::object& fields)
{
    const json::value* field = fields.if_contains("screenshot");
    if (!field || !field->is_string())
        return {};
    const std::string_view image(field->get_string().data(), field->get_string().size());
    const bool isBase64 = std::all_of(image.begin(), image.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+'
            || c == '/' || c == '=' || c == '\r' || c == '\n';
    });
    if (image.empty() || !isBase64)
        return {};
    return "<img tabindex=\"0\" alt=\"screenshot\" src=\"data:image/"
        + std::string(image.starts_with("/9j/") ? "jpeg" : "png") + ";base64," + std::string(image) + "\">";
}

std::string fieldList(const json::object& fields, bool showsScreenshot)
{
    std::string rows;
    for (const auto& [name, value] : fields) {
        if (showsScreenshot && name == "screenshot")
            continue;
        const bool isText = value.is_string();
        const std::string text = isText ? std::string(value.get_string()) : json::serialize(value);
        if (text.empty())
            continue;
        rows += "<dt>" + escaped(name) + "</dt><dd>" + excerpt(text, longestField) + "</dd>";
    }
    return rows.empty() ? "" : "<dl>" + rows + "</dl>";
}

std::string card(const Arrival& arrival)
{
    const std::string status
        = arrival.status ? "answered " + std::to_string(arrival.status) : "closed unanswered";
    const bool isConfiguration = arrival.kind == ArrivalKind::ConfigurationFetch;
    std::string line = "<p class=\"line\"><b>#" + std::to_string(arrival.number) + "</b><time>"
        + clockTime(arrival.receivedAt) + "</time><span class=\""
        + (arrival.status / 100 == 2 ? "good" : "bad") + "\">" + status + "</span>";
    const bool isText = isConfiguration || arrival.kind == ArrivalKind::Log;
    if (!arrival.decrypted.empty())
        line += "<span>decrypted</span>";
    else if (!arrival.isJSON && !isText)
        line += "<span class=\"bad\">not JSON</span>";
    line += "<code class=\"note\">"
        + (arrival.authorization.empty() ? "no Authorization" : excerpt(arrival.authorization, longestField))
        + "</code>" + (isConfiguration ? "" : "<code>" + excerpt(arrival.target, longestField) + "</code>")
        + "</p>";

    const std::string& text = arrival.decrypted.empty() ? arrival.body : arrival.decrypted;
    const auto body = parseJSON(text);
    const json::value* value = body ? &*body : nullptr;
    if (value && value->is_array() && value->get_array().size() == 1)
        value = value->get_array().data();
    std::string content;
    std::string picture;
    if (isConfiguration) {
        content = "<code>" + excerpt(arrival.target, longestBody) + "</code>";
    } else if (!isText && value && value->is_object()) {
        picture = thumbnail(value->get_object());
        content = fieldList(value->get_object(), !picture.empty());
    } else {
        content = "<pre>" + excerpt(text, longestBody, arrival.bodySize) + "</pre>";
    }
    return "<article>" + picture + "<div>" + line + content + "</div></article>\n";
}

} // namespace

std::string inspectionPage(const std::vector<PageSection>& sections)
{
    std::string page(head);
    page += "<header><h1>What arrived</h1><nav>";
    for (const PageSection& section : sections)
        page += "<a href=\"#" + escaped(section.listPath.substr(1)) + "\">" + escaped(section.title)
            + " <span class=\"count\">" + std::to_string(section.total) + "</span></a>";
    page += "</nav></header>\n";
    for (const PageSection& section : sections) {
        page += "<section id=\"" + escaped(section.listPath.substr(1)) + "\"><h2>" + escaped(section.title)
            + " <span class=\"count\">" + std::to_string(section.total) + "</span><a href=\""
            + escaped(section.listPath) + "\">all as JSON</a></h2>\n";
        for (const Arrival& arrival : section.newest)
            page += card(arrival);
        if (section.newest.empty())
            page += "<p class=\"empty\">Nothing yet.</p>\n";
        else if (section.total > static_cast<int64_t>(section.newest.size()))
            page += "<p class=\"empty\">Older ones are in the JSON list.</p>\n";
        page += "</section>\n";
    }
    return page + "</body></html>\n";
}

} // namespace lumora
