#pragma once

#include "hashing/OSHashType.h"

#include <cstdint>
#include <string>

namespace lumora {

// The numeric kernels of the three perceptual hashes: pure functions over buffers of the caller's, any
// thread. Those that take doubles take greys or frequencies, for all that their names say. A bitmap is 8-bit
// R, G, B, A, premultiplied; a grey is the plain mean of R, G and B, alpha ignored. Their results are the
// same bits by every compiler and instruction set, so that hashes of two phones compare.

/// Bit 8r + c of a 9 x 9 bitmap, its rows 64 bytes apart: whether pixel c of row r is brighter than its right
/// neighbour, greys cut to integers. The ninth row is read by nobody: kept, as the hash has 64 bits.
OSHashType dhash_rgba_9_9(const uint8_t* pixels);

/// 64 greys, one row after the other, as "1" where a grey is above their mean and "0" elsewhere.
std::string ahash_rgba_8_8(const double* greys);

/// The greys of a 32 x 32 bitmap, its rows 128 bytes apart, cut to integers; 1,024 of them. Only printed: the
/// hash is made of greys that keep their fraction.
void greyscale_pixels_rgba_32_32(const uint8_t* pixels, double* greys);

/// The two-dimensional cosine transform of 32 x 32 values, of which only the 8 x 8 lowest frequencies, the
/// ones a hash uses, are computed: out[32 u + v] for u, v below 8. The rest of the 32 x 32 outputs is left as
/// it is.
///
///   out[u][v] = 0.25 c(u) c(v) sum over x, then y, of (in[x][y] cos((2x + 1) u pi / 64)) cos((2y + 1) v pi /
///   64)
///
/// with c(0) = 0.7071067811865475 and c = 1 elsewhere. Every output is summed in that order by itself, so the
/// bits are those of the direct double sum; a transform by separate passes is faster and decides differently
/// on flat pictures, whose bits are rounding.
void dct_rgba_32_32(const double* in, double* out);

/// The mean of the 8 x 8 outputs, rows 32 apart, without the first, which is the picture's brightness.
double fast_avg_no_first_el_rgba_8_8(const double* out);

/// The same 8 x 8 outputs without the first as "1" where one is above the average: 63 characters.
std::string phash_rgba_8_8(const double* out, double average);

} // namespace lumora
