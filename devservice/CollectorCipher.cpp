#include "devservice/CollectorCipher.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/hex.hpp>
#include <iterator>
#include <memory>
#include <openssl/evp.h>

namespace lumora {

namespace {

// Shared with the clients: one word, run on to two lengths.
constexpr std::string_view eventKey = "tallowMeridianVextallowMeridianV";
constexpr std::string_view complaintPrefix = "tallowMeridianVextallowMeridianVex";
constexpr size_t keySize = 32;
constexpr size_t blockSize = 16;
constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

const unsigned char* bytesOf(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}
unsigned char* bytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

std::string decodedBase64(std::string_view text)
{
    // OpenSSL would also take blanks at the end, and anything after a "-".
    const std::string_view padding = text.substr(std::min(text.find_first_not_of(base64Digits), text.size()));
    if (text.empty() || text.size() % 4 != 0 || !std::string_view("==").starts_with(padding))
        return {};
    std::string bytes(text.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(bytesOf(bytes), bytesOf(text), static_cast<int>(text.size()));
    if (size != static_cast<int>(bytes.size()))
        return {};
    // Padding is decoded too, as zeros.
    bytes.resize(bytes.size() - padding.size());
    return bytes;
}

std::string decrypted(std::string_view body, std::string_view key, std::string_view vector)
{
    const std::string cipherText = decodedBase64(body);
    std::string text(cipherText.size() + blockSize, '\0');
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int size = 0;
    int rest = 0;
    if (!context || key.size() != keySize || vector.size() != blockSize
        || EVP_DecryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, bytesOf(key), bytesOf(vector)) != 1
        || EVP_DecryptUpdate(
               context.get(), bytesOf(text), &size, bytesOf(cipherText), static_cast<int>(cipherText.size()))
            != 1
        || EVP_DecryptFinal_ex(context.get(), bytesOf(text) + size, &rest) != 1)
        return {};
    text.resize(static_cast<size_t>(size) + static_cast<size_t>(rest));
    return text;
}

std::string complaintKey(std::string_view salt)
{
    const std::string salted = std::string(complaintPrefix) + std::string(salt);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest {};
    unsigned size = 0;
    if (EVP_Digest(salted.data(), salted.size(), digest.data(), &size, EVP_md5(), nullptr) != 1)
        return {};
    std::string key;
    boost::algorithm::hex_lower(digest.begin(), digest.begin() + size, std::back_inserter(key));
    return key;
}

} // namespace

std::string decryptedComplaint(std::string_view body, std::string_view salt, std::string_view vector)
{
    return decrypted(body, complaintKey(salt), vector);
}

std::string decryptedEvent(std::string_view body)
{
    return decrypted(body, eventKey, std::string(blockSize, '\0'));
}

} // namespace lumora
