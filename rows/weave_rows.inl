// Text of the row kernels in weave_rows.h; compiled once per instruction set (see rows/text.inl).

// sin(pi u / 3) / u for 0 <= u <= 1 as a function of z = u*u; relative error below 2^-53.
template <class V>
ROWS_INLINE V weaveSine(V z) {
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V p01 = fmadd(-0x1.87fb079104a6ap-3, z, 0x1.0c152382d7366p0);
    const V p23 = fmadd(-0x1.1f52923ce5b24p-12, z, 0x1.57e243ea45badp-7);
    const V p45 = fmadd(-0x1.65667f2348b5fp-25, z, 0x1.1813383d1ecbdp-18);
    const V p67 = fmadd(-0x1.c55ad15fc2e2cp-40, z, 0x1.41fc51736f56ap-32);
    return fmadd(fmadd(p67, z2, p45), z4, fmadd(p23, z2, p01));
}

// Positions of one axis within a run, and what their weights are made of.
struct WeaveAxis {
    double fraction[WeaveTaps::CAPACITY]; // f
    double a[WeaveTaps::CAPACITY];        // A / f
    double b[WeaveTaps::CAPACITY];        // -B
    double c[WeaveTaps::CAPACITY];        // C / (1 - f)
    double sum[WeaveTaps::CAPACITY];      // of the weights
};

ROWS_INLINE void weaveSines(WeaveAxis& axis, size_t i) {
    const Lanes f = load<Lanes>(axis.fraction + i);
    const Lanes g = 1.0 - f;
    const Lanes a = weaveSine(f * f);
    const Lanes c = weaveSine(g * g);
    store(axis.a + i, a);
    store(axis.b + i, -fmadd(f, a, g * c));
    store(axis.c + i, c);
}

// The six weights at fraction f, and their sum. At f = 0 and f = 1 exactly one of them is not zero.
ROWS_INLINE Lanes weaveWeights(const WeaveAxis& axis, size_t i, double (*weight)[WeaveTaps::CAPACITY]) {
    const Lanes f = load<Lanes>(axis.fraction + i);
    const Lanes g = 1.0 - f;
    const Lanes a2 = (f + 2.0) * (f + 2.0); // the squared distances of taps 0 to 5
    const Lanes a1 = (f + 1.0) * (f + 1.0);
    const Lanes a0 = f * f;
    const Lanes b0 = g * g;
    const Lanes b1 = (2.0 - f) * (2.0 - f);
    const Lanes b2 = (3.0 - f) * (3.0 - f);
    const Lanes q = a1 * b1;
    const Lanes u = f * b2;
    const Lanes v = a2 * g;
    const Lanes aqv = load<Lanes>(axis.a + i) * (q * v);
    const Lanes cqu = load<Lanes>(axis.c + i) * (q * u);
    const Lanes buv = load<Lanes>(axis.b + i) * (u * v);
    const Lanes w0 = cqu * b0;
    const Lanes w1 = buv * b1;
    const Lanes w2 = aqv * b2;
    const Lanes w3 = cqu * a2;
    const Lanes w4 = buv * a1;
    const Lanes w5 = aqv * a0;
    store(weight[0] + i, w0);
    store(weight[1] + i, w1);
    store(weight[2] + i, w2);
    store(weight[3] + i, w3);
    store(weight[4] + i, w4);
    store(weight[5] + i, w5);
    return ((w0 + w5) + (w1 + w4)) + (w2 + w3);
}

// Whole parts and fractions of the source positions of n pixels from x on. n is a multiple of LANES.
[[gnu::noinline]] static void weavePositions(const WeaveRow row, int x, size_t n, WeaveTaps& taps, WeaveAxis& across,
                                             WeaveAxis& down) {
    for (size_t i = 0; i < n; i += LANES) {
        const Lanes pixel = laneNumbers() + static_cast<double>(x + static_cast<int32_t>(i));
        const Lanes tx = (pixel - row.centreX) - row.dx;
        const Lanes sx = (row.centreX + row.cosine * tx) + row.alongX;
        const Lanes sy = (row.centreY - row.sinY * tx) + row.alongY;
        const Lanes column = wholeBelow(sx);
        const Lanes line = wholeBelow(sy);
        store(taps.column + i, toInt(column));
        store(taps.row + i, toInt(line));
        store(across.fraction + i, sx - column);
        store(down.fraction + i, sy - line);
    }
}

// Weights of n pixels, a multiple of LANES, in short loops for the reason given in vector_math.inl.
[[gnu::noinline]] static void weaveAllWeights(WeaveAxis& across, WeaveAxis& down, WeaveTaps& taps, size_t n) {
    for (size_t i = 0; i < n; i += LANES)
        weaveSines(across, i);
    for (size_t i = 0; i < n; i += LANES)
        store(across.sum + i, weaveWeights(across, i, taps.columnWeight));
    for (size_t i = 0; i < n; i += LANES)
        weaveSines(down, i);
    for (size_t i = 0; i < n; i += LANES)
        store(taps.scale + i, 1.0 / (load<Lanes>(across.sum + i) * weaveWeights(down, i, taps.rowWeight)));
}

static bool weavePlace(const WeaveRow& row, int x, size_t n, WeaveTaps& taps) {
    static_assert(WeaveTaps::CAPACITY % LANES == 0);
    WeaveAxis across;
    WeaveAxis down;
    const size_t full = (n + LANES - 1) / LANES * LANES; // some pixels more, to fill the last vector
    weavePositions(row, x, full, taps, across, down);
    weaveAllWeights(across, down, taps, full);
    int32_t apart = 0;
    for (size_t i = 0; i < n; ++i) {
        apart |= (taps.column[i] - static_cast<int32_t>(i)) ^ taps.column[0];
        apart |= taps.row[i] ^ taps.row[0];
    }
    return apart == 0;
}

static void weaveWiden(const float* samples, double* widened, size_t n) {
    for (size_t i = 0; i < n; ++i)
        widened[i] = samples[i];
}

static void weaveBlend(const WeaveTaps& taps, size_t first, size_t n, const double* const samples[WEAVE_TAPS],
                       float* __restrict out) {
    const double* const s0 = samples[0];
    const double* const s1 = samples[1];
    const double* const s2 = samples[2];
    const double* const s3 = samples[3];
    const double* const s4 = samples[4];
    const double* const s5 = samples[5];
    double sums[WeaveTaps::CAPACITY]; // kept as doubles first: a loop of one width needs half the registers
    for (size_t i = 0; i < n; ++i) {
        const double k0 = taps.columnWeight[0][first + i];
        const double k1 = taps.columnWeight[1][first + i];
        const double k2 = taps.columnWeight[2][first + i];
        const double k3 = taps.columnWeight[3][first + i];
        const double k4 = taps.columnWeight[4][first + i];
        const double k5 = taps.columnWeight[5][first + i];
        const auto along = [&](const double* s) {
            const double low = fmadd(k2, s[2], fmadd(k1, s[1], k0 * s[0]));
            return fmadd(k5, s[5], fmadd(k4, s[4], fmadd(k3, s[3], low)));
        };
        double sum = taps.rowWeight[0][first + i] * along(s0 + i);
        sum = fmadd(taps.rowWeight[1][first + i], along(s1 + i), sum);
        sum = fmadd(taps.rowWeight[2][first + i], along(s2 + i), sum);
        sum = fmadd(taps.rowWeight[3][first + i], along(s3 + i), sum);
        sum = fmadd(taps.rowWeight[4][first + i], along(s4 + i), sum);
        sum = fmadd(taps.rowWeight[5][first + i], along(s5 + i), sum);
        sums[i] = sum;
    }
    for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(sums[i] * taps.scale[first + i]);
}

constexpr WeaveRows WEAVE_ROWS{weavePlace, weaveWiden, weaveBlend};
