#include "processing/AlertScan.h"

#include <algorithm>
#include <functional>

namespace lumora {

static void addDialogs(std::vector<ScriptDialog>& dialogs, std::string_view markup, std::string_view needle,
    std::string_view type)
{
    constexpr std::string_view closing = "\")";
    const std::boyer_moore_horspool_searcher searcher(needle.begin(), needle.end());
    while (true) {
        const auto* const found = std::search(markup.begin(), markup.end(), searcher);
        if (found == markup.end())
            return;
        markup.remove_prefix(static_cast<size_t>(found - markup.begin()) + needle.size());
        const size_t end = markup.find(closing);
        if (end == std::string_view::npos)
            return;
        dialogs.push_back({ type, markup.substr(0, end) });
        markup.remove_prefix(end);
    }
}

std::vector<ScriptDialog> scriptDialogsIn(std::string_view markup)
{
    std::vector<ScriptDialog> dialogs;
    addDialogs(dialogs, markup, "window.alert(\"", "alert");
    addDialogs(dialogs, markup, "confirm(\"", "confirm");
    return dialogs;
}

} // namespace lumora
