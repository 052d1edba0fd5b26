#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace lumora::test {

/// cos((2x + 1) u pi / 64)
inline double cosineAt(int x, int u) { return std::cos((2 * x + 1) * u * std::numbers::pi / 64); }

/// The transform as it is defined, and only that: every output a double sum of its own, every cosine asked
/// for where it stands.
template <typename Cosine = decltype(&cosineAt)>
void directDCT(const double* in, double* out, const Cosine& cosine = &cosineAt)
{
    constexpr double c0 = 0.7071067811865475;
    for (int u = 0; u < 8; u++) {
        for (int v = 0; v < 8; v++) {
            double sum = 0;
            for (int x = 0; x < 32; x++) {
                for (int y = 0; y < 32; y++)
                    sum += in[32 * x + y] * cosine(x, u) * cosine(y, v);
            }
            out[32 * u + v] = 0.25 * (u == 0 ? c0 : 1.0) * (v == 0 ? c0 : 1.0) * sum;
        }
    }
}

/// Pictures of the kinds whose hashes hang on the last bit: noise, smooth, flat, gradients, half planes,
/// extremes. The same for the same number, everywhere.
inline std::vector<double> matrixNumber(uint64_t number)
{
    uint64_t state = number;
    auto random = [&state] { // splitmix64
        uint64_t z = state += 0x9E3779B97F4A7C15U;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9U;
        z = (z ^ z >> 27) * 0x94D049BB133111EBU;
        return z ^ z >> 31;
    };
    const double grey = static_cast<double>(random() % 766) / 3.0;
    const auto across = static_cast<double>(random() % 9);
    const auto down = static_cast<double>(random() % 9);
    const uint64_t edge = random() % 32;
    std::vector<double> matrix;
    for (uint64_t x = 0; x < 32; x++) {
        for (uint64_t y = 0; y < 32; y++) {
            const auto slope = across * static_cast<double>(x) + down * static_cast<double>(y);
            switch (number % 6) {
            case 0:
                matrix.push_back(static_cast<double>(random() % 766) / 3.0);
                break;
            case 1:
                matrix.push_back((slope / 64 - std::floor(slope / 64)) * (slope / 3));
                break;
            case 2:
                matrix.push_back(grey);
                break;
            case 3:
                matrix.push_back(slope / 2);
                break;
            case 4:
                matrix.push_back((number & 8 ? x : y) < edge ? 0 : 255);
                break;
            default:
                matrix.push_back(random() % 2 ? 255 : number & 8 ? 0 : -1e200);
                break;
            }
        }
    }
    return matrix;
}

} // namespace lumora::test
