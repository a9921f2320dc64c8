#include "tests/metal/kernel_rig.h"

#include "metal/kernel_source.h"
#include "tests/metal/reference_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>

namespace velloid::gpu {

namespace {

struct Rig {
    RigSource source = rigSource();
    std::shared_ptr<Library> library;
    std::map<std::string, std::shared_ptr<ComputePipelineState>> pipelines;
    std::string failure;

    Rig() {
        if (!source.queue) return;
        library = source.queue->device()->newLibraryWithSource(kernelSource(), {true}, failure);
        if (!library) return;
        for (const std::string& name : library->functionNames()) {
            pipelines[name] = library->newComputePipelineState(name, failure);
        }
    }
};

Rig& rig() {
    static Rig only;
    return only;
}

const CompiledKernel& declared(const std::string& name) {
    for (const CompiledKernel& kernel : compiledKernels()) {
        if (name == kernel.name) return kernel;
    }
    throw std::invalid_argument("no kernel named " + name);
}

std::uint32_t groups(int size) {
    return static_cast<std::uint32_t>((size + 15) / 16);
}

} // namespace

bool rigAvailable(std::string& why) {
    why = rig().source.why;
    return rig().source.queue != nullptr;
}

std::vector<std::string> rigFunctionNames() {
    if (!rig().library) throw std::runtime_error(rig().failure);
    return rig().library->functionNames();
}

void runKernel(const std::string& name, int width, int height, const std::vector<Argument>& arguments) {
    Rig& on = rig();
    if (!on.library) throw std::runtime_error(on.failure);
    const CompiledKernel& kernel = declared(name);
    if (arguments.size() != kernel.indices.size()) throw std::invalid_argument(name + ": wrong number of arguments");

    const auto commands = on.source.queue->commandBuffer();
    const auto encoder = commands->computeCommandEncoder();
    encoder->setComputePipelineState(on.pipelines.at(name));
    std::map<void*, std::shared_ptr<Buffer>> buffers;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        const Argument& argument = arguments[k];
        if (argument.isValue) {
            encoder->setBytes(argument.value.data(), argument.bytes, kernel.indices[k]);
            continue;
        }
        auto& buffer = buffers[argument.data];
        if (!buffer) buffer = on.source.queue->device()->newBufferWithBytes(argument.data, argument.bytes);
        encoder->setBuffer(buffer, kernel.indices[k]);
    }
    encoder->dispatchThreadgroups({groups(width), groups(height), 1}, {16, 16, 1});
    encoder->endEncoding();
    commands->commit();
    commands->waitUntilCompleted();
    if (commands->status() != CommandBufferStatus::Completed) throw std::runtime_error(name + ": " + commands->error());
    for (const Argument& argument : arguments) {
        if (argument.readBack) std::memcpy(argument.data, buffers.at(argument.data)->contents(), argument.bytes);
    }
}

FrameParams neutralParams(int width, int height, int components) {
    FrameParams p{};
    p.W = width;
    p.H = height;
    p.components = components;
    p.srcStride = width * components;
    p.dstStride = width * components;
    p.io = 1;
    p.toAWG4[0] = p.toAWG4[4] = p.toAWG4[8] = 1.0f;
    p.fromAWG4[0] = p.fromAWG4[4] = p.fromAWG4[8] = 1.0f;
    p.flickR = p.flickG = p.flickB = 1.0f;
    p.lutInvR = p.lutInvG = p.lutInvB = 1.0f;
    p.outInvR = p.outInvG = p.outInvB = 1.0f;
    p.weaveCos = 1.0f;
    return p;
}

void expectClose(const std::vector<float>& got, const std::vector<double>& want, double absolute, double relative,
                 const std::string& what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    std::size_t worst = 0;
    double excess = -1.0;
    for (std::size_t i = 0; i < got.size(); ++i) {
        const double error = std::fabs(static_cast<double>(got[i]) - want[i]);
        const double over = error / (absolute + relative * std::fabs(want[i]));
        if (!(over <= excess)) { // also when it is not a number
            worst = i;
            excess = over;
            if (std::isnan(over)) break;
        }
    }
    if (got.empty()) return;
    EXPECT_LE(excess, 1.0) << what << ": element " << worst << " of " << got.size() << ": expected " << want[worst]
                           << ", got " << got[worst] << ", " << excess << " times the tolerance";
}

std::vector<float> ramp(int count, float low, float high) {
    std::vector<float> values(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] =
            low + (high - low) * static_cast<float>(i) / static_cast<float>(count - 1);
    }
    return values;
}

std::vector<float> scatter(int count, float low, float high, unsigned seed) {
    std::mt19937 next(seed);
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values) {
        value = low + (high - low) * static_cast<float>(next() >> 8) / 16777216.0f;
    }
    return values;
}

std::vector<double> mapped(const std::vector<float>& values, const std::function<double(double)>& function) {
    std::vector<double> results(values.size());
    std::transform(values.begin(), values.end(), results.begin(), [&](float v) { return function(v); });
    return results;
}

} // namespace velloid::gpu
