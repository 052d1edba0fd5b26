#pragma once

#include "platform/foundation/Value.h"

#include <optional>
#include <string_view>

namespace lumora {

// NSData (AES)

/// Encrypted by AES-256 in CBC mode with PKCS#7 padding. Key and initialisation vector are the bytes of the
/// texts, filled up with zeros or cut at 32; of the vector the first 16 count. Nothing when the cipher fails.
/// Any thread.
std::optional<NSData> AES256EncryptWithKey(const NSData& data, std::string_view key, std::string_view iv);

} // namespace lumora
