#include "support/NSDataExtensions.h"

#include "platform/security/CommonCryptor.h"

#include <array>

namespace lumora {

namespace {

/// A text as the cipher reads it: with a terminator, in a buffer of zeros.
using KeyBuffer = std::array<char, kCCKeySizeAES256 + 1>;

KeyBuffer keyBuffer(std::string_view text)
{
    KeyBuffer buffer {};
    text.copy(buffer.data(), kCCKeySizeAES256);
    return buffer;
}

} // namespace

std::optional<NSData> AES256EncryptWithKey(const NSData& data, std::string_view key, std::string_view iv)
{
    const KeyBuffer keyBytes = keyBuffer(key);
    const KeyBuffer vector = keyBuffer(iv);
    NSData encrypted { std::vector<uint8_t>(data.bytes.size() + kCCBlockSizeAES) };
    size_t size = 0;
    const CCCryptorStatus status = CCCrypt(kCCEncrypt, kCCAlgorithmAES, kCCOptionPKCS7Padding,
        keyBytes.data(), kCCKeySizeAES256, vector.data(), data.bytes.data(), data.bytes.size(),
        encrypted.bytes.data(), encrypted.bytes.size(), &size);
    if (status != kCCSuccess)
        return std::nullopt;
    encrypted.bytes.resize(size);
    return encrypted;
}

} // namespace lumora
