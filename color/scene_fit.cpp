#include "color/scene_fit.h"

#include "color/strength.h"
#include "process/parallel_pool.h"
#include "rows/kernels.h"

#include <cstddef>
#include <stdexcept>

namespace velloid {

namespace {

// House values. The luma weights are those of ITU-R BT.709, here on codes.
// clang-format off
constexpr SceneFit SCENE_FIT = {
    {0.2126, 0.7152, 0.0722},
    {
        //       r            g           b            y           y^2          y^3      offset
        {0.52561351, -0.20036957, 0.16076259, -0.01995183, 2.90819387, -2.81059305, -0.00372917}, // red
        {0.08046982,  0.36078562, 0.2541334,   0.29349019, 0.99615914, -1.1356132,  -0.0153253},  // green
        {0.22403965, -0.2362622,  1.03644024, -0.04651291, 0.98702949, -1.25492974, -0.01487571}, // blue
    },
};
// clang-format on

} // namespace

RowFunction sceneFitRows(double strength) {
    return [amount = clampStrength(strength)](float* r, float* g, float* b, std::size_t n) {
        rowKernels().transfer.sceneFit(r, g, b, n, amount, SCENE_FIT);
    };
}

void applySceneFit(std::vector<float>& R, std::vector<float>& G, std::vector<float>& B, int width, int height,
                   double strength) {
    if (clampStrength(strength) <= 0.0 || width <= 0 || height <= 0) return;
    const std::size_t columns = static_cast<std::size_t>(width);
    const std::size_t samples = columns * static_cast<std::size_t>(height);
    if (R.size() < samples || G.size() < samples || B.size() < samples)
        throw std::invalid_argument("scene fit: a plane is smaller than width x height");
    const RowFunction fit = sceneFitRows(strength);
    parallelFor(0, height, [&](int begin, int end) {
        const std::size_t first = static_cast<std::size_t>(begin) * columns;
        fit(&R[first], &G[first], &B[first], static_cast<std::size_t>(end - begin) * columns);
    });
}

} // namespace velloid
