#pragma once

#include <cstddef>

namespace lumora {

inline constexpr size_t CC_MD5_DIGEST_LENGTH = 16;

/// The MD5 digest of some bytes, written to `md` and answered; null where the system makes none. For wire
/// forms that ask for it, not for security. Any thread.
unsigned char* CC_MD5(const void* data, size_t len, unsigned char* md);

} // namespace lumora
