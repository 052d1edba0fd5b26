#pragma once

#include "simulator/Phone.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace lumora::fuzz {

/// Ends the run when something that must always hold does not.
inline void expect(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// The phone that all inputs of a run share, under the virtual clock, which stands still. It is never
/// destroyed.
inline Phone& phone(Phone::Options options = {})
{
    static auto& phone = *new Phone { std::move(options) };
    return phone;
}

inline std::string_view textOf(const uint8_t* data, size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

} // namespace lumora::fuzz
