#pragma once

#include <array>
#include <cstdint>

namespace lumora {

/// While one lives, its thread takes no signal, and the threads that it makes take none ever: signals are the
/// host's and for its own threads. Those of a fault stay. On the stack, on any thread.
class SignalsBlocked {
public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    // The system's set of signals, as it was.
    std::array<uint64_t, 16> m_former {};
};

} // namespace lumora
