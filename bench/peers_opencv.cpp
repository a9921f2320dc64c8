#include "bench/peers.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <memory>

namespace tarnwell::bench {

namespace {

// A header over a plane; OpenCV only reads it.
cv::Mat matOf(const Plane& plane, const Size& size) {
    return cv::Mat(size.height, size.width, CV_32F, const_cast<float*>(plane.data()));
}

std::shared_ptr<std::vector<cv::Mat>> matrices(const Size& size, std::size_t count) {
    auto made = std::make_shared<std::vector<cv::Mat>>();
    for (std::size_t i = 0; i < count; ++i)
        made->push_back(cv::Mat::zeros(size.height, size.width, CV_32F));
    return made;
}

// The same motion as an inverse map: destination pixel to source position.
cv::Mat sourceOf(const velloid::WeaveMotion& motion, const Size& size) {
    const double centreX = (size.width - 1) * 0.5;
    const double centreY = (size.height - 1) * 0.5;
    const double c = std::cos(motion.angle);
    const double s = std::sin(motion.angle);
    const double tx = -centreX - motion.dx;
    const double ty = -centreY - motion.dy;
    return (cv::Mat_<double>(2, 3) << c, s, centreX + c * tx + s * ty, -s, c, centreY - s * tx + c * ty);
}

} // namespace

Facts openCvFacts() {
    return {{"OpenCV", cv::getVersionString()}};
}

Peer opencvBlur(const Plane& plane, const Size& size, double sigma) {
    cv::setNumThreads(1);
    const cv::Mat source = matOf(plane, size);
    const auto result = matrices(size, 1);
    const int length = 2 * static_cast<int>(std::ceil(3.0 * sigma)) + 1;
    return {{[=] {
                 cv::GaussianBlur(source, (*result)[0], {length, length}, sigma, sigma, cv::BORDER_REPLICATE);
             },
             {}},
            [=] { return Planes{Plane((*result)[0].begin<float>(), (*result)[0].end<float>())}; }};
}

Peer opencvRandn(const Size& size) {
    cv::setNumThreads(1);
    const auto result = matrices(size, 3);
    return {{[=] {
                 for (cv::Mat& plane : *result)
                     cv::randn(plane, 0.0, 0.5773502691896258);
             },
             {}},
            {}};
}

Peer opencvWarp(const Planes& planes, const Size& size, const velloid::WeaveMotion& motion) {
    cv::setNumThreads(1);
    const auto result = matrices(size, planes.size());
    const cv::Mat map = sourceOf(motion, size);
    const Planes* source = &planes;
    const Size s = size;
    return {{[=] {
                 for (std::size_t c = 0; c < source->size(); ++c) {
                     cv::warpAffine(matOf((*source)[c], s), (*result)[c], map, {s.width, s.height},
                                    cv::INTER_LANCZOS4 | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
                 }
             },
             {}},
            {}};
}

} // namespace tarnwell::bench
