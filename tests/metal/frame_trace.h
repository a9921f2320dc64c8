// What the reference device was asked to run, in words: "k_blur_h T1 T4 w12" for a blur with a radius of 12 from one
// plane to another. Planes by their role, weights by radius, other tables as "table"; values and constants left out.
#pragma once

#include "metal/frame_params.h"
#include "tests/metal/reference_device.h"

#include <map>
#include <string>
#include <vector>

namespace velloid::gpu {

class FrameTrace {
public:
    // Learns the roles of the seven planes from a frame of which only grain was on.
    FrameTrace(const std::vector<RanKernel>& grainFrame, const void* src, const void* dst) {
        names[src] = "src";
        names[dst] = "dst";
        for (const RanKernel& kernel : grainFrame) {
            if (kernel.name == "k_blur_h") names[kernel.at(1).buffer] = "T4";
            if (kernel.name != "k_grain_prepare") continue;
            static const char* const ROLES[] = {"P0", "P1", "P2", "T1", "T2", "T3"};
            for (unsigned i = 0; i < 6; ++i)
                names[kernel.at(i).buffer] = ROLES[i];
        }
    }

    std::string wordsFor(const RanKernel& kernel) const {
        std::string words = kernel.name;
        for (const RanArgument& argument : kernel.arguments) {
            if (argument.buffer && argument.index < 9) words += " " + role(kernel, argument);
        }
        return words;
    }

    std::vector<std::string> wordsFor(const std::vector<RanKernel>& kernels) const {
        std::vector<std::string> all;
        for (const RanKernel& kernel : kernels)
            all.push_back(wordsFor(kernel));
        return all;
    }

private:
    std::string role(const RanKernel& kernel, const RanArgument& argument) const {
        const auto known = names.find(argument.buffer);
        if (known != names.end()) return known->second;
        const bool isWeights = kernel.name.rfind("k_blur", 0) == 0 && argument.index == 2;
        return isWeights ? "w" + std::to_string(argument.length / sizeof(float) / 2) : "table";
    }

    std::map<const void*, std::string> names;
};

// The first kernel of that name. Throws std::out_of_range when none ran.
inline const RanKernel& firstOf(const std::vector<RanKernel>& kernels, const std::string& name) {
    for (const RanKernel& kernel : kernels) {
        if (kernel.name == name) return kernel;
    }
    throw std::out_of_range(name + " did not run");
}

inline FrameParams recordOf(const std::vector<RanKernel>& kernels) {
    return firstOf(kernels, "k_decode").value<FrameParams>(9);
}

} // namespace velloid::gpu
