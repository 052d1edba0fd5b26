// Compares every kernel of the cosine transform with its definition, bit by bit, over 20,000 matrices, and
// prints a checksum of all outputs. scripts/dct-bits builds it by both compilers with all sorts of flags.

#include "hashing/DCTKernel.h"
#include "hashing/HashKernels.h"
#include "tests/hashing/DirectDCT.h"

#include <array>
#include <bit>
#include <cstdio>

namespace {

void byDefinition(const double* in, double* out) { lumora::test::directDCT(in, out); }

// The same with each cosine evaluated once: sixfold faster, and compared with it first.
void byTable(const double* in, double* out)
{
    static const auto cosines = [] {
        std::array<std::array<double, 8>, 32> table {};
        for (int x = 0; x < 32; x++) {
            for (int u = 0; u < 8; u++)
                table[size_t(x)][size_t(u)] = lumora::test::cosineAt(x, u);
        }
        return table;
    }();
    lumora::test::directDCT(in, out, [](int x, int u) { return cosines[size_t(x)][size_t(u)]; });
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
    constexpr uint64_t comparedFirst = 240;
    uint64_t checksum = 0;
    for (uint64_t number = 0; number < matrices; number++) {
        const std::vector<double> matrix = lumora::test::matrixNumber(number);
        const Outputs expected = bitsOf(number < comparedFirst ? &byDefinition : &byTable, matrix);
        if (number < comparedFirst && bitsOf(&byTable, matrix) != expected)
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
