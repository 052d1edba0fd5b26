#include "processing/AlertScan.h"

#include <array>

namespace lumora {

namespace {

constexpr size_t none = std::string_view::npos;

/// The calls of one kind that have been found so far.
struct Kind {
    std::string_view call;
    std::string_view type;
    std::vector<ScriptDialog> dialogs {};
    /// What lies before has been read, in messages too; `none` once a message had no end.
    size_t from { 0 };
};

void read(Kind& kind, std::string_view markup, size_t quote)
{
    const size_t end = markup.find("\")", quote + 1);
    if (end != none)
        kind.dialogs.push_back({ kind.type, markup.substr(quote + 1, end - quote - 1) });
    kind.from = end;
}

} // namespace

std::vector<ScriptDialog> scriptDialogsIn(std::string_view markup)
{
    std::array kinds { Kind { "window.alert", "alert" }, Kind { "confirm", "confirm" } };
    // A parenthesis with a quote behind it is rarer than the letters of either call.
    for (size_t at = markup.find("(\""); at != none; at = markup.find("(\"", at + 1)) {
        for (Kind& kind : kinds) {
            if (kind.from <= at && markup.substr(kind.from, at - kind.from).ends_with(kind.call))
                read(kind, markup, at + 1);
        }
    }
    std::vector<ScriptDialog> dialogs = std::move(kinds[0].dialogs);
    dialogs.insert(dialogs.end(), kinds[1].dialogs.begin(), kinds[1].dialogs.end());
    return dialogs;
}

} // namespace lumora
