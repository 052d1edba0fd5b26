#pragma once

#include <span>

namespace lumora {

/// One way to compute `dct_rgba_32_32`, which takes the first that this machine can run.
struct DCTKernel {
    const char* name;
    bool (*isSupported)();
    void (*run)(const double* in, double* out);
};

/// All that were built in, the fastest first. They differ in speed alone, which is compared bit by bit. Any
/// thread.
std::span<const DCTKernel> dctKernels();

} // namespace lumora
