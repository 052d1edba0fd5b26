#include "apps/demo/Story.h"

#include "platform/foundation/NSString.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lumora {

namespace {

constexpr const char* pageHead
    = R"(<!doctype html><html lang="en"><meta charset="utf-8"><title>Lumora: one ad, reported</title>
<meta name="viewport" content="width=device-width"><style>
:root{color-scheme:light dark;--line:#d8dee8;--soft:#65728a;--blue:#0559af;--card:#fff;--page:#f4f6fa;--ink:#172033}
@media(prefers-color-scheme:dark){:root{--line:#2c3648;--soft:#93a0b8;--blue:#6db1ff;--card:#182133;--page:#0e1420;--ink:#e8edf6}}
body{margin:0;background:var(--page);color:var(--ink);font:15px/1.5 Roboto,system-ui,sans-serif}
main{max-width:980px;margin:0 auto;padding:40px 24px 80px}h1{font-size:30px;margin:0 0 4px}h1+p{color:var(--soft);margin:0 0 32px}
h2{font-size:19px;margin:44px 0 12px;padding-bottom:8px;border-bottom:1px solid var(--line)}
.e{display:flex;gap:14px;padding:3px 0}.e time{flex:0 0 64px;color:var(--soft);text-align:right;font-variant-numeric:tabular-nums}
.ok::before{content:"\2713";color:#1b9e5a;margin-right:8px}.no::before{content:"\2717";color:#d43b3b;margin-right:8px}.no{color:#d43b3b}
figure{display:inline-block;margin:14px 16px 6px 0;vertical-align:top}figure img{width:230px;border-radius:22px;border:1px solid var(--line);box-shadow:0 6px 24px #0002}
table{border-collapse:collapse;font-size:13px;margin:12px 0}th,td{text-align:left;padding:4px 10px;border-bottom:1px solid var(--line);overflow-wrap:anywhere}th{color:var(--soft);font-weight:500}
figcaption{color:var(--soft);font-size:13px;text-align:center;margin-top:6px;max-width:230px}a{color:var(--blue)}
</style><main><h1>One ad, reported</h1><p>From the entry call to a delivered report, with the service gone and back. Each picture is
the phone's screen at that moment.</p>)";

}

std::string htmlEscaped(std::string_view text)
{
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

Story::Story(std::filesystem::path folder, std::function<double()> now)
    : m_folder(std::move(folder))
    , m_now(std::move(now))
    , m_start(m_now())
{
    std::filesystem::create_directories(m_folder);
}

void Story::add(Kind kind, const std::string& text, std::string_view mark)
{
    m_entries.push_back({ kind, m_now() - m_start, text });
    std::printf("%8.2f s  %s%s\n", m_entries.back().time, std::string { mark }.c_str(), text.c_str());
    std::fflush(stdout);
}

void Story::chapter(const std::string& title)
{
    std::printf("\n");
    add(Kind::Chapter, title, "== ");
}

void Story::tell(const std::string& line) { add(Kind::Line, line, ""); }

bool Story::expect(bool holds, const std::string& line)
{
    add(holds ? Kind::Met : Kind::Failed, line, holds ? "ok    " : "FAILED  ");
    m_failures += holds ? 0 : 1;
    return holds;
}

void Story::write(const std::string& fileName, std::string_view content) const
{
    const std::filesystem::path path = m_folder / fileName;
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

void Story::picture(const UIImage& image, const std::string& name)
{
    const std::string fileName
        = stringWithFormat("%02d-%@.png", { static_cast<int64_t>(m_entries.size()), name });
    write(fileName, UIImagePNGRepresentation(image).view());
    m_entries.push_back({ Kind::Picture, m_now() - m_start, fileName });
}

void Story::document(const std::string& fileName, const std::string& content)
{
    write(fileName, content);
    m_entries.push_back({ Kind::Document, m_now() - m_start, fileName });
}

void Story::table(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows)
{
    std::vector<size_t> widths(header.size());
    std::string html = "<table>";
    auto add = [&](const std::vector<std::string>& cells, const std::string& tag) {
        html += "<tr>";
        for (size_t i = 0; i < cells.size(); i++) {
            widths[i] = std::max(widths[i], cells[i].size());
            html.append("<").append(tag).append(">").append(htmlEscaped(cells[i]));
            html.append("</").append(tag).append(">");
        }
        html += "</tr>\n";
    };
    add(header, "th");
    for (const auto& row : rows)
        add(row, "td");
    for (const auto& row : rows) {
        std::printf("           ");
        for (size_t i = 0; i < row.size(); i++)
            std::printf("%-*s  ", static_cast<int>(widths[i]), row[i].c_str());
        std::printf("\n");
    }
    m_entries.push_back({ Kind::Table, m_now() - m_start, html + "</table>\n" });
}

void Story::writePage() const
{
    std::ostringstream page;
    page << pageHead;
    std::string caption;
    for (const Entry& entry : m_entries) {
        const std::string text = htmlEscaped(entry.text);
        const std::string time = stringWithFormat("%.2f s", { entry.time });
        switch (entry.kind) {
        case Kind::Chapter:
            page << "<h2>" << text << "</h2>\n";
            break;
        case Kind::Picture:
            page << "<figure><a href=\"" << text << "\"><img loading=\"lazy\" src=\"" << text
                 << "\" alt=\"\"></a><figcaption>" << htmlEscaped(caption) << "</figcaption></figure>\n";
            continue;
        case Kind::Table:
            page << entry.text;
            continue;
        case Kind::Document:
            page << "<div class=\"e\"><time></time><a href=\"" << text << "\">" << text << "</a></div>\n";
            continue;
        case Kind::Line:
        case Kind::Met:
        case Kind::Failed:
            page << "<div class=\"e\"><time>" << time << "</time><span class=\""
                 << (entry.kind == Kind::Met             ? "ok"
                            : entry.kind == Kind::Failed ? "no"
                                                         : "")
                 << "\">" << text << "</span></div>\n";
        }
        caption = entry.text;
    }
    page << (m_failures == 0 ? "<p class=\"ok\">Everything expected happened.</p>"
                             : "<p class=\"no\">Something expected did not happen.</p>")
         << "</main></html>\n";
    write("index.html", page.str());
}

} // namespace lumora
