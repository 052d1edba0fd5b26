// Compares every kernel of the cosine transform with its definition, bit by bit, over 20,000 matrices, and
// prints a checksum of all outputs. scripts/dct-bits builds it by both compilers with all sorts of flags.

#include "hashing/DCTKernel.h"
#include "hashing/HashKernels.h"
#include "tests/hashing/DirectDCT.h"

#include <array>
#include <bit>
#include <cstdio>

namespace {

// The definition again, with each cosine evaluated once: sixfold faster, and checked against it first.
void tabledDCT(const double* in, double* out)
{
    static const auto cosines = [] {
        std::array<std::array<double, 8>, 32> table {};
        for (int x = 0; x < 32; x++) {
            for (int u = 0; u < 8; u++)
                table[size_t(x)][size_t(u)] = std::cos((2 * x + 1) * u * std::numbers::pi / 64);
        }
        return table;
    }();
    constexpr double c0 = 0.7071067811865475;
    for (size_t u = 0; u < 8; u++) {
        for (size_t v = 0; v < 8; v++) {
            double sum = 0;
            for (size_t x = 0; x < 32; x++) {
                for (size_t y = 0; y < 32; y++)
                    sum += in[32 * x + y] * cosines[x][u] * cosines[y][v];
            }
            out[32 * u + v] = 0.25 * (u == 0 ? c0 : 1.0) * (v == 0 ? c0 : 1.0) * sum;
        }
    }
}

using Outputs = std::array<uint64_t, 64>;

Outputs bitsOf(void (*transform)(const double*, double*), const std::vector<double>& matrix)
{
    std::array<double, 1024> out {};
    transform(matrix.data(), out.data());
    Outputs bits {};
    for (size_t i = 0; i < bits.size(); i++)
        bits[i] = std::bit_cast<uint64_t>(out[32 * (i / 8) + i % 8]);
    return bits;
}

} // namespace

int main()
{
    constexpr uint64_t matrices = 20'000;
    constexpr uint64_t byDefinition = 240;
    uint64_t checksum = 0;
    for (uint64_t number = 0; number < matrices; number++) {
        const std::vector<double> matrix = lumora::test::matrixNumber(number);
        const Outputs expected
            = bitsOf(number < byDefinition ? &lumora::test::directDCT : &tabledDCT, matrix);
        if (number < byDefinition && bitsOf(&tabledDCT, matrix) != expected)
            return std::fprintf(stderr, "matrix %d: the table of cosines differs\n", int(number)), 1;
        for (const lumora::DCTKernel& kernel : lumora::dctKernels()) {
            if (kernel.isSupported() && bitsOf(kernel.run, matrix) != expected)
                return std::fprintf(stderr, "matrix %d: %s differs\n", int(number), kernel.name), 1;
        }
        for (const uint64_t bits : expected)
            checksum = (checksum ^ bits) * 0x100000001B3U;
    }
    std::printf("%016llx\n", static_cast<unsigned long long>(checksum));
    return 0;
}
