#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

// What the library adds to the platform's texts. Any thread.

// NSString (LMAllURIs)

/// What counts as a link, for an engine that ignores case. The second class holds the range from "/" to "_".
inline constexpr const char* linkPattern
    = R"((?:http:|https:)\/\/(?:([\w\d-+_.]*))|(javascript:)|(data:[\w\/]*)|((mailto|tel|sms):[\w\d\/-_.]*))";

/// The links of a text in its order, repeated ones too; of a web address only the host, which may be empty.
/// Finds what an engine finds with `linkPattern`, in one pass over the colons. Nothing when there are none.
std::optional<std::vector<std::string>> getAllURLs(std::string_view text);
/// The same links as they stand in the text, which must outlive them.
std::vector<std::string_view> linksInText(std::string_view text);

// NSString (MD5)

/// The MD5 digest of the text's bytes as 32 hexadecimal digits in lower case; nothing where the system makes
/// none.
std::optional<std::string> md5(std::string_view text);

} // namespace lumora
