// The separable blur against OpenCV's GaussianBlur with the same radius and the same border: an independent hand.
// OpenCV sums in float when it is given floats, so it is given doubles; it then differs by the rounding of our taps to
// float (6e-8 each) and of our two stored passes.
#include "process/blur.h"
#include "tests/process/planes.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace velloid {
namespace {

using namespace velloid::test;

TEST(Blur, AgreesWithOpenCv) {
    const Size size{83, 59};
    const Plane plane = scene(size, 21);
    const double peak = *std::max_element(plane.begin(), plane.end());
    for (const double sigma : {0.6, 1.0, 2.0, 7.3}) {
        cv::Mat source(size.h, size.w, CV_64F);
        std::copy(plane.begin(), plane.end(), source.begin<double>());
        cv::Mat expected;
        const int length = 2 * static_cast<int>(std::ceil(3.0 * sigma)) + 1;
        cv::GaussianBlur(source, expected, {length, length}, sigma, sigma, cv::BORDER_REPLICATE);
        Plane got = plane;
        blurSeparable(got.data(), size.w, size.h, sigma, sigma);
        for (int y = 0; y < size.h; ++y) {
            for (int x = 0; x < size.w; ++x) {
                EXPECT_NEAR(got[static_cast<std::size_t>(y * size.w + x)], expected.at<double>(y, x), 3e-7 * peak)
                    << "sigma " << sigma << " at " << x << ", " << y;
            }
        }
    }
}

} // namespace
} // namespace velloid
