// Text of the row kernels in transfer_rows.h; compiled once per instruction set (see rows/text.inl).
//
// Both sides of a curve are computed and one is selected, so that the loops vectorise. The elementary function of the
// side that is not taken may get an argument outside its domain: its value is then dropped.

// Linear AWG4 to LogC4 code. A NaN fails the comparison and passes through the line; +infinity through the logarithm.
[[maybe_unused]] static inline double logc4EncodeOf(double x) {
    using namespace logc4_constants;
    constexpr double gain = B / 14.0;
    const double curved = fmadd(gain, log2Of(fmadd(A, x, 64.0)), C - 6.0 * gain);
    const double straight = fmadd(x, 1.0 / S, -T / S);
    return x >= T ? curved : straight;
}

// LogC4 code to linear AWG4. From code 66 on it is +infinity.
[[maybe_unused]] static inline double logc4DecodeOf(double v) {
    using namespace logc4_constants;
    const double stops = fmadd(14.0 / B, v, 6.0 - 14.0 * C / B);
    const double power = fmadd(exp2InRange(stops), 1.0 / A, -64.0 / A);
    const double curved = stops < 1024.0 ? power : __builtin_inf();
    const double straight = fmadd(v, S, T);
    return v >= 0.0 ? curved : straight;
}

// Two loops each, because one that might work in place or not is compiled with a test that falls back to scalar code.
static void logc4EncodeInPlace(float* v, size_t n) {
    for (size_t i = 0; i < n; ++i)
        v[i] = static_cast<float>(logc4EncodeOf(v[i]));
}

static void logc4EncodeApart(const float* __restrict in, float* __restrict out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(logc4EncodeOf(in[i]));
}

static void logc4Encode(const float* in, float* out, size_t n) {
    if (in == out) {
        logc4EncodeInPlace(out, n);
    } else {
        logc4EncodeApart(in, out, n);
    }
}

static void logc4DecodeInPlace(float* v, size_t n) {
    for (size_t i = 0; i < n; ++i)
        v[i] = static_cast<float>(logc4DecodeOf(v[i]));
}

static void logc4DecodeApart(const float* __restrict in, float* __restrict out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(logc4DecodeOf(in[i]));
}

static void logc4Decode(const float* in, float* out, size_t n) {
    if (in == out) {
        logc4DecodeInPlace(out, n);
    } else {
        logc4DecodeApart(in, out, n);
    }
}

// A non-finite value becomes 0.
static inline double finiteOr0(double v) {
    return __builtin_fabs(v) < __builtin_inf() ? v : 0.0;
}

struct CurveDecode {
    // Where the power overflows, the result is 0 at once: it would become 0 as every non-finite value does. A power
    // that is too small never occurs above a cut.
    static inline double curved(double gain, double y, double bias) {
        const double power = fmadd(gain, exp2InRange(y), bias);
        return y < 1024.0 ? power : 0.0;
    }
    static inline double parabola(const CurveRow& c, double in) { return __builtin_sqrt(c.slope * in) - c.intercept; }
};

struct CurveEncode {
    static inline double curved(double gain, double y, double bias) { return fmadd(gain, log2OfNormal(y), bias); }
    static inline double parabola(const CurveRow& c, double in) {
        const double root = in + c.intercept;
        return c.slope * (root * root);
    }
};

// One finite value through one direction of a curve. The result is finite.
template <class Direction, CurveShape SHAPE>
static inline double curveOf(const CurveRow& c, double in) {
    if constexpr (SHAPE == CurveShape::LogToe) {
        const double curved = Direction::curved(c.gain, fmadd(c.rate, in, c.start), c.bias);
        const double straight = fmadd(c.slope, in, c.intercept);
        return in < c.cut ? straight : curved;
    } else if constexpr (SHAPE == CurveShape::MirroredLog) {
        const bool lower = in < c.cut2;
        const double y = fmadd(lower ? -c.rate : c.rate, in, lower ? c.start2 : c.start);
        const double half = Direction::curved(c.gain, y, lower ? c.bias2 : c.bias);
        const double straight = fmadd(c.slope, in, c.intercept);
        const double upper = in < c.cut ? straight : half;
        return lower ? -half : upper;
    } else if constexpr (SHAPE == CurveShape::Parabola) {
        const double curved = Direction::curved(c.gain, fmadd(c.rate, in, c.start), c.bias);
        const double toe = in >= c.cut2 ? Direction::parabola(c, in) : c.floor;
        return in >= c.cut ? curved : toe;
    } else if constexpr (SHAPE == CurveShape::Power) {
        const double power = exp2InRange(c.rate * log2OfNormal(in)); // at most (3.4e38)^2.4 of a float
        return in > 0.0 ? power : 0.0;
    } else {
        return in;
    }
}

struct PixelMatrix {
    double m[9];
};

// One row of the matrix, in the order that the pixel functions round in.
static inline double mixOf(double m0, double m1, double m2, double r, double g, double b) {
    return fmadd(m2, b, fmadd(m0, r, m1 * g));
}

template <CurveShape SHAPE, bool MIXED>
static void decodeShape(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, const CurveRow curve,
                        const PixelMatrix mat) {
    const double* m = mat.m;
    for (size_t i = 0; i < n; ++i) {
        const double x = curveOf<CurveDecode, SHAPE>(curve, finiteOr0(r[i]));
        const double y = curveOf<CurveDecode, SHAPE>(curve, finiteOr0(g[i]));
        const double z = curveOf<CurveDecode, SHAPE>(curve, finiteOr0(b[i]));
        r[i] = static_cast<float>(MIXED ? finiteOr0(mixOf(m[0], m[1], m[2], x, y, z)) : x);
        g[i] = static_cast<float>(MIXED ? finiteOr0(mixOf(m[3], m[4], m[5], x, y, z)) : y);
        b[i] = static_cast<float>(MIXED ? finiteOr0(mixOf(m[6], m[7], m[8], x, y, z)) : z);
    }
}

template <CurveShape SHAPE, bool MIXED>
static void encodeShape(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, const CurveRow curve,
                        const PixelMatrix mat) {
    const double* m = mat.m;
    for (size_t i = 0; i < n; ++i) {
        const double x = finiteOr0(r[i]);
        const double y = finiteOr0(g[i]);
        const double z = finiteOr0(b[i]);
        const double u = MIXED ? mixOf(m[0], m[1], m[2], x, y, z) : x;
        const double v = MIXED ? mixOf(m[3], m[4], m[5], x, y, z) : y;
        const double w = MIXED ? mixOf(m[6], m[7], m[8], x, y, z) : z;
        r[i] = static_cast<float>(curveOf<CurveEncode, SHAPE>(curve, u));
        g[i] = static_cast<float>(curveOf<CurveEncode, SHAPE>(curve, v));
        b[i] = static_cast<float>(curveOf<CurveEncode, SHAPE>(curve, w));
    }
}

using PixelRows = void (*)(float* r, float* g, float* b, size_t n, const CurveRow curve, const PixelMatrix matrix);

struct PixelRowsPair {
    PixelRows plain, mixed;
};

template <CurveShape SHAPE>
constexpr PixelRowsPair DECODE_SHAPE = {decodeShape<SHAPE, false>, decodeShape<SHAPE, true>};
template <CurveShape SHAPE>
constexpr PixelRowsPair ENCODE_SHAPE = {encodeShape<SHAPE, false>, encodeShape<SHAPE, true>};

// In the order of CurveShape.
constexpr PixelRowsPair DECODE_SHAPES[] = {DECODE_SHAPE<CurveShape::Identity>, DECODE_SHAPE<CurveShape::LogToe>,
                                           DECODE_SHAPE<CurveShape::MirroredLog>, DECODE_SHAPE<CurveShape::Parabola>,
                                           DECODE_SHAPE<CurveShape::Power>};
constexpr PixelRowsPair ENCODE_SHAPES[] = {ENCODE_SHAPE<CurveShape::Identity>, ENCODE_SHAPE<CurveShape::LogToe>,
                                           ENCODE_SHAPE<CurveShape::MirroredLog>, ENCODE_SHAPE<CurveShape::Parabola>,
                                           ENCODE_SHAPE<CurveShape::Power>};

static void runPixelRows(const PixelRowsPair& rows, float* r, float* g, float* b, size_t n, const CurveRow& curve,
                         const double* matrix) {
    PixelMatrix mat = {};
    for (int i = 0; matrix && i < 9; ++i)
        mat.m[i] = matrix[i];
    (matrix ? rows.mixed : rows.plain)(r, g, b, n, curve, mat);
}

static void decodeRows(float* r, float* g, float* b, size_t n, const CurveRow& curve, const double* matrix) {
    runPixelRows(DECODE_SHAPES[static_cast<int>(curve.shape)], r, g, b, n, curve, matrix);
}

static void encodeRows(float* r, float* g, float* b, size_t n, const CurveRow& curve, const double* matrix) {
    runPixelRows(ENCODE_SHAPES[static_cast<int>(curve.shape)], r, g, b, n, curve, matrix);
}

// A NaN of the mix becomes 0, as every negative value does: only the code that it is blended with can carry it on.
static inline double sceneFitOf(const SceneFit::Channel& c, double r, double g, double b, double y) {
    const double y2 = y * y;
    const double linear = fmadd(c.y1, y, fmadd(c.b, b, fmadd(c.g, g, c.r * r)));
    const double n = fmadd(c.y3, y2 * y, fmadd(c.y2, y2, linear)) + c.offset;
    return n > 0.0 ? n : 0.0;
}

static void sceneFitRows(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, double strength,
                         const SceneFit& given) {
    const SceneFit fit = given;
    for (size_t i = 0; i < n; ++i) {
        const double cr = logc4EncodeOf(r[i]);
        const double cg = logc4EncodeOf(g[i]);
        const double cb = logc4EncodeOf(b[i]);
        const double y = fmadd(fit.luma[2], cb, fmadd(fit.luma[1], cg, fit.luma[0] * cr));
        r[i] = static_cast<float>(logc4DecodeOf(fmadd(sceneFitOf(fit.channel[0], cr, cg, cb, y) - cr, strength, cr)));
        g[i] = static_cast<float>(logc4DecodeOf(fmadd(sceneFitOf(fit.channel[1], cr, cg, cb, y) - cg, strength, cg)));
        b[i] = static_cast<float>(logc4DecodeOf(fmadd(sceneFitOf(fit.channel[2], cr, cg, cb, y) - cb, strength, cb)));
    }
}

constexpr TransferRows TRANSFER_ROWS = {logc4Encode, logc4Decode, decodeRows, encodeRows, sceneFitRows};
