// Text of the row kernels in transfer_rows.h; compiled once per instruction set (see rows/text.inl).
//
// Both sides of a curve are computed and one is selected, so that the loops vectorise. The elementary function of the
// side that is not taken may get an argument outside its domain: its value is then dropped.

// Linear AWG4 to LogC4 code. A NaN fails the comparison and passes through the line; +infinity through the logarithm.
ROWS_INLINE double logc4EncodeOf(double x) {
    using namespace logc4_constants;
    constexpr double gain = B / 14.0;
    const double curved = fmadd(gain, log2Of(fmadd(A, x, 64.0)), C - 6.0 * gain);
    const double straight = fmadd(x, 1.0 / S, -T / S);
    return x >= T ? curved : straight;
}

// LogC4 code to linear AWG4. From code 66 on it is +infinity.
ROWS_INLINE double logc4DecodeOf(double v) {
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
ROWS_INLINE double finiteOr0(double v) {
    return __builtin_fabs(v) < __builtin_inf() ? v : 0.0;
}

struct CurveDecode {
    // Where the power overflows, the result is 0 at once: it would become 0 as every non-finite value does. A power
    // that is too small never occurs above a cut.
    ROWS_INLINE double curved(double gain, double y, double bias) {
        const double power = fmadd(gain, exp2InRange(y), bias);
        return y < 1024.0 ? power : 0.0;
    }
    ROWS_INLINE double parabola(const CurveRow& c, double in) { return __builtin_sqrt(c.slope * in) - c.intercept; }
};

struct CurveEncode {
    ROWS_INLINE double curved(double gain, double y, double bias) { return fmadd(gain, log2OfNormal(y), bias); }
    ROWS_INLINE double parabola(const CurveRow& c, double in) {
        const double root = in + c.intercept;
        return c.slope * (root * root);
    }
};

// One finite value through one direction of a curve. The result is finite.
template <class Direction, CurveShape SHAPE>
ROWS_INLINE double curveOf(const CurveRow& c, double in) {
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
        const double power =
            exp2InRange(c.rate * log2OfNormal(in)); // at most (3.4e50)^2.4: a float over an alpha of 1e-12
        return in > 0.0 ? power : 0.0;
    } else {
        return in;
    }
}

struct PixelMatrix {
    double m[9];
};

// One row of the matrix, in the order that the pixel functions round in.
ROWS_INLINE double mixOf(double m0, double m1, double m2, double r, double g, double b) {
    return fmadd(m2, b, fmadd(m0, r, m1 * g));
}

struct LinearPixel {
    double r, g, b;
};

template <bool MIXED>
ROWS_INLINE LinearPixel multiplied(const double* m, const LinearPixel& p) {
    if constexpr (MIXED) {
        return {mixOf(m[0], m[1], m[2], p.r, p.g, p.b), mixOf(m[3], m[4], m[5], p.r, p.g, p.b),
                mixOf(m[6], m[7], m[8], p.r, p.g, p.b)};
    } else {
        return p;
    }
}

ROWS_INLINE LinearPixel finiteOr0(const LinearPixel& p) {
    return {finiteOr0(p.r), finiteOr0(p.g), finiteOr0(p.b)};
}

template <class Direction, CurveShape SHAPE>
ROWS_INLINE LinearPixel curveOf(const CurveRow& c, const LinearPixel& p) {
    return {curveOf<Direction, SHAPE>(c, p.r), curveOf<Direction, SHAPE>(c, p.g), curveOf<Direction, SHAPE>(c, p.b)};
}

template <CurveShape SHAPE, bool MIXED>
ROWS_INLINE LinearPixel decodePixel(const LinearPixel& codes, const CurveRow& curve, const double* m) {
    const LinearPixel native = curveOf<CurveDecode, SHAPE>(curve, finiteOr0(codes));
    return MIXED ? finiteOr0(multiplied<MIXED>(m, native)) : native;
}

template <CurveShape SHAPE, bool MIXED>
ROWS_INLINE LinearPixel encodePixel(const LinearPixel& working, const CurveRow& curve, const double* m) {
    return curveOf<CurveEncode, SHAPE>(curve, multiplied<MIXED>(m, finiteOr0(working)));
}

// Codes come from the host's pixels in double; the planes are floats.
template <CurveShape SHAPE, bool MIXED>
static void decodeShape(const double* __restrict r, const double* __restrict g, const double* __restrict b,
                        float* __restrict R, float* __restrict G, float* __restrict B, size_t n, const CurveRow curve,
                        const PixelMatrix mat) {
    for (size_t i = 0; i < n; ++i) {
        const LinearPixel p = decodePixel<SHAPE, MIXED>({r[i], g[i], b[i]}, curve, mat.m);
        R[i] = static_cast<float>(p.r);
        G[i] = static_cast<float>(p.g);
        B[i] = static_cast<float>(p.b);
    }
}

template <CurveShape SHAPE, bool MIXED>
static void decodeInPlace(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, const CurveRow curve,
                          const PixelMatrix mat) {
    for (size_t i = 0; i < n; ++i) {
        const LinearPixel p = decodePixel<SHAPE, MIXED>({r[i], g[i], b[i]}, curve, mat.m);
        r[i] = static_cast<float>(p.r);
        g[i] = static_cast<float>(p.g);
        b[i] = static_cast<float>(p.b);
    }
}

template <CurveShape SHAPE, bool MIXED>
static void encodeShape(const float* __restrict R, const float* __restrict G, const float* __restrict B,
                        double* __restrict r, double* __restrict g, double* __restrict b, size_t n,
                        const CurveRow curve, const PixelMatrix mat) {
    for (size_t i = 0; i < n; ++i) {
        const LinearPixel p = encodePixel<SHAPE, MIXED>({R[i], G[i], B[i]}, curve, mat.m);
        r[i] = p.r;
        g[i] = p.g;
        b[i] = p.b;
    }
}

template <CurveShape SHAPE, bool MIXED>
static void encodeInPlace(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, const CurveRow curve,
                          const PixelMatrix mat) {
    for (size_t i = 0; i < n; ++i) {
        const LinearPixel p = encodePixel<SHAPE, MIXED>({r[i], g[i], b[i]}, curve, mat.m);
        r[i] = static_cast<float>(p.r);
        g[i] = static_cast<float>(p.g);
        b[i] = static_cast<float>(p.b);
    }
}

// The loops of one curve shape; [1] multiplies by the matrix, [0] does not.
struct ShapeRows {
    void (*decode[2])(const double* r, const double* g, const double* b, float* R, float* G, float* B, size_t n,
                      const CurveRow curve, const PixelMatrix matrix);
    void (*encode[2])(const float* R, const float* G, const float* B, double* r, double* g, double* b, size_t n,
                      const CurveRow curve, const PixelMatrix matrix);
    void (*decodeInPlace[2])(float* r, float* g, float* b, size_t n, const CurveRow curve, const PixelMatrix matrix);
    void (*encodeInPlace[2])(float* r, float* g, float* b, size_t n, const CurveRow curve, const PixelMatrix matrix);
};

template <CurveShape SHAPE>
constexpr ShapeRows SHAPE_ROWS_OF = {{decodeShape<SHAPE, false>, decodeShape<SHAPE, true>},
                                     {encodeShape<SHAPE, false>, encodeShape<SHAPE, true>},
                                     {decodeInPlace<SHAPE, false>, decodeInPlace<SHAPE, true>},
                                     {encodeInPlace<SHAPE, false>, encodeInPlace<SHAPE, true>}};

// In the order of CurveShape.
constexpr ShapeRows SHAPE_ROWS[] = {SHAPE_ROWS_OF<CurveShape::Identity>, SHAPE_ROWS_OF<CurveShape::LogToe>,
                                    SHAPE_ROWS_OF<CurveShape::MirroredLog>, SHAPE_ROWS_OF<CurveShape::Parabola>,
                                    SHAPE_ROWS_OF<CurveShape::Power>};

ROWS_INLINE const ShapeRows& shapeRowsOf(const CurveRow& curve) {
    return SHAPE_ROWS[static_cast<int>(curve.shape)];
}

ROWS_INLINE PixelMatrix matrixOf(const double* matrix) {
    PixelMatrix mat = {};
    for (int i = 0; matrix && i < 9; ++i)
        mat.m[i] = matrix[i];
    return mat;
}

static void decodeCodes(const double* r, const double* g, const double* b, float* R, float* G, float* B, size_t n,
                        const CurveRow& curve, const double* matrix) {
    shapeRowsOf(curve).decode[matrix != nullptr](r, g, b, R, G, B, n, curve, matrixOf(matrix));
}

static void encodeCodes(const float* R, const float* G, const float* B, double* r, double* g, double* b, size_t n,
                        const CurveRow& curve, const double* matrix) {
    shapeRowsOf(curve).encode[matrix != nullptr](R, G, B, r, g, b, n, curve, matrixOf(matrix));
}

static void decodeRows(float* r, float* g, float* b, size_t n, const CurveRow& curve, const double* matrix) {
    shapeRowsOf(curve).decodeInPlace[matrix != nullptr](r, g, b, n, curve, matrixOf(matrix));
}

static void encodeRows(float* r, float* g, float* b, size_t n, const CurveRow& curve, const double* matrix) {
    shapeRowsOf(curve).encodeInPlace[matrix != nullptr](r, g, b, n, curve, matrixOf(matrix));
}

// A NaN of the mix becomes 0, as every negative value does: only the code that it is blended with can carry it on.
ROWS_INLINE double sceneFitOf(const SceneFit::Channel& c, double r, double g, double b, double y) {
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

constexpr TransferRows TRANSFER_ROWS = {logc4Encode, logc4Decode, decodeRows,  encodeRows,
                                        decodeCodes, encodeCodes, sceneFitRows};
