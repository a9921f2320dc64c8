// The compiled library as the renderer meets it.
#include "tests/metal/kernel_rig.h"
#include "tests/metal/reference_kernels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velloid::gpu {
namespace {

TEST(KernelLibrary, NamesExactlyTheKernelsOfTheRenderer) {
    NEED_KERNELS();
    std::vector<std::string> want;
    for (const CompiledKernel& kernel : compiledKernels())
        want.emplace_back(kernel.name);
    EXPECT_EQ(want.size(), 21u);
    EXPECT_THAT(rigFunctionNames(), testing::UnorderedElementsAreArray(want));
}

} // namespace
} // namespace velloid::gpu
