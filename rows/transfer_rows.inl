// Text of the row kernels in transfer_rows.h; compiled once per instruction set (see rows/text.inl).
//
// Both sides of a curve are computed and one is selected, so that the loops have no branches. The elementary function
// of the side that is not taken may get an argument outside its domain: its value is then dropped.

// Samples that go through the two halves of a curve together: their buffers stay in the first-level cache.
constexpr size_t CURVE_BLOCK = 64;

// Second half of the LogC4 code of linear AWG4 x, from the halves of log2(A x + 64). NaN and both infinities pass
// through the line.
template <class V>
ROWS_INLINE V logc4EncodeEnd(V x, V exponent, V s) {
    using namespace logc4_constants;
    constexpr double gain = B / 14.0;
    const V curved = fmadd(log2OfSplit(exponent, s), gain, C - 6.0 * gain);
    const V straight = fmadd(x, 1.0 / S, -T / S);
    const auto above = x >= all<V>(T);
    const auto finite = x < all<V>(__builtin_inf());
    return (above & finite) ? curved : straight;
}

template <class V>
ROWS_INLINE Log2Split<V> logc4EncodeStart(V x) {
    return log2Split(fmadd(logc4_constants::A, x, 64.0));
}

// First half of the linear AWG4 value of LogC4 code v: the split of a power of two. Far above every code whose value is
// a finite float, the power is held.
template <class V>
ROWS_INLINE Exp2Split<V> logc4DecodeStart(V v) {
    using namespace logc4_constants;
    return exp2Split(notAbove(fmadd(14.0 / B, v, 6.0 - 14.0 * C / B), 1023.0));
}

// Second half, from the power of the fraction. A NaN fails the comparison and passes through the line.
template <class V>
ROWS_INLINE V logc4DecodeEnd(V v, V power, V whole) {
    using namespace logc4_constants;
    const V curved = fmadd(exp2Scaled(power, whole), 1.0 / A, -64.0 / A);
    const V straight = fmadd(v, S, T);
    return v >= all<V>(0.0) ? curved : straight;
}

// The first n samples, a multiple of LANES.
template <class In, class Out>
[[gnu::noinline]] static void logc4EncodeBlock(const In* in, Out* out, size_t n) {
    double exponent[CURVE_BLOCK];
    double s[CURVE_BLOCK];
    for (size_t k = 0; k < n; k += LANES) {
        const Log2Split<Lanes> split = logc4EncodeStart(load<Lanes>(in + k));
        store(exponent + k, split.exponent);
        store(s + k, split.s);
    }
    for (size_t k = 0; k < n; k += LANES)
        store(out + k, logc4EncodeEnd(load<Lanes>(in + k), load<Lanes>(exponent + k), load<Lanes>(s + k)));
}

template <class In, class Out>
[[gnu::noinline]] static void logc4DecodeBlock(const In* in, Out* out, size_t n) {
    double whole[CURVE_BLOCK];
    double power[CURVE_BLOCK]; // first its exponent
    for (size_t k = 0; k < n; k += LANES) {
        const Exp2Split<Lanes> split = logc4DecodeStart(load<Lanes>(in + k));
        store(whole + k, split.whole);
        store(power + k, split.fraction);
    }
    for (size_t k = 0; k < n; k += LANES)
        store(power + k, exp2OfFraction(load<Lanes>(power + k)));
    for (size_t k = 0; k < n; k += LANES)
        store(out + k, logc4DecodeEnd(load<Lanes>(in + k), load<Lanes>(power + k), load<Lanes>(whole + k)));
}

// n samples of float or double; `out` may be `in`. A code too large for a float may decode to a finite double.
template <class In, class Out>
static void logc4EncodeRun(const In* in, Out* out, size_t n) {
    const size_t full = n - n % LANES;
    for (size_t i = 0; i < full; i += CURVE_BLOCK)
        logc4EncodeBlock(in + i, out + i, full - i < CURVE_BLOCK ? full - i : CURVE_BLOCK);
    for (size_t i = full; i < n; ++i) {
        const double x = in[i];
        const Log2Split<double> split = logc4EncodeStart(x);
        store(out + i, logc4EncodeEnd(x, split.exponent, split.s));
    }
}

template <class In, class Out>
static void logc4DecodeRun(const In* in, Out* out, size_t n) {
    const size_t full = n - n % LANES;
    for (size_t i = 0; i < full; i += CURVE_BLOCK)
        logc4DecodeBlock(in + i, out + i, full - i < CURVE_BLOCK ? full - i : CURVE_BLOCK);
    for (size_t i = full; i < n; ++i) {
        const double v = in[i];
        const Exp2Split<double> split = logc4DecodeStart(v);
        store(out + i, logc4DecodeEnd(v, exp2OfFraction(split.fraction), split.whole));
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

// Mixes the codes of n <= CURVE_BLOCK pixels in place.
static void sceneFitCodes(double* __restrict r, double* __restrict g, double* __restrict b, size_t n, double strength,
                          const SceneFit& fit) {
    for (size_t i = 0; i < n; ++i) {
        const double cr = r[i];
        const double cg = g[i];
        const double cb = b[i];
        const double y = fmadd(fit.luma[2], cb, fmadd(fit.luma[1], cg, fit.luma[0] * cr));
        r[i] = fmadd(sceneFitOf(fit.channel[0], cr, cg, cb, y) - cr, strength, cr);
        g[i] = fmadd(sceneFitOf(fit.channel[1], cr, cg, cb, y) - cg, strength, cg);
        b[i] = fmadd(sceneFitOf(fit.channel[2], cr, cg, cb, y) - cb, strength, cb);
    }
}

static void sceneFitRows(float* r, float* g, float* b, size_t n, double strength, const SceneFit& given) {
    const SceneFit fit = given;
    float* const planes[3] = {r, g, b};
    double codes[3][CURVE_BLOCK];
    for (size_t at = 0; at < n; at += CURVE_BLOCK) {
        const size_t count = n - at < CURVE_BLOCK ? n - at : CURVE_BLOCK;
        for (int c = 0; c < 3; ++c)
            logc4EncodeRun(planes[c] + at, codes[c], count);
        sceneFitCodes(codes[0], codes[1], codes[2], count, strength, fit);
        for (int c = 0; c < 3; ++c)
            logc4DecodeRun(codes[c], planes[c] + at, count);
    }
}

constexpr TransferRows TRANSFER_ROWS = {logc4EncodeRun<float, float>,
                                        logc4DecodeRun<float, float>,
                                        decodeRows,
                                        encodeRows,
                                        decodeCodes,
                                        encodeCodes,
                                        sceneFitRows};
