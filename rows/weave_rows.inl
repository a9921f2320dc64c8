// Text of the row kernels in weave_rows.h; compiled once per instruction set (see rows/text.inl).

// floor(v) for |v| < 2^51; the sum rounds to the nearest whole number.
ROWS_INLINE double weaveFloor(double v) {
    const double shifter = 0x1.8p52;
    const double nearest = (v + shifter) - shifter;
    return nearest > v ? nearest - 1.0 : nearest;
}

// sin(pi u / 3) / u for 0 <= u <= 1 as a function of z = u*u; relative error below 2^-53.
ROWS_INLINE double weaveSine(double z) {
    const double z2 = z * z;
    const double z4 = z2 * z2;
    const double p01 = fmadd(-0x1.87fb079104a6ap-3, z, 0x1.0c152382d7366p0);
    const double p23 = fmadd(-0x1.1f52923ce5b24p-12, z, 0x1.57e243ea45badp-7);
    const double p45 = fmadd(-0x1.65667f2348b5fp-25, z, 0x1.1813383d1ecbdp-18);
    const double p67 = fmadd(-0x1.c55ad15fc2e2cp-40, z, 0x1.41fc51736f56ap-32);
    return fmadd(fmadd(p67, z2, p45), z4, fmadd(p23, z2, p01));
}

// The six weights at fraction f, and their sum. At f = 0 and f = 1 exactly one of them is not zero.
ROWS_INLINE double weaveWeights(double f, double* w0, double* w1, double* w2, double* w3, double* w4, double* w5) {
    const double g = 1.0 - f;
    const double a2 = (f + 2.0) * (f + 2.0); // the squared distances of taps 0 to 5
    const double a1 = (f + 1.0) * (f + 1.0);
    const double a0 = f * f;
    const double b0 = g * g;
    const double b1 = (2.0 - f) * (2.0 - f);
    const double b2 = (3.0 - f) * (3.0 - f);
    const double a = weaveSine(a0); // A / f
    const double c = weaveSine(b0); // C / g
    const double b = fmadd(f, a, g * c);
    const double q = a1 * b1;
    const double u = f * b2;
    const double v = a2 * g;
    const double aqv = a * (q * v);
    const double cqu = c * (q * u);
    const double buv = b * (u * v);
    *w0 = cqu * b0;
    *w1 = -(buv * b1);
    *w2 = aqv * b2;
    *w3 = cqu * a2;
    *w4 = -(buv * a1);
    *w5 = aqv * a0;
    return ((*w0 + *w5) + (*w1 + *w4)) + (*w2 + *w3);
}

static bool weavePlace(const WeaveRow& row, int x, size_t n, WeaveTaps& taps) {
    double fx[WeaveTaps::CAPACITY];
    double fy[WeaveTaps::CAPACITY];
    for (size_t i = 0; i < n; ++i) {
        const double tx = (static_cast<double>(x + static_cast<int32_t>(i)) - row.centreX) - row.dx;
        const double sx = (row.centreX + row.cosine * tx) + row.alongX;
        const double sy = (row.centreY - row.sinY * tx) + row.alongY;
        const double column = weaveFloor(sx);
        const double line = weaveFloor(sy);
        taps.column[i] = static_cast<int32_t>(column);
        taps.row[i] = static_cast<int32_t>(line);
        fx[i] = sx - column;
        fy[i] = sy - line;
    }
    for (size_t i = 0; i < n; ++i) {
        double w0, w1, w2, w3, w4, w5;
        const double sumX = weaveWeights(fx[i], &w0, &w1, &w2, &w3, &w4, &w5);
        taps.columnWeight[0][i] = w0;
        taps.columnWeight[1][i] = w1;
        taps.columnWeight[2][i] = w2;
        taps.columnWeight[3][i] = w3;
        taps.columnWeight[4][i] = w4;
        taps.columnWeight[5][i] = w5;
        const double sumY = weaveWeights(fy[i], &w0, &w1, &w2, &w3, &w4, &w5);
        taps.rowWeight[0][i] = w0;
        taps.rowWeight[1][i] = w1;
        taps.rowWeight[2][i] = w2;
        taps.rowWeight[3][i] = w3;
        taps.rowWeight[4][i] = w4;
        taps.rowWeight[5][i] = w5;
        taps.scale[i] = 1.0 / (sumX * sumY);
    }
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
