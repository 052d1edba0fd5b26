#pragma once

#include <string>
#include <string_view>

namespace lumora {

// What clients of the collector encrypt: the Base64, without line breaks, of AES-256 in CBC mode with PKCS#7
// padding. What does not decrypt gives an empty text.

/// The key is the MD5 of a secret and the salt, as lower-case hexadecimal digits; the vector is 16 bytes.
std::string decryptedComplaint(std::string_view body, std::string_view salt, std::string_view vector);
/// With the secret itself as the key and a vector of zeros.
std::string decryptedEvent(std::string_view body);

} // namespace lumora
