#pragma once

namespace lumora {

/// Seconds since 1970, fractional, by the current process's clock. Any thread.
double timeIntervalSince1970Now();

} // namespace lumora
