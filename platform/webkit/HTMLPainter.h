#pragma once

#include "platform/uikit/UIImage.h"

#include <optional>
#include <string>

namespace lumora {

// What a page looks like without a web engine: its markup and styles, and the pictures that stand in it as
// data URLs. Scripts never run and nothing is fetched. Any markup can be given; of what is too long, too deep
// or too laborious, a part is shown. Any thread. Defined by the platform linked.

/// The top of a page on white, laid out at a width in points. A null picture for an empty size.
UIImage paintHTML(const std::string& html, CGSize size, double scale);

/// A link as it stands in a page.
struct HTMLLink {
    std::string address;
    /// Names the window or frame to show it in; empty for the page's own.
    std::string target;
};

/// The link at a point of that picture; nothing where there is none.
std::optional<HTMLLink> linkAtPoint(const std::string& html, CGSize size, CGPoint point);

} // namespace lumora
