// The kernels compiled as C++, behind one signature.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velloid::gpu {

// Argument k of a kernel: a buffer's bytes, or a value.
struct KernelArgument {
    void* buffer = nullptr;
    std::vector<std::byte> value; // used when `buffer` is null
};

struct CompiledKernel {
    const char* name;
    std::vector<unsigned> indices;       // binding index of argument k
    std::vector<std::size_t> valueSizes; // bytes of argument k; 0: a buffer
    void (*run)(const std::vector<KernelArgument>&, std::uint32_t x, std::uint32_t y); // one thread of the grid
};

// All kernels, in the order of library.metal.
const std::vector<CompiledKernel>& compiledKernels();

// The same text compiled with the compiler's fast mathematics, to show what survives it.
const std::vector<CompiledKernel>& fastMathKernels();

// And by clang 19, at its three levels, where it is installed.
const std::vector<CompiledKernel>& fastMathClang19O1();
const std::vector<CompiledKernel>& fastMathClang19O2();
const std::vector<CompiledKernel>& fastMathClang19O3();

} // namespace velloid::gpu
