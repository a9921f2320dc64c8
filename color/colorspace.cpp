#include "color/colorspace.h"

#include "color/curves/aces.h"
#include "color/curves/apple.h"
#include "color/curves/arri.h"
#include "color/curves/blackmagic.h"
#include "color/curves/canon.h"
#include "color/curves/cineon.h"
#include "color/curves/fujifilm.h"
#include "color/curves/panasonic.h"
#include "color/curves/rec709.h"
#include "color/curves/red.h"
#include "color/curves/sony.h"
#include "color/matrix_tables.h"
#include "rows/kernels.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <string>

namespace velloid {

namespace {

namespace linear {
double decode(double v) {
    return v;
}
double encode(double x) {
    return x;
}
constexpr CurveRow DECODE_ROW = {};
constexpr CurveRow ENCODE_ROW = {};
} // namespace linear

struct Curve {
    double (*decode)(double v);
    double (*encode)(double x);
    CurveRow decodeRow;
    CurveRow encodeRow;
};

#define CURVE_OF(maker)                                                                                                \
    Curve {                                                                                                            \
        maker::decode, maker::encode, maker::DECODE_ROW, maker::ENCODE_ROW                                             \
    }

struct Encoding {
    const char* label;
    Curve curve;
    const double* toAwg4; // null: the encoding's gamut is AWG4
    const double* fromAwg4;
};

// clang-format off
constexpr Encoding ENCODINGS[] = {
    {"LogC4/AWG4",               CURVE_OF(logc4),                nullptr,             nullptr},
    {"Linear/AWG4",              CURVE_OF(linear),               nullptr,             nullptr},
    {"LogC3/AWG3",               CURVE_OF(logc3),                CS_MAT_AWG3_TO_AWG4, CS_MAT_AWG4_TO_AWG3},
    {"Linear/AWG3",              CURVE_OF(linear),               CS_MAT_AWG3_TO_AWG4, CS_MAT_AWG4_TO_AWG3},
    {"DaVinci Intermediate/DWG", CURVE_OF(davinci_intermediate), CS_MAT_TO_AWG4[0],   CS_MAT_FROM_AWG4[0]},
    {"Linear/DWG",               CURVE_OF(linear),               CS_MAT_TO_AWG4[1],   CS_MAT_FROM_AWG4[1]},
    {"ACEScct/AP1",              CURVE_OF(acescct),              CS_MAT_TO_AWG4[2],   CS_MAT_FROM_AWG4[2]},
    {"Rec709 G2.4",              CURVE_OF(rec709),               CS_MAT_TO_AWG4[3],   CS_MAT_FROM_AWG4[3]},
    {"S-Log3/S-Gamut3.Cine",     CURVE_OF(slog3),                CS_MAT_TO_AWG4[4],   CS_MAT_FROM_AWG4[4]},
    {"V-Log/V-Gamut",            CURVE_OF(vlog),                 CS_MAT_TO_AWG4[5],   CS_MAT_FROM_AWG4[5]},
    {"C-Log2/Cinema Gamut",      CURVE_OF(clog2),                CS_MAT_TO_AWG4[6],   CS_MAT_FROM_AWG4[6]},
    {"C-Log3/Cinema Gamut",      CURVE_OF(clog3),                CS_MAT_TO_AWG4[7],   CS_MAT_FROM_AWG4[7]},
    {"F-Log/F-Gamut",            CURVE_OF(flog),                 CS_MAT_TO_AWG4[8],   CS_MAT_FROM_AWG4[8]},
    {"Log3G10/RWG",              CURVE_OF(log3g10),              CS_MAT_TO_AWG4[9],   CS_MAT_FROM_AWG4[9]},
    {"BMD Film Gen5",            CURVE_OF(bmd_film_gen5),        CS_MAT_TO_AWG4[10],  CS_MAT_FROM_AWG4[10]},
    {"Cineon (Rec709)",          CURVE_OF(cineon),               CS_MAT_TO_AWG4[11],  CS_MAT_FROM_AWG4[11]},
    {"Apple Log",                CURVE_OF(apple_log),            CS_MAT_TO_AWG4[12],  CS_MAT_FROM_AWG4[12]},
};
// clang-format on
static_assert(std::size(ENCODINGS) == IO_SPACE_COUNT, "one row per encoding");

#undef CURVE_OF

const Encoding* findEncoding(IOSpace space) {
    const auto index = static_cast<unsigned>(space);
    return index < std::size(ENCODINGS) ? &ENCODINGS[index] : nullptr;
}

const Encoding& encodingOf(IOSpace space) {
    if (const Encoding* encoding = findEncoding(space)) return *encoding;
    throw std::out_of_range("no I/O encoding " + std::to_string(static_cast<int>(space)) + "; there are 0 to " +
                            std::to_string(IO_SPACE_COUNT - 1));
}

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

// One row of a matrix; the order of rounding is part of the result, and the same in rows/transfer_rows.inl.
double mix(const double* m, double r, double g, double b) {
    return std::fma(m[2], b, std::fma(m[0], r, m[1] * g));
}

struct Pixel {
    double r, g, b;
};

Pixel multiply(const double* m, const Pixel& p) {
    return m ? Pixel{mix(m, p.r, p.g, p.b), mix(m + 3, p.r, p.g, p.b), mix(m + 6, p.r, p.g, p.b)} : p;
}

} // namespace

constinit const std::array<const char*, IO_SPACE_COUNT> kIONames = [] {
    std::array<const char*, IO_SPACE_COUNT> labels{};
    std::transform(std::begin(ENCODINGS), std::end(ENCODINGS), labels.begin(),
                   [](const Encoding& encoding) { return encoding.label; });
    return labels;
}();

const char* ioSpaceLabel(IOSpace space) {
    return encodingOf(space).label;
}

double transferDecode(double v, IOSpace space) {
    const Encoding* encoding = findEncoding(space);
    return encoding ? encoding->curve.decode(v) : v;
}

double transferEncode(double x, IOSpace space) {
    const Encoding* encoding = findEncoding(space);
    return encoding ? encoding->curve.encode(x) : x;
}

void decodeToLinearAWG4(double r, double g, double b, IOSpace space, double& R, double& G, double& B) {
    const Encoding& e = encodingOf(space);
    const auto decode = [&e](double v) { return finiteOr0(e.curve.decode(finiteOr0(v))); };
    const Pixel working = multiply(e.toAwg4, {decode(r), decode(g), decode(b)});
    R = finiteOr0(working.r);
    G = finiteOr0(working.g);
    B = finiteOr0(working.b);
}

void encodeFromLinearAWG4(double R, double G, double B, IOSpace space, double& r, double& g, double& b) {
    const Encoding& e = encodingOf(space);
    const Pixel native = multiply(e.fromAwg4, {finiteOr0(R), finiteOr0(G), finiteOr0(B)});
    r = finiteOr0(e.curve.encode(native.r));
    g = finiteOr0(e.curve.encode(native.g));
    b = finiteOr0(e.curve.encode(native.b));
}

void decodeRowToLinearAWG4(float* r, float* g, float* b, std::size_t n, IOSpace space) {
    const Encoding& e = encodingOf(space);
    rowKernels().transfer.decode(r, g, b, n, e.curve.decodeRow, e.toAwg4);
}

void encodeRowFromLinearAWG4(float* r, float* g, float* b, std::size_t n, IOSpace space) {
    const Encoding& e = encodingOf(space);
    rowKernels().transfer.encode(r, g, b, n, e.curve.encodeRow, e.fromAwg4);
}

void decodeRowToLinearAWG4(const double* r, const double* g, const double* b, float* R, float* G, float* B,
                           std::size_t n, IOSpace space) {
    const Encoding& e = encodingOf(space);
    rowKernels().transfer.decodeCodes(r, g, b, R, G, B, n, e.curve.decodeRow, e.toAwg4);
}

void encodeRowFromLinearAWG4(const float* R, const float* G, const float* B, double* r, double* g, double* b,
                             std::size_t n, IOSpace space) {
    const Encoding& e = encodingOf(space);
    rowKernels().transfer.encodeCodes(R, G, B, r, g, b, n, e.curve.encodeRow, e.fromAwg4);
}

void logc4EncodeRow(const float* in, float* out, std::size_t n) {
    rowKernels().transfer.logc4Encode(in, out, n);
}

void logc4DecodeRow(const float* in, float* out, std::size_t n) {
    rowKernels().transfer.logc4Decode(in, out, n);
}

} // namespace velloid
