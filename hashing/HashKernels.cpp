#include "hashing/HashKernels.h"

namespace lumora {

namespace {

constexpr int bits = 64;

int sumOfColors(const uint8_t* pixel) { return pixel[0] + pixel[1] + pixel[2]; }

// In pairs, so that 64 equal greys have exactly themselves as their mean; one after the other they would not,
// for 242 of the 766 greys there are.
double pairwiseSum(const double* values, int count)
{
    return count == 1 ? *values : pairwiseSum(values, count / 2) + pairwiseSum(values + count / 2, count / 2);
}

} // namespace

OSHashType dhash_rgba_9_9(const uint8_t* pixels)
{
    constexpr size_t rowLength = 64;
    uint64_t hash = 0;
    for (size_t bit = 0; bit < bits; bit++) {
        const uint8_t* left = pixels + (bit / 8) * rowLength + (bit % 8) * 4;
        if (sumOfColors(left) / 3 > sumOfColors(left + 4) / 3)
            hash |= uint64_t { 1 } << bit;
    }
    return static_cast<OSHashType>(hash);
}

std::string ahash_rgba_8_8(const double* greys)
{
    const double mean = pairwiseSum(greys, bits) * 0.015625;
    std::string hash;
    for (int i = 0; i < bits; i++)
        hash += greys[i] > mean ? '1' : '0';
    return hash;
}

void greyscale_pixels_rgba_32_32(const uint8_t* pixels, double* greys)
{
    for (size_t i = 0; i < size_t { 32 } * 32; i++) {
        const int grey = sumOfColors(pixels + i * 4) / 3;
        greys[i] = grey;
    }
}

double fast_avg_no_first_el_rgba_8_8(const double* out)
{
    double sum = 0;
    for (int i = 0; i < bits; i++)
        sum += out[32 * (i / 8) + i % 8];
    return (sum - out[0]) / 63.0;
}

std::string phash_rgba_8_8(const double* out, double average)
{
    std::string hash;
    for (int i = 1; i < bits; i++)
        hash += out[32 * (i / 8) + i % 8] > average ? '1' : '0';
    return hash;
}

} // namespace lumora
