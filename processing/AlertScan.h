#pragma once

#include <string_view>
#include <vector>

namespace lumora {

/// A dialog that a page's scripts may open.
struct ScriptDialog {
    /// "alert" or "confirm".
    std::string_view type;
    std::string_view message;
};

/// The dialogs in a page's markup, whose text must outlive them: all alerts in its order, then all confirms.
/// A message reaches from the quote behind the call's name to the next quote with a parenthesis behind it;
/// a call without that ends the search for its kind. Takes time in proportion to the markup. Any thread.
std::vector<ScriptDialog> scriptDialogsIn(std::string_view markup);

} // namespace lumora
