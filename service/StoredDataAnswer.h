#pragma once

#include "platform/foundation/Value.h"

#include <optional>
#include <string_view>

namespace lumora {

/// What the collector still lacks of a batch of ads, by the body of its answer: a dictionary of "images", the
/// perceptual hashes, and "htmls", the source hashes, that it knows no content for. Both lists are empty,
/// never absent, when the answer says nothing of use; an absent body, as a failed exchange has it, is logged.
/// `wasEncoded` says whether the batch could be written as JSON at all. Any thread.
NSDictionary missingItems(std::optional<std::string_view> body, bool wasEncoded);

} // namespace lumora
