#pragma once

#include <cstddef>
#include <cstdint>

namespace lumora {

enum CCCryptorStatus : int32_t {
    kCCSuccess = 0,
    kCCParamError = -4300,
    kCCBufferTooSmall = -4301,
    kCCMemoryFailure = -4302,
    kCCUnimplemented = -4305,
};
enum CCOperation : uint32_t { kCCEncrypt = 0 };
enum CCAlgorithm : uint32_t { kCCAlgorithmAES = 0 };
/// Without the option for another mode, blocks are chained (CBC).
enum CCOptions : uint32_t { kCCOptionPKCS7Padding = 0x0001 };

inline constexpr size_t kCCKeySizeAES256 = 32;
inline constexpr size_t kCCBlockSizeAES = 16;

/// Encrypts in one call. AES-256 in CBC mode with PKCS#7 padding is what there is: another operation,
/// algorithm or option is kCCUnimplemented, a key of another size kCCParamError. `iv` is one block; without
/// one it counts as zeros. The output is longer than the input by 1 to 16 bytes; what does not fit is
/// kCCBufferTooSmall, and `dataOutMoved` says what would. Any thread.
CCCryptorStatus CCCrypt(CCOperation op, CCAlgorithm alg, CCOptions options, const void* key, size_t keyLength,
    const void* iv, const void* dataIn, size_t dataInLength, void* dataOut, size_t dataOutAvailable,
    size_t* dataOutMoved);

} // namespace lumora
