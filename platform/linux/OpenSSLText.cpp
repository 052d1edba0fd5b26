#include "platform/foundation/NSString.h"

#include <algorithm>
#include <array>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <random>

namespace lumora {

std::string base64Encoded(const NSData& data)
{
    std::string text((data.bytes.size() + 2) / 3 * 4 + 1, '\0');
    // The library counts in int; pieces whose size three divides join without padding.
    constexpr size_t piece = 3 << 24;
    size_t written = 0;
    for (size_t at = 0; at < data.bytes.size(); at += piece) {
        const size_t size = std::min(piece, data.bytes.size() - at);
        written
            += static_cast<size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data() + written),
                data.bytes.data() + at, static_cast<int>(size)));
    }
    text.resize(written);
    return text;
}

std::string newUUIDString()
{
    std::array<unsigned char, 16> bytes {};
    if (RAND_bytes(bytes.data(), bytes.size()) != 1) {
        std::random_device device;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(device());
    }
    // Version 4, variant 1.
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    return textOfUUID({ reinterpret_cast<const char*>(bytes.data()), bytes.size() });
}

} // namespace lumora
