// k_decode, k_encode_out and k_to_logc4 against color/colorspace.
//
// Tolerances: a float exponent of up to 24 (in powers of two) carries half an ulp of 2^-20, which the power turns into
// a relative error of about 1e-6; OpenCL allows its functions 3 to 16 ulp more. 1e-5 relative leaves a factor of three.
// Codes are logarithms: there the same errors are absolute, below 2e-6.
#include "color/colorspace.h"
#include "tests/metal/kernel_rig.h"
#include "tests/metal/kernel_twins.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velloid::gpu {
namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr float INFINITE = std::numeric_limits<float>::infinity();

// The CPU's curve, but LogC4 with the kernels' own constants.
double decodeTwin(double v, int io) {
    return io == 0 ? twin::logC4Decode(v) : transferDecode(v, IOSpace(io));
}
double encodeTwin(double x, int io) {
    return io == 0 ? twin::logC4Encode(x) : transferEncode(x, IOSpace(io));
}

struct Planes {
    std::vector<float> R, G, B;
};

Planes decode(const std::vector<float>& image, const FrameParams& p) {
    const auto n = static_cast<std::size_t>(p.W * p.H);
    Planes out{std::vector<float>(n), std::vector<float>(n), std::vector<float>(n)};
    runKernel("k_decode", p.W, p.H, {image, out.R, out.G, out.B, p});
    return out;
}

std::vector<float> encode(const Planes& planes, const std::vector<float>& source, const FrameParams& p,
                          const std::vector<float>& table = {0.0f}) {
    std::vector<float> image(static_cast<std::size_t>(p.dstStride * p.H), -7.0f);
    runKernel("k_encode_out", p.W, p.H, {planes.R, planes.G, planes.B, source, image, table, p});
    return image;
}

// A row of grey pixels.
std::vector<float> greys(const std::vector<float>& values, int components) {
    std::vector<float> image;
    for (const float v : values) {
        image.insert(image.end(), {v, v, v});
        if (components == 4) image.push_back(1.0f);
    }
    return image;
}

Planes decodeOne(std::vector<float> pixel, int io, bool premultiplied = false) {
    FrameParams p = neutralParams(1, 1, static_cast<int>(pixel.size()));
    p.io = io;
    p.premultiplied = premultiplied ? 1 : 0;
    return decode(pixel, p);
}

TEST(KernelDecode, FollowsTheCpuCurveInEveryEncoding) {
    NEED_KERNELS();
    const std::vector<float> codes = ramp(211, -0.3f, 1.2f);
    for (int io = 0; io < IO_SPACE_COUNT; ++io) {
        FrameParams p = neutralParams(211, 1, 3);
        p.io = io;
        const Planes got = decode(greys(codes, 3), p);
        const auto want = mapped(codes, [io](double v) { return decodeTwin(v, io); });
        const std::string what = std::string("decoding ") + ioSpaceLabel(IOSpace(io));
        expectClose(got.R, want, 2e-6, 1e-5, what);
        EXPECT_EQ(got.R, got.G) << what;
        EXPECT_EQ(got.R, got.B) << what;
    }
}

TEST(KernelEncode, FollowsTheCpuCurveInEveryEncoding) {
    NEED_KERNELS();
    // Down to just above the point where Cineon's clamp takes over, and up to bright highlights.
    std::vector<float> linear = ramp(101, -0.0105f, 0.05f);
    for (const float v : ramp(110, 0.051f, 90.0f))
        linear.push_back(v);
    const int n = static_cast<int>(linear.size());
    for (int io = 0; io < IO_SPACE_COUNT; ++io) {
        FrameParams p = neutralParams(n, 1, 3);
        p.io = io;
        const std::vector<float> image = encode({linear, linear, linear}, greys(linear, 3), p);
        std::vector<float> red;
        for (int i = 0; i < n; ++i)
            red.push_back(image[static_cast<std::size_t>(3 * i)]);
        const auto want = mapped(linear, [io](double x) { return encodeTwin(x, io); });
        // Cineon's argument x*(1 - bo) + bo nearly cancels there: half an ulp of bo becomes 2e-5 in code.
        const double absolute = io == static_cast<int>(IOSpace::Cineon) ? 2e-5 : 3e-6;
        expectClose(red, want, absolute, 2e-6, std::string("encoding to ") + ioSpaceLabel(IOSpace(io)));
    }
}

TEST(KernelLogC4, DiffersFromTheCpuByItsOwnConstantsOnly) {
    NEED_KERNELS();
    const std::vector<float> linear = ramp(200, -0.05f, 60.0f);
    std::vector<float> codes(linear.size());
    runKernel("k_to_logc4", 200, 1, {linear, codes, neutralParams(200, 1)});
    expectClose(codes, mapped(linear, twin::logC4Encode), 3e-6, 0.0, "LogC4 with the kernels' constants");
    double difference = 0.0;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        difference = std::max(difference, std::fabs(codes[i] - logc4::encode(linear[i])));
    }
    EXPECT_LT(difference, 1e-5) << "A and C differ in the sixth digit";
    EXPECT_GT(difference, 3e-6) << "the kernels keep their own A and C";
}

TEST(KernelDecode, PassesLinearAndUnknownEncodingsThrough) {
    NEED_KERNELS();
    for (const int io : {1, 3, 5, 17, 99, -1}) {
        const Planes got = decodeOne({0.25f, -3.0f, 500.0f}, io);
        EXPECT_EQ(got.R[0], 0.25f) << "encoding " << io;
        EXPECT_EQ(got.G[0], -3.0f) << "encoding " << io;
        EXPECT_EQ(got.B[0], 500.0f) << "encoding " << io;
    }
}

TEST(KernelDecode, TakesANonFiniteSourceAsCodeZero) {
    NEED_KERNELS();
    const Planes linear = decodeOne({NOT_A_NUMBER, INFINITE, -INFINITE}, 1);
    EXPECT_EQ(linear.R[0], 0.0f);
    EXPECT_EQ(linear.G[0], 0.0f);
    EXPECT_EQ(linear.B[0], 0.0f);
    const Planes log = decodeOne({NOT_A_NUMBER, INFINITE, -INFINITE}, 0);
    for (const float v : {log.R[0], log.G[0], log.B[0]})
        EXPECT_NEAR(v, twin::logC4Decode(0.0), 1e-7);
}

TEST(KernelDecode, TakesANonFiniteCurveValueAsZero) {
    NEED_KERNELS();
    const Planes got = decodeOne({1e30f, 0.0f, -1e30f}, 0); // 2^(1e31) is infinite; the straight part is not
    EXPECT_EQ(got.R[0], 0.0f);
    EXPECT_NEAR(got.B[0], -1.135972086e29, 1e23);
}

TEST(KernelDecode, TakesANonFiniteMatrixValueAsZero) {
    NEED_KERNELS();
    FrameParams p = neutralParams(1, 1, 3);
    p.ioHasMatrix = 1;
    p.toAWG4[0] = 4.0f; // overflows
    p.toAWG4[4] = 0.5f;
    const Planes got = decode({3e38f, 2.0f, 1.0f}, p);
    EXPECT_EQ(got.R[0], 0.0f);
    EXPECT_EQ(got.G[0], 1.0f);
    EXPECT_EQ(got.B[0], 1.0f);
}

TEST(KernelDecode, DividesByAlphaAndMakesATransparentPixelBlack) {
    NEED_KERNELS();
    EXPECT_EQ(decodeOne({0.25f, 0.5f, 1.0f, 0.5f}, 1, true).R[0], 0.5f);
    EXPECT_EQ(decodeOne({0.25f, 0.5f, 1.0f, 0.5f}, 1, false).R[0], 0.25f);
    for (const float alpha : {0.0f, 1e-8f, -1.0f, NOT_A_NUMBER, INFINITE, -INFINITE}) {
        const Planes got = decodeOne({0.25f, 0.5f, 1.0f, alpha}, 1, true);
        EXPECT_EQ(got.R[0], 0.0f) << "alpha " << alpha;
        EXPECT_EQ(got.B[0], 0.0f) << "alpha " << alpha;
    }
    EXPECT_NEAR(decodeOne({0.25f, 0.5f, 1.0f, 0.0f}, 0, true).R[0], twin::logC4Decode(0.0), 1e-7) << "black is code 0";
}

TEST(KernelDecode, AppliesMatrixThenFlickerAndHonoursThePaddingOfRows) {
    NEED_KERNELS();
    FrameParams p = neutralParams(2, 2, 4);
    p.srcStride = 11;
    p.ioHasMatrix = 1;
    const float matrix[9] = {0.5f, 0.25f, 0.125f, 1.0f, 2.0f, 3.0f, -1.0f, 0.0f, 1.0f};
    std::copy(matrix, matrix + 9, p.toAWG4);
    p.flickR = 1.5f;
    p.flickG = 0.5f;
    p.flickB = 2.0f;
    std::vector<float> image(22, NOT_A_NUMBER);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) {
            const float v = static_cast<float>(1 + x + 2 * y);
            const auto at = static_cast<std::size_t>(y * 11 + x * 4);
            image[at] = v;
            image[at + 1] = 2 * v;
            image[at + 2] = 4 * v;
        }
    }
    const Planes got = decode(image, p);
    for (std::size_t i = 0; i < 4; ++i) {
        const float v = static_cast<float>(i + 1);
        EXPECT_FLOAT_EQ(got.R[i], 1.5f * v * 1.5f) << i;
        EXPECT_FLOAT_EQ(got.G[i], 17.0f * v * 0.5f) << i;
        EXPECT_FLOAT_EQ(got.B[i], 3.0f * v * 2.0f) << i;
    }
}

TEST(KernelEncode, SanitisesBeforeAndAfterTheCurve) {
    NEED_KERNELS();
    FrameParams p = neutralParams(3, 1, 3);
    p.io = 0;
    // Not a number and infinity are black before the curve.
    const std::vector<float> odd = {NOT_A_NUMBER, INFINITE, -INFINITE};
    const std::vector<float> image = encode({odd, odd, odd}, std::vector<float>(9), p);
    for (const float code : image)
        EXPECT_NEAR(code, twin::logC4Encode(0.0), 3e-6);
    // The matrix overflows: black as well.
    p.ioHasMatrix = 1;
    p.fromAWG4[0] = 4.0f;
    const std::vector<float> huge(3, 3e38f);
    const std::vector<float> after = encode({huge, {0, 0, 0}, {0, 0, 0}}, std::vector<float>(9), p);
    EXPECT_NEAR(after[0], twin::logC4Encode(0.0), 3e-6);
}

TEST(KernelEncode, AppliesTheMatrixAndHonoursThePaddingOfRows) {
    NEED_KERNELS();
    FrameParams p = neutralParams(2, 2, 3);
    p.dstStride = 9;
    p.ioHasMatrix = 1;
    const float matrix[9] = {0.5f, 0.25f, 0.125f, 1.0f, 2.0f, 3.0f, -1.0f, 0.0f, 1.0f};
    std::copy(matrix, matrix + 9, p.fromAWG4);
    const std::vector<float> image = encode({{1, 2, 3, 4}, {2, 4, 6, 8}, {4, 8, 12, 16}}, std::vector<float>(12), p);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) {
            const float v = static_cast<float>(1 + x + 2 * y);
            const auto at = static_cast<std::size_t>(y * 9 + x * 3);
            EXPECT_FLOAT_EQ(image[at], 1.5f * v);
            EXPECT_FLOAT_EQ(image[at + 1], 17.0f * v);
            EXPECT_FLOAT_EQ(image[at + 2], 3.0f * v);
        }
        EXPECT_EQ(image[static_cast<std::size_t>(y * 9 + 6)], -7.0f) << "padding is left alone";
    }
}

TEST(KernelEncode, CarriesAlphaAsItIsAndMultipliesOnlyWhenAsked) {
    NEED_KERNELS();
    FrameParams p = neutralParams(3, 1, 4);
    const std::vector<float> source = {0, 0, 0, 0.5f, 0, 0, 0, 7.0f, 0, 0, 0, -2.0f};
    const Planes planes{{1, 1, 1}, {2, 2, 2}, {4, 4, 4}};
    EXPECT_EQ(encode(planes, source, p), (std::vector<float>{1, 2, 4, 0.5f, 1, 2, 4, 7, 1, 2, 4, -2}));
    p.premultiplied = 1;
    EXPECT_EQ(encode(planes, source, p), (std::vector<float>{0.5f, 1, 2, 0.5f, 7, 14, 28, 7, -2, -4, -8, -2}));
}

TEST(KernelEncode, DecodingWhatItEncodedReturnsTheImage) {
    NEED_KERNELS();
    const std::vector<float> codes = ramp(64, 0.02f, 0.95f);
    for (int io = 0; io < IO_SPACE_COUNT; ++io) {
        FrameParams p = neutralParams(64, 1, 3);
        p.io = io;
        const std::vector<float> image = greys(codes, 3);
        const Planes linear = decode(image, p);
        const std::vector<float> back = encode(linear, image, p);
        // Near Apple Log's foot and in Cineon's blacks the slope of the curve magnifies half an ulp of the linear
        // value.
        expectClose(back, std::vector<double>(image.begin(), image.end()), 3e-5, 0.0, ioSpaceLabel(IOSpace(io)));
    }
}

} // namespace
} // namespace velloid::gpu
