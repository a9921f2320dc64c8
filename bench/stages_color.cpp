// Colour: curves, matrices, tables, and the two ends of the chain.
#include "bench/cube_file.h"
#include "bench/peers.h"
#include "bench/stages.h"
#include "color/colorspace.h"
#include "color/looks.h"
#include "color/matrix_tables.h"
#include "color/scene_fit.h"
#include "rows/kernels.h"
#include "tests/reference/chain_reference.h"
#include "tests/reference/looks_reference.h"
#include "tests/reference/lut_reference.h"
#include "tests/reference/transfer_reference.h"

#include <algorithm>
#include <memory>

namespace tarnwell::bench {

namespace {

using velloid::IOSpace;

constexpr IOSpace SLOG3 = IOSpace::SLog3;
constexpr int SLOG3_INDEX = static_cast<int>(SLOG3);
constexpr double LOOK_STRENGTH = 0.777; // the plug-in's default

const double* sLog3ToAwg4() {
    return velloid::CS_MAT_TO_AWG4[SLOG3_INDEX - velloid::CS_MAT_FIRST_SPACE];
}

const double* sLog3FromAwg4() {
    return velloid::CS_MAT_FROM_AWG4[SLOG3_INDEX - velloid::CS_MAT_FIRST_SPACE];
}

// ---- LogC4 of one plane -------------------------------------------------------------------------------------------

Contest logC4Decode(const Picture& picture) {
    const Plane& codes = picture.logC4[1];
    return onPlanes(
        copyOf(codes), Refill::Never,
        [&](Planes& p) { velloid::logc4DecodeRow(codes.data(), p[0].data(), codes.size()); },
        [&](Planes& p) { reference::logc4DecodeRow(codes.data(), p[0].data(), codes.size()); });
}

Contest logC4Encode(const Picture& picture) {
    const Plane& linear = picture.linear[1];
    return onPlanes(
        copyOf(linear), Refill::Never,
        [&](Planes& p) { velloid::logc4EncodeRow(linear.data(), p[0].data(), linear.size()); },
        [&](Planes& p) { reference::logc4EncodeRow(linear.data(), p[0].data(), linear.size()); });
}

// ---- S-Log3 and its matrix, three planes --------------------------------------------------------------------------

void decodeSLog3(Planes& p) {
    velloid::decodeRowToLinearAWG4(p[0].data(), p[1].data(), p[2].data(), p[0].size(), SLOG3);
}

void encodeSLog3(Planes& p) {
    velloid::encodeRowFromLinearAWG4(p[0].data(), p[1].data(), p[2].data(), p[0].size(), SLOG3);
}

Contest sLog3Decode(const Picture& picture) {
    return onPlanes(borrowed(picture.codes), Refill::Timed, decodeSLog3, [](Planes& p) {
        reference::decodeRow(p[0].data(), p[1].data(), p[2].data(), p[0].size(), SLOG3_INDEX, sLog3ToAwg4());
    });
}

Contest sLog3Encode(const Picture& picture) {
    return onPlanes(borrowed(picture.linear), Refill::Timed, encodeSLog3, [](Planes& p) {
        reference::encodeRow(p[0].data(), p[1].data(), p[2].data(), p[0].size(), SLOG3_INDEX, sLog3FromAwg4());
    });
}

Contest sLog3DecodeAgainstOcio(const Picture& picture) {
    return againstPeer(borrowed(picture.codes), Refill::Timed, decodeSLog3, ocioDecodeSLog3(picture));
}

Contest sLog3EncodeAgainstOcio(const Picture& picture) {
    return againstPeer(borrowed(picture.linear), Refill::Timed, encodeSLog3, ocioEncodeSLog3(picture));
}

// ---- tables -------------------------------------------------------------------------------------------------------

Work cube(const Size& size) {
    return
        [size](Planes& p) { velloid::applyCubeLut(p[0], p[1], p[2], size.width, size.height, 1.0, cubeFile().lut()); };
}

Contest cubeAgainstLiteral(const Picture& picture) {
    const Size size = picture.size;
    return onPlanes(borrowed(picture.codes), Refill::Unseen, cube(size), [size](Planes& p) {
        reference::applyCubeLut(p[0], p[1], p[2], size.width, size.height, 1.0, cubeFile().lut());
    });
}

Contest cubeAgainstOcio(const Picture& picture) {
    return againstPeer(borrowed(picture.codes), Refill::Unseen, cube(picture.size),
                       ocioCube(picture, cubeFile().path()));
}

Contest cubeAgainstFfmpeg(const Picture& picture) {
    return againstPeer(borrowed(picture.codes), Refill::Unseen, cube(picture.size),
                       ffmpegCube(picture, cubeFile().path()));
}

Contest printLook(const Picture& picture) {
    const Size size = picture.size;
    const velloid::LUT3D& lut = velloid::printLut(velloid::PrintProcess::CorvexClassicP0);
    return onPlanes(
        borrowed(picture.linear), Refill::Timed,
        [size, &lut](Planes& p) {
            velloid::applyPrintLut(p[0], p[1], p[2], size.width, size.height, LOOK_STRENGTH, lut);
        },
        [size, &lut](Planes& p) {
            reference::applyPrintLut(p[0], p[1], p[2], size.width, size.height, LOOK_STRENGTH, lut);
        });
}

Contest sceneFit(const Picture& picture) {
    const Size size = picture.size;
    return onPlanes(
        borrowed(picture.linear), Refill::Unseen,
        [size](Planes& p) { velloid::applySceneFit(p[0], p[1], p[2], size.width, size.height, LOOK_STRENGTH); },
        [](Planes& p) { reference::sceneFitRow(p[0].data(), p[1].data(), p[2].data(), p[0].size(), LOOK_STRENGTH); });
}

// ---- the ends of the chain ----------------------------------------------------------------------------------------

constexpr std::size_t BLOCK = 256; // pixels; code values of a block stay in the first-level cache
constexpr velloid::RowFormat RGBA_FLOATS{velloid::RowSample::Float, 4, false};

void importPixels(const std::vector<float>& pixels, Planes& p) {
    double r[BLOCK], g[BLOCK], b[BLOCK];
    for (std::size_t at = 0; at < p[0].size(); at += BLOCK) {
        const std::size_t n = std::min(BLOCK, p[0].size() - at);
        velloid::rowKernels().pixel.importPixels(RGBA_FLOATS, &pixels[4 * at], n, r, g, b, nullptr);
        velloid::decodeRowToLinearAWG4(r, g, b, &p[0][at], &p[1][at], &p[2][at], n, SLOG3);
    }
}

void exportPixels(const Planes& p, const std::vector<float>& source, std::vector<float>& pixels) {
    double r[BLOCK], g[BLOCK], b[BLOCK];
    for (std::size_t at = 0; at < p[0].size(); at += BLOCK) {
        const std::size_t n = std::min(BLOCK, p[0].size() - at);
        velloid::encodeRowFromLinearAWG4(&p[0][at], &p[1][at], &p[2][at], r, g, b, n, SLOG3);
        velloid::rowKernels().pixel.exportPixels(RGBA_FLOATS, r, g, b, nullptr, &source[4 * at], n, &pixels[4 * at]);
    }
}

Contest import(const Picture& picture) {
    const auto pixels = std::make_shared<const std::vector<float>>(streetPixels(picture.size));
    return onPlanes(
        borrowed(picture.codes), Refill::Never, [=](Planes& p) { importPixels(*pixels, p); },
        [=](Planes& p) {
            reference::ChainPlanes made = reference::importPixels(*pixels, p[0].size(), SLOG3_INDEX);
            p[0].swap(made.R);
            p[1].swap(made.G);
            p[2].swap(made.B);
        });
}

// Both sides write pixels; the one "plane" of the contest is the interleaved frame.
Contest exportFrame(const Picture& picture) {
    const Planes& linear = picture.linear;
    const auto source = std::make_shared<const std::vector<float>>(streetPixels(picture.size));
    const auto planes =
        std::make_shared<const reference::ChainPlanes>(reference::ChainPlanes{linear[0], linear[1], linear[2], {}});
    reference::ChainSettings settings;
    settings.ioSpace = SLOG3_INDEX;
    return onPlanes(
        copyOf(*source), Refill::Never, [=, &linear](Planes& p) { exportPixels(linear, *source, p[0]); },
        [=](Planes& p) { reference::exportPixels(*planes, {}, settings, p[0]); });
}

} // namespace

std::vector<Stage> colorStages() {
    // clang-format off
    return {
        {"logc4-decode",  "LogC4 decode",                       LITERAL,  "ns/sample", "T3", logC4Decode},
        {"logc4-encode",  "LogC4 encode",                       LITERAL,  "ns/sample", "T3", logC4Encode},
        {"slog3-decode",  "S-Log3 decode + matrix *",           LITERAL,  "ns/pixel",  "",   sLog3Decode},
        {"slog3-decode-ocio", "S-Log3 decode + matrix *",       "OCIO",   "ns/pixel",  "T4", sLog3DecodeAgainstOcio},
        {"slog3-encode",  "matrix + S-Log3 encode *",           LITERAL,  "ns/pixel",  "",   sLog3Encode},
        {"slog3-encode-ocio", "matrix + S-Log3 encode *",       "OCIO",   "ns/pixel",  "",   sLog3EncodeAgainstOcio},
        {"cube33",        ".cube, 33 points, tetrahedral",      LITERAL,  "ns/pixel",  "",   cubeAgainstLiteral},
        {"cube33-ocio",   ".cube, 33 points, tetrahedral",      "OCIO",   "ns/pixel",  "T8.ocio",   cubeAgainstOcio},
        {"cube33-ffmpeg", ".cube, 33 points, tetrahedral",      "ffmpeg", "ns/pixel",  "T8.ffmpeg", cubeAgainstFfmpeg},
        {"print-look",    "print look, 65 points, .777 *",      LITERAL,  "ns/pixel",  "T9", printLook},
        {"scene-fit",     "scene fit, .777",                    LITERAL,  "ns/pixel",  "",   sceneFit},
        {"import",        "RGBA floats to planes, S-Log3",      LITERAL,  "ns/pixel",  "",   import},
        {"export",        "planes to RGBA floats, S-Log3",      LITERAL,  "ns/pixel",  "",   exportFrame},
    };
    // clang-format on
}

} // namespace tarnwell::bench
