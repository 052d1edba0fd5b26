#include "hashing/DCTKernel.h"

#include "hashing/HashKernels.h"

#include <array>
#include <cmath>
#include <numbers>

// Rounded once more or once less, a flat picture hashes differently. The build turns contraction off for this
// folder.
#if defined(__FAST_MATH__)
#error "the hashes are defined to the bit: build without -ffast-math"
#endif

namespace lumora {

namespace {

constexpr int side = 32;
constexpr int used = 8;

/// cosines[x][u] = cos((2x + 1) u pi / 64). The angles are exact multiples until pi comes in, so there is one
/// rounding for every way to write them.
struct Cosines {
    Cosines()
    {
        for (int x = 0; x < side; x++) {
            for (int u = 0; u < used; u++)
                of[x][u] = std::cos((2 * x + 1) * u * std::numbers::pi / 64);
        }
    }
    alignas(64) double of[side][used];
};

const Cosines& cosines()
{
    static const Cosines table;
    return table;
}

using TwoLanes = double __attribute__((vector_size(16)));
using FourLanes = double __attribute__((vector_size(32)));
using EightLanes = double __attribute__((vector_size(64)));

// The 64 sums side by side, none of them reordered; as many rows of outputs at a time as the registers hold.
template <typename Lanes> [[gnu::always_inline]] inline void sum(const double* in, double* out)
{
    constexpr int lanes = sizeof(Lanes) / sizeof(double);
    constexpr int rowsAtOnce = lanes;
    constexpr int across = used / lanes;
    const auto& cosine = cosines().of;
    constexpr double c0 = 0.7071067811865475; // one unit in the last place below 1 / sqrt(2): kept
    for (int u0 = 0; u0 < used; u0 += rowsAtOnce) {
        Lanes sums[rowsAtOnce][across] = {};
        for (int x = 0; x < side; x++) {
            // Through memory, as spreading a number that is loaded costs nothing.
            Lanes products[side];
            for (int y = 0; y < side; y++)
                products[y] = in[side * x + y] * *reinterpret_cast<const Lanes*>(&cosine[x][u0]);
            for (int y = 0; y < side; y++) {
                const auto* column = reinterpret_cast<const Lanes*>(cosine[y]);
                for (int u = 0; u < rowsAtOnce; u++) {
                    for (int v = 0; v < across; v++)
                        sums[u][v] += reinterpret_cast<const double*>(&products[y])[u] * column[v];
                }
            }
        }
        for (int u = 0; u < rowsAtOnce; u++) {
            for (int v = 0; v < used; v++) {
                const double total = sums[u][v / lanes][v % lanes];
                out[side * (u0 + u) + v] = 0.25 * (u0 + u == 0 ? c0 : 1.0) * (v == 0 ? c0 : 1.0) * total;
            }
        }
    }
}

void sumPortably(const double* in, double* out) { sum<TwoLanes>(in, out); }

#if defined(__x86_64__)
__attribute__((target("avx2"))) void sumWithAVX2(const double* in, double* out) { sum<FourLanes>(in, out); }
__attribute__((target("avx512f"))) void sumWithAVX512(const double* in, double* out)
{
    sum<EightLanes>(in, out);
}
#endif

constexpr std::array kernels
{
#if defined(__x86_64__)
    DCTKernel { "AVX-512", [] { return __builtin_cpu_supports("avx512f") != 0; }, &sumWithAVX512 },
        DCTKernel { "AVX2", [] { return __builtin_cpu_supports("avx2") != 0; }, &sumWithAVX2 },
#endif
        DCTKernel { "portable", [] { return true; }, &sumPortably },
};

} // namespace

std::span<const DCTKernel> dctKernels() { return kernels; }

void dct_rgba_32_32(const double* in, double* out)
{
    static const auto fastest = [] {
        const DCTKernel* kernel = kernels.data();
        while (!kernel->isSupported())
            kernel++;
        return kernel->run;
    }();
    fastest(in, out);
}

} // namespace lumora
