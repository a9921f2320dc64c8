// Runs single kernels over small planes, on whatever runtime the test program is built for: the reference device or an
// OpenCL runtime. The library is compiled once per process.
#pragma once

#include "metal/compute_device.h"
#include "metal/frame_params.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velloid::gpu {

// Where the kernels run. Each test program links one definition.
struct RigSource {
    std::shared_ptr<void> owner; // keeps the queue's world alive; null: nothing to run on
    std::shared_ptr<CommandQueue> queue;
    std::string why; // for a skip, when there is no queue
};
RigSource rigSource();

// One argument of a kernel. Vectors become buffers and are read back when they are not const; the same vector given
// twice is the same buffer.
struct Argument {
    Argument(std::vector<float>& plane) : data(plane.data()), bytes(plane.size() * sizeof(float)), readBack(true) {}
    Argument(const std::vector<float>& plane)
        : data(const_cast<float*>(plane.data())), bytes(plane.size() * sizeof(float)) {}
    Argument(const std::vector<int>& cells) : data(const_cast<int*>(cells.data())), bytes(cells.size() * sizeof(int)) {}
    Argument(const FrameParams& p) : data(const_cast<FrameParams*>(&p)), bytes(sizeof p) {}
    Argument(const GrainParams& p) : data(const_cast<GrainParams*>(&p)), bytes(sizeof p) {}
    Argument(float number) : bytes(sizeof number), isValue(true) { store(&number); }
    Argument(int number) : bytes(sizeof number), isValue(true) { store(&number); }
    // int2 and int4
    Argument(std::initializer_list<int> values) : bytes(values.size() * sizeof(int)), isValue(true) {
        store(values.begin());
    }

    void* data = nullptr;
    std::size_t bytes = 0;
    bool readBack = false;
    bool isValue = false;
    std::vector<std::byte> value;

private:
    void store(const void* from) {
        const auto* first = static_cast<const std::byte*>(from);
        value.assign(first, first + bytes);
    }
};

// True when this machine can run kernels in this program; otherwise `why` says what is missing.
bool rigAvailable(std::string& why);

// Runs a kernel over width x height pixels in groups of 16 x 16 and waits for it. Throws std::runtime_error with the
// runtime's words when it fails.
void runKernel(const std::string& name, int width, int height, const std::vector<Argument>& arguments);

// The names of the compiled library.
std::vector<std::string> rigFunctionNames();

// A record with neutral values: no matrix, gains 1, domains 0 .. 1.
FrameParams neutralParams(int width, int height, int components = 4);

// Fails the test with the worst element when |got - want| > absolute + relative * |want| anywhere, or either is not a
// number.
void expectClose(const std::vector<float>& got, const std::vector<double>& want, double absolute, double relative,
                 const std::string& what);

// `count` values from `low` to `high`, evenly spaced.
std::vector<float> ramp(int count, float low, float high);

// Repeatable values in [low, high).
std::vector<float> scatter(int count, float low, float high, unsigned seed = 1);

std::vector<double> mapped(const std::vector<float>& values, const std::function<double(double)>& function);

} // namespace velloid::gpu

// At the start of every test that runs kernels.
#define NEED_KERNELS()                                                                                                 \
    if (std::string why; !::velloid::gpu::rigAvailable(why)) GTEST_SKIP() << why
