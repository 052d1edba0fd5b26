#include "platform/security/CommonCryptor.h"
#include "platform/security/CommonDigest.h"
#include "platform/security/arc4random.h"

#include <algorithm>
#include <array>
#include <memory>
#include <openssl/evp.h>
#include <stdlib.h> // NOLINT(modernize-deprecated-headers): arc4random_uniform is no standard name

namespace lumora {

CCCryptorStatus CCCrypt(CCOperation op, CCAlgorithm alg, CCOptions options, const void* key, size_t keyLength,
    const void* iv, const void* dataIn, size_t dataInLength, void* dataOut, size_t dataOutAvailable,
    size_t* dataOutMoved)
{
    if (op != kCCEncrypt || alg != kCCAlgorithmAES || options != kCCOptionPKCS7Padding)
        return kCCUnimplemented;
    if (!key || keyLength != kCCKeySizeAES256 || (!dataIn && dataInLength > 0) || !dataOut || !dataOutMoved)
        return kCCParamError;
    *dataOutMoved = (dataInLength / kCCBlockSizeAES + 1) * kCCBlockSizeAES;
    if (dataOutAvailable < *dataOutMoved)
        return kCCBufferTooSmall;

    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    constexpr std::array<unsigned char, kCCBlockSizeAES> zeros {};
    const auto* first = iv ? static_cast<const unsigned char*>(iv) : zeros.data();
    if (!context
        || EVP_EncryptInit_ex(
               context.get(), EVP_aes_256_cbc(), nullptr, static_cast<const unsigned char*>(key), first)
            != 1)
        return kCCMemoryFailure;
    // The library counts in int.
    constexpr size_t piece = size_t { 1 } << 30;
    const auto* in = static_cast<const unsigned char*>(dataIn);
    auto* out = static_cast<unsigned char*>(dataOut);
    int written = 0;
    for (size_t at = 0; at < dataInLength; at += piece) {
        const auto size = static_cast<int>(std::min(piece, dataInLength - at));
        if (EVP_EncryptUpdate(context.get(), out, &written, in + at, size) != 1)
            return kCCMemoryFailure;
        out += written;
    }
    return EVP_EncryptFinal_ex(context.get(), out, &written) == 1 ? kCCSuccess : kCCMemoryFailure;
}

unsigned char* CC_MD5(const void* data, size_t len, unsigned char* md)
{
    return EVP_Digest(data, len, md, nullptr, EVP_md5(), nullptr) == 1 ? md : nullptr;
}

uint32_t arc4random_uniform(uint32_t upperBound) { return ::arc4random_uniform(upperBound); }

} // namespace lumora
