// Text of the row kernels in blur_rows.h; compiled once per instruction set (see rows/text.inl).
//
// Accumulators live in registers: arrays of vector types with constant bounds, because plain arrays spill.

static void blurWidenRow(const float* row, size_t n, size_t r, double* padded) {
    for (size_t i = 0; i < r; ++i)
        padded[i] = row[0];
    double* body = padded + r;
    for (size_t i = 0; i < n; ++i)
        body[i] = row[i];
    for (size_t i = 0; i < r; ++i)
        body[n + i] = row[n - 1];
}

template <int VECTORS>
ROWS_INLINE void blurAcrossBlock(const double* p, const double* taps, size_t r, float* out) {
    Lanes acc[VECTORS] = {};
    for (size_t t = 0; t <= 2 * r; ++t) {
        const Lanes k = all<Lanes>(taps[t]);
        for (int v = 0; v < VECTORS; ++v)
            acc[v] = fmadd(k, load<Lanes>(p + t + v * LANES), acc[v]);
    }
    for (int v = 0; v < VECTORS; ++v)
        store(out + v * LANES, acc[v]);
}

// Two groups of four output vectors side by side, where a group shares what it loads: at step u its vector j takes tap
// u - j * LANES. That is a quarter of the loads of samples, most of which cross cache lines. The first and the last
// steps reach only the vectors FIRST .. LAST: no tap of 0 stands in for what is missing, because 0 times infinity is
// not 0.
template <int FIRST, int LAST>
ROWS_INLINE void blurSharedSteps(Lanes (&acc)[2][4], const double*& p, const double*& tap, size_t steps) {
    for (size_t u = 0; u < steps; ++u, ++p, ++tap) {
        const Lanes left = load<Lanes>(p);
        const Lanes right = load<Lanes>(p + 4 * LANES);
#pragma GCC unroll 4
        for (int j = FIRST; j <= LAST; ++j) {
            const Lanes k = all<Lanes>(tap[-j * LANES]);
            acc[0][j] = fmadd(k, left, acc[0][j]);
            acc[1][j] = fmadd(k, right, acc[1][j]);
        }
    }
}

// 2r >= 3 * LANES, so that there are steps which reach all four.
ROWS_INLINE void blurSharedBlock(const double* p, const double* tap, size_t r, float* out) {
    Lanes acc[2][4] = {};
    blurSharedSteps<0, 0>(acc, p, tap, LANES);
    blurSharedSteps<0, 1>(acc, p, tap, LANES);
    blurSharedSteps<0, 2>(acc, p, tap, LANES);
    blurSharedSteps<0, 3>(acc, p, tap, 2 * r + 1 - 3 * LANES);
    blurSharedSteps<1, 3>(acc, p, tap, LANES);
    blurSharedSteps<2, 3>(acc, p, tap, LANES);
    blurSharedSteps<3, 3>(acc, p, tap, LANES);
    for (int j = 0; j < 4; ++j) {
        store(out + j * LANES, acc[0][j]);
        store(out + (4 + j) * LANES, acc[1][j]);
    }
}

static void blurAcrossSamples(const double* padded, const double* taps, size_t r, float* out, size_t n) {
    for (size_t x = 0; x < n; ++x) {
        double sum = 0.0;
        for (size_t t = 0; t <= 2 * r; ++t)
            sum = fmadd(taps[t], padded[x + t], sum);
        out[x] = (float)sum;
    }
}

// The last block of a row ends with the row and makes some samples a second time.
static void blurAcross(const double* padded, const double* taps, size_t r, float* out, size_t n) {
    constexpr size_t wide = 8 * LANES;
    constexpr size_t narrow = LANES;
    if (n >= wide) {
        for (size_t x = 0; x < n; x += wide) {
            const size_t from = x + wide <= n ? x : n - wide;
            if (2 * r >= 3 * LANES) {
                blurSharedBlock(padded + from, taps, r, out + from);
            } else {
                blurAcrossBlock<8>(padded + from, taps, r, out + from);
            }
        }
    } else if (n >= narrow) {
        for (size_t x = 0; x < n; x += narrow) {
            const size_t from = x + narrow <= n ? x : n - narrow;
            blurAcrossBlock<1>(padded + from, taps, r, out + from);
        }
    } else {
        blurAcrossSamples(padded, taps, r, out, n);
    }
}

// Adds tap T and those after it. Samples that lie between two vectors are made of both, which is cheaper than to
// convert them again; the sums of all vectors grow side by side, because each addition waits for the one before it.
template <size_t R, int T, int VECTORS>
ROWS_INLINE void blurFewTaps(Lanes (&acc)[VECTORS], const Lanes* part, const double* taps) {
    if constexpr (T <= 2 * R) {
        const Lanes k = all<Lanes>(taps[T]);
#pragma GCC unroll 16
        for (int v = 0; v < VECTORS; ++v)
            acc[v] = fmadd(k, joined<T % LANES>(part[v + T / LANES], part[v + T / LANES + 1]), acc[v]);
        blurFewTaps<R, T + 1>(acc, part, taps);
    }
}

template <size_t R, int VECTORS>
ROWS_INLINE void blurFewBlock(const float* row, const double* taps, float* out) {
    constexpr int parts = VECTORS + (2 * R + LANES - 1) / LANES;
    Lanes part[parts + 1];
#pragma GCC unroll 16
    for (int i = 0; i < parts; ++i)
        part[i] = load<Lanes>(row + i * LANES);
    part[parts] = part[parts - 1]; // named where no lane of it is taken
    Lanes acc[VECTORS] = {};
    blurFewTaps<R, 0>(acc, part, taps);
#pragma GCC unroll 16
    for (int v = 0; v < VECTORS; ++v)
        store(out + v * LANES, acc[v]);
}

template <size_t R>
ROWS_INLINE void blurFewVector(const float* row, const double* taps, float* out) {
    Lanes sum = {};
    for (size_t t = 0; t <= 2 * R; ++t)
        sum = fmadd(all<Lanes>(taps[t]), load<Lanes>(row + t), sum);
    store(out, sum);
}

// The last vector ends with the row and makes some samples a second time.
template <size_t R>
[[gnu::noinline]] static void blurFew(const float* row, const double* taps, float* out, size_t n) {
    constexpr int vectors = 4;
    constexpr size_t wide = vectors * LANES;
    constexpr size_t reach = wide + (2 * R + LANES - 1) / LANES * LANES; // samples that a block reads
    size_t x = 0;
    for (; x + reach <= n + 2 * R; x += wide)
        blurFewBlock<R, vectors>(row + x, taps, out + x);
    for (; x < n; x += LANES) {
        const size_t from = x + LANES <= n ? x : n - LANES;
        blurFewVector<R>(row + from, taps, out + from);
    }
}

static void blurAcrossNear(const float* row, const double* taps, size_t r, float* out, size_t n) {
    if (r == 1) return blurFew<1>(row, taps, out, n);
    if (r == 2) return blurFew<2>(row, taps, out, n);
    if (r == 3) return blurFew<3>(row, taps, out, n);
}

// Adds one row of the window to output rows FIRST .. LAST of a block of four. `window` holds the last four taps as a
// ring, the newest at NEWEST; output row k takes the k-th tap before it. Written out because the compiler would keep
// the taps as scalars and spread each of them over a vector four times.
template <int FIRST, int LAST, unsigned NEWEST, int VECTORS>
ROWS_INLINE void blurDownStep(Lanes (&acc)[4][VECTORS], const Lanes (&window)[4], const float* row) {
#pragma GCC unroll 4
    for (int i = 0; i < VECTORS; ++i) {
        const Lanes v = load<Lanes>(row + i * LANES);
#pragma GCC unroll 4
        for (int k = FIRST; k <= LAST; ++k)
            acc[k][i] = fmadd(window[(NEWEST - (unsigned)k) % 4], v, acc[k][i]);
    }
}

template <unsigned NEWEST, int VECTORS>
ROWS_INLINE void blurDownTail(Lanes (&acc)[4][VECTORS], const Lanes (&window)[4], const float* const* rows, size_t x) {
    blurDownStep<1, 3, NEWEST + 1>(acc, window, rows[0] + x);
    blurDownStep<2, 3, NEWEST + 2>(acc, window, rows[1] + x);
    blurDownStep<3, 3, NEWEST + 3>(acc, window, rows[2] + x);
}

// Four output rows; r >= 1. The first and the last three rows of the window reach only some of the four: they are not
// weighted with 0 instead, because 0 times infinity is not 0.
// R is the radius where it is known when this is compiled, so that the loop over the taps unrolls; else 0.
template <int VECTORS, size_t R>
ROWS_INLINE void blurDownBlock(const float* const* rows, size_t x, const double* taps, size_t r, float* const* out) {
    Lanes acc[4][VECTORS] = {};
    Lanes window[4] = {all<Lanes>(taps[0]), all<Lanes>(taps[1]), all<Lanes>(taps[2]), Lanes{}};
    const size_t last = 2 * (R ? R : r);
    blurDownStep<0, 0, 0>(acc, window, rows[0] + x);
    blurDownStep<0, 1, 1>(acc, window, rows[1] + x);
    blurDownStep<0, 2, 2>(acc, window, rows[2] + x);
    size_t j = 3;
    for (; j + 3 <= last; j += 4) {
        window[3] = all<Lanes>(taps[j]);
        blurDownStep<0, 3, 3>(acc, window, rows[j] + x);
        window[0] = all<Lanes>(taps[j + 1]);
        blurDownStep<0, 3, 0>(acc, window, rows[j + 1] + x);
        window[1] = all<Lanes>(taps[j + 2]);
        blurDownStep<0, 3, 1>(acc, window, rows[j + 2] + x);
        window[2] = all<Lanes>(taps[j + 3]);
        blurDownStep<0, 3, 2>(acc, window, rows[j + 3] + x);
    }
    if (j < last) { // 2r - 2 rows of the window reach all four: two may be left
        window[3] = all<Lanes>(taps[j]);
        blurDownStep<0, 3, 3>(acc, window, rows[j] + x);
        window[0] = all<Lanes>(taps[j + 1]);
        blurDownStep<0, 3, 0>(acc, window, rows[j + 1] + x);
        blurDownTail<0>(acc, window, rows + last + 1, x);
    } else {
        blurDownTail<2>(acc, window, rows + last + 1, x);
    }
    for (int k = 0; k < 4; ++k) {
        for (int i = 0; i < VECTORS; ++i)
            store(out[k] + x + i * LANES, acc[k][i]);
    }
}

ROWS_INLINE void blurDownSamples(const float* const* rows, size_t from, const double* taps, size_t r, float* out,
                                 size_t n) {
    for (size_t x = from; x < n; ++x) {
        double sum = 0.0;
        for (size_t t = 0; t <= 2 * r; ++t)
            sum = fmadd(taps[t], (double)rows[t][x], sum);
        out[x] = (float)sum;
    }
}

static void blurDownRow(const float* const* rows, const double* taps, size_t r, float* out, size_t n) {
    size_t x = 0;
    for (; x + 4 * LANES <= n; x += 4 * LANES) {
        Lanes acc[4] = {};
        for (size_t t = 0; t <= 2 * r; ++t) {
            const Lanes k = all<Lanes>(taps[t]);
            for (int v = 0; v < 4; ++v)
                acc[v] = fmadd(k, load<Lanes>(rows[t] + x + v * LANES), acc[v]);
        }
        for (int v = 0; v < 4; ++v)
            store(out + x + v * LANES, acc[v]);
    }
    blurDownSamples(rows, x, taps, r, out, n);
}

template <size_t R>
[[gnu::noinline]] static void blurDownRows(const float* const* rows, const double* taps, size_t r, float* const* out,
                                           size_t n) {
    constexpr int vectors = R == 1 || R == 2 ? 3 : 2; // more would not stay in registers
    constexpr size_t wide = vectors * LANES;
    size_t x = 0;
    for (; x + wide <= n; x += wide)
        blurDownBlock<vectors, R>(rows, x, taps, r, out);
    for (; x + LANES <= n; x += LANES)
        blurDownBlock<1, R>(rows, x, taps, r, out);
    for (int k = 0; k < 4; ++k)
        blurDownSamples(rows + k, x, taps, r, out[k], n);
}

static void blurDown(const float* const* rows, const double* taps, size_t r, float* const* out, int count, size_t n) {
    if (count < 4 || r == 0) {
        for (int k = 0; k < count; ++k)
            blurDownRow(rows + k, taps, r, out[k], n);
        return;
    }
    if (r == 1) return blurDownRows<1>(rows, taps, r, out, n);
    if (r == 2) return blurDownRows<2>(rows, taps, r, out, n);
    if (r == 3) return blurDownRows<3>(rows, taps, r, out, n);
    blurDownRows<0>(rows, taps, r, out, n);
}

static void blurHalve(const float* upper, const float* lower, size_t n, float* out) {
    const size_t pairs = n / 2;
    for (size_t x = 0; x < pairs; ++x) {
        out[x] = (upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1]) * 0.25f;
    }
    if (n % 2) out[pairs] = (upper[n - 1] + upper[n - 1] + lower[n - 1] + lower[n - 1]) * 0.25f;
}

static void blurDoubleRow(const float* row, size_t n, double* out) {
    out[0] = row[0] * 0.25 + row[0] * 0.75;
    for (size_t x = 0; x + 1 < n; ++x) {
        out[2 * x + 1] = row[x] * 0.75 + row[x + 1] * 0.25;
        out[2 * x + 2] = row[x] * 0.25 + row[x + 1] * 0.75;
    }
    out[2 * n - 1] = row[n - 1] * 0.75 + row[n - 1] * 0.25;
}

static void blurStretchRow(const float* row, const int* left, const int* right, const double* weight, double* out,
                           size_t n) {
    for (size_t x = 0; x < n; ++x)
        out[x] = row[left[x]] * (1.0 - weight[x]) + row[right[x]] * weight[x];
}

static void blurMix(const double* upper, const double* lower, double weight, float* out, size_t n) {
    const double rest = 1.0 - weight;
    for (size_t x = 0; x < n; ++x)
        out[x] = (float)(upper[x] * rest + lower[x] * weight);
}

constexpr BlurRows BLUR_ROWS{blurWidenRow, blurAcross,    blurAcrossNear, blurDown,
                             blurHalve,    blurDoubleRow, blurStretchRow, blurMix};
