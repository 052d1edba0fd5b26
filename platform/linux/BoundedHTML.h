#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// How much of a page is laid out.
struct HTMLBounds {
    size_t tags { 3'000 };
    size_t depth { 100 };
    size_t textBytes { 60'000 };
    /// 0 leaves out every style.
    size_t styleBytes { 100'000 };
};

/// A page made fit for a layout library that recurses and trusts: well nested, within the bounds, without
/// scripts, drawings and comments. Data URLs are taken out and stand as "picture:N".
struct BoundedHTML {
    std::string markup;
    std::vector<std::string> pictures;
};

BoundedHTML boundHTML(std::string_view html, const HTMLBounds& bounds);

/// The bytes of a data URL in Base64; empty when it is none.
std::vector<uint8_t> bytesOfDataURL(std::string_view url);

} // namespace lumora
