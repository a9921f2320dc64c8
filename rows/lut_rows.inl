// Text of the row kernels in lut_rows.h; compiled once per instruction set (see rows/text.inl).
//
// A block of pixels goes through four loops. The first finds the cell and the fractions of every pixel, in double
// arithmetic; the second the tetrahedron. The third loads the four corners of the walk, one 16-byte load each, turns a
// handful of pixels from "a colour per register" to "a channel per register", and interpolates. The fourth blends.
//
// The defined arithmetic: a corner difference in float, times its double fraction, narrowed to float; terms summed in
// float in the order red, green, blue. With a fused multiply-add the product needs no double: the fraction is cut into
// two floats and d*f = fma(d, hi, d*lo), which differs from the double product only where that is within 2^-24 of a
// rounding boundary. (A difference that overflows would turn d*0 into NaN there: such tables take the double product,
// as does the level without the fused instruction.)

constexpr int LUT_BLOCK = 64;

#if defined(__AVX2__)
constexpr int LUT_LANES = 8;
#else
constexpr int LUT_LANES = 4;
#endif

typedef float LutEntry __attribute__((vector_size(16)));
typedef float LutFloats __attribute__((vector_size(LUT_LANES * 4)));
typedef int32_t LutInts __attribute__((vector_size(LUT_LANES * 4)));
typedef double LutDoubles __attribute__((vector_size(LUT_LANES * 8)));

struct LutBlock {
    alignas(64) double value[3][LUT_BLOCK];   // red, green, blue as the table sees them
    alignas(64) int32_t cell[LUT_BLOCK];      // eight times its first corner's place, plus the order of the fractions
    alignas(64) int32_t corner[4][LUT_BLOCK]; // the walk's lattice points, as offsets into the entries in floats
    alignas(64) float high[3][LUT_BLOCK];     // fraction along red, green, blue: its first 24 bits
    alignas(64) float low[3][LUT_BLOCK];      // and the next
    alignas(64) int32_t redGreen[LUT_BLOCK];  // -1 where red's fraction >= green's, else 0
    alignas(64) int32_t greenBlue[LUT_BLOCK]; // green's >= blue's
    alignas(64) int32_t redBlue[LUT_BLOCK];   // red's >= blue's
    alignas(64) float out[3][LUT_BLOCK];
};

struct LutChannels {
    LutFloats c[3];
};

// The first lattice point of the cell that holds a value, as a whole number, and the fraction of the cell before it.
struct LutPlace {
    Lanes cell;
    Lanes fraction;
};
template <bool UnitWidth>
ROWS_INLINE LutPlace lutPlaceOn(const LutGrid& grid, int axis, const LutBlock& block, int k) {
    const double last = grid.size - 1;
    const Lanes above = load<Lanes>(block.value[axis] + k) - grid.low[axis];
    const Lanes t = UnitWidth ? above : above / grid.width[axis];
    const Lanes position = notAbove(notBelow(t, 0.0), 1.0) * last; // NaN lands on 0
    const Lanes cell = notAbove(wholeBelow(position), last - 1.0);
    return {cell, position - cell};
}

// Cuts a fraction into two floats.
ROWS_INLINE void lutCut(LutBlock& block, int axis, int k, Lanes fraction) {
    const FloatLanes high = toFloat(fraction);
    __builtin_memcpy(block.high[axis] + k, &high, sizeof high);
    store(block.low[axis] + k, fraction - toDouble(high));
}

// `bit` where one fraction is at least the other, else 0.
ROWS_INLINE Lanes lutAtLeast(const LutPlace& one, const LutPlace& other, double bit) {
    const BitLanes mask = __builtin_bit_cast(BitLanes, one.fraction >= other.fraction);
    return ofBits(mask & bitsOf(all<Lanes>(bit)));
}

ROWS_INLINE int32_t lutPick(int32_t mask, int32_t a, int32_t b) {
    return (a & mask) | (b & ~mask);
}

// First loop: cells and fractions of `count` pixels, a multiple of LUT_LANES. One number holds the place of the cell's
// first corner in the table and, in its three last bits, the order of the fractions: it is exact as a double and fits
// an integer.
template <bool UnitWidth>
[[gnu::noinline]] static void lutPlace(const LutGrid grid, LutBlock& block, int count) {
    static_assert(LUT_LANES % LANES == 0);
    const double stepG = 8.0 * grid.size;
    const double stepB = stepG * grid.size;
    for (int k = 0; k < count; k += LANES) {
        const LutPlace r = lutPlaceOn<UnitWidth>(grid, 0, block, k);
        const LutPlace g = lutPlaceOn<UnitWidth>(grid, 1, block, k);
        const LutPlace b = lutPlaceOn<UnitWidth>(grid, 2, block, k);
        lutCut(block, 0, k, r.fraction);
        lutCut(block, 1, k, g.fraction);
        lutCut(block, 2, k, b.fraction);
        const Lanes order = lutAtLeast(r, g, 1.0) + lutAtLeast(g, b, 2.0) + lutAtLeast(r, b, 4.0);
        const Lanes red = fmadd(r.cell, all<Lanes>(8.0), order);
        store(block.cell + k, toInt(fmadd(stepB, b.cell, fmadd(stepG, g.cell, red))));
    }
}

// Second loop: the walk from the cell's first corner to its last. Red goes first where its fraction is >= both others,
// last where it is below both; green goes first where it is above red and >= blue, and so on, which is the order in
// which equal fractions are told apart.
[[gnu::noinline]] static void lutWalk(int32_t size, LutBlock& block, int count) {
    const int32_t stepR = 4;
    const int32_t stepG = 4 * size;
    const int32_t stepB = stepG * size;
    for (int k = 0; k < count; ++k) {
        const int32_t cell = block.cell[k];
        const int32_t rg = -(cell & 1);
        const int32_t gb = -(cell >> 1 & 1);
        const int32_t rb = -(cell >> 2 & 1);
        const int32_t first = lutPick(rg & rb, stepR, lutPick(~rg & gb, stepG, stepB));
        const int32_t final = lutPick(~rg & ~rb, stepR, lutPick(rg & ~gb, stepG, stepB));
        const int32_t base = (cell >> 3) * 4;
        const int32_t top = base + stepR + stepG + stepB;
        block.corner[0][k] = base;
        block.corner[1][k] = base + first;
        block.corner[2][k] = top - final;
        block.corner[3][k] = top;
        block.redGreen[k] = rg;
        block.greenBlue[k] = gb;
        block.redBlue[k] = rb;
    }
}

ROWS_INLINE LutEntry lutEntry(const LutGrid& grid, int32_t offset) {
    LutEntry entry;
    __builtin_memcpy(&entry, grid.entries + offset, sizeof entry);
    return entry;
}

#ifdef __has_builtin
#if __has_builtin(__builtin_shufflevector)
#define LUT_SHUFFLE(a, b, ...) __builtin_shufflevector(a, b, __VA_ARGS__)
#endif
#endif
#ifndef LUT_SHUFFLE
#define LUT_SHUFFLE(a, b, ...) __builtin_shuffle(a, b, LutInts{__VA_ARGS__})
#endif

#if defined(__AVX2__)
// Two entries side by side, in the halves of one register.
ROWS_INLINE LutFloats lutPair(const LutGrid& grid, int32_t first, int32_t second) {
    const LutEntry a = lutEntry(grid, first);
    const LutEntry b = lutEntry(grid, second);
#if defined(__clang__)
    return __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7);
#else
    // From an initialiser with eight elements g++ 12 makes eight moves.
    return __builtin_ia32_vinsertf128_ps256(__builtin_ia32_ps256_ps(a), b, 1);
#endif
}
#endif

// One corner of LUT_LANES pixels, a channel per register.
ROWS_INLINE LutChannels lutCorner(const LutGrid& grid, const int32_t* offset) {
#if defined(__AVX2__)
    const LutFloats p0 = lutPair(grid, offset[0], offset[4]);
    const LutFloats p1 = lutPair(grid, offset[1], offset[5]);
    const LutFloats p2 = lutPair(grid, offset[2], offset[6]);
    const LutFloats p3 = lutPair(grid, offset[3], offset[7]);
    const LutFloats rg01 = LUT_SHUFFLE(p0, p1, 0, 8, 1, 9, 4, 12, 5, 13);
    const LutFloats rg23 = LUT_SHUFFLE(p2, p3, 0, 8, 1, 9, 4, 12, 5, 13);
    const LutFloats b01 = LUT_SHUFFLE(p0, p1, 2, 10, 3, 11, 6, 14, 7, 15);
    const LutFloats b23 = LUT_SHUFFLE(p2, p3, 2, 10, 3, 11, 6, 14, 7, 15);
    return {{LUT_SHUFFLE(rg01, rg23, 0, 1, 8, 9, 4, 5, 12, 13), LUT_SHUFFLE(rg01, rg23, 2, 3, 10, 11, 6, 7, 14, 15),
             LUT_SHUFFLE(b01, b23, 0, 1, 8, 9, 4, 5, 12, 13)}};
#else
    const LutEntry p0 = lutEntry(grid, offset[0]);
    const LutEntry p1 = lutEntry(grid, offset[1]);
    const LutEntry p2 = lutEntry(grid, offset[2]);
    const LutEntry p3 = lutEntry(grid, offset[3]);
    const LutFloats rg01 = LUT_SHUFFLE(p0, p1, 0, 4, 1, 5);
    const LutFloats rg23 = LUT_SHUFFLE(p2, p3, 0, 4, 1, 5);
    const LutFloats b01 = LUT_SHUFFLE(p0, p1, 2, 6, 3, 7);
    const LutFloats b23 = LUT_SHUFFLE(p2, p3, 2, 6, 3, 7);
    return {
        {LUT_SHUFFLE(rg01, rg23, 0, 1, 4, 5), LUT_SHUFFLE(rg01, rg23, 2, 3, 6, 7), LUT_SHUFFLE(b01, b23, 0, 1, 4, 5)}};
#endif
}

// a where the mask is -1, b where it is 0.
ROWS_INLINE LutFloats lutSelect(LutInts mask, LutFloats a, LutFloats b) {
#if defined(__AVX2__)
    return __builtin_ia32_blendvps256(b, a, reinterpret_cast<LutFloats>(mask));
#else
    return reinterpret_cast<LutFloats>((reinterpret_cast<LutInts>(a) & mask) | (reinterpret_cast<LutInts>(b) & ~mask));
#endif
}

ROWS_INLINE LutFloats lutFused(LutFloats a, LutFloats b, LutFloats c) {
#if defined(__AVX2__)
    return __builtin_ia32_vfmaddps256(a, b, c);
#else
    LutFloats r;
    for (int i = 0; i < LUT_LANES; ++i)
        r[i] = __builtin_fmaf(a[i], b[i], c[i]);
    return r;
#endif
}

// A difference times its fraction high + low.
template <bool Exact>
ROWS_INLINE LutFloats lutProduct(LutFloats d, LutFloats high, LutFloats low) {
    if (!Exact) return lutFused(d, high, d * low);
    const LutDoubles f = __builtin_convertvector(high, LutDoubles) + __builtin_convertvector(low, LutDoubles);
    return __builtin_convertvector(__builtin_convertvector(d, LutDoubles) * f, LutFloats);
}

template <class T>
ROWS_INLINE T lutLoad(const void* from) {
    T v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

// Third loop, LUT_LANES pixels from k on. Each of the walk's three differences belongs to the axis that it went along.
template <bool Exact>
ROWS_INLINE void lutMix(const LutGrid& grid, LutBlock& block, int k) {
    const LutChannels c0 = lutCorner(grid, block.corner[0] + k);
    const LutChannels c1 = lutCorner(grid, block.corner[1] + k);
    const LutChannels c2 = lutCorner(grid, block.corner[2] + k);
    const LutChannels c3 = lutCorner(grid, block.corner[3] + k);
    const LutInts rg = lutLoad<LutInts>(block.redGreen + k);
    const LutInts gb = lutLoad<LutInts>(block.greenBlue + k);
    const LutInts rb = lutLoad<LutInts>(block.redBlue + k);
    const LutInts redFirst = rg & rb, redSecond = rg ^ rb;
    const LutInts greenFirst = ~rg & gb, greenSecond = ~(rg ^ gb);
    const LutInts blueFirst = ~(gb | rb), blueSecond = gb ^ rb;
    const LutFloats hr = lutLoad<LutFloats>(block.high[0] + k), lr = lutLoad<LutFloats>(block.low[0] + k);
    const LutFloats hg = lutLoad<LutFloats>(block.high[1] + k), lg = lutLoad<LutFloats>(block.low[1] + k);
    const LutFloats hb = lutLoad<LutFloats>(block.high[2] + k), lb = lutLoad<LutFloats>(block.low[2] + k);
    for (int c = 0; c < 3; ++c) {
        const LutFloats d1 = c1.c[c] - c0.c[c];
        const LutFloats d2 = c2.c[c] - c1.c[c];
        const LutFloats d3 = c3.c[c] - c2.c[c];
        const LutFloats dr = lutSelect(redFirst, d1, lutSelect(redSecond, d2, d3));
        const LutFloats dg = lutSelect(greenFirst, d1, lutSelect(greenSecond, d2, d3));
        const LutFloats db = lutSelect(blueFirst, d1, lutSelect(blueSecond, d2, d3));
        const LutFloats sum =
            ((c0.c[c] + lutProduct<Exact>(dr, hr, lr)) + lutProduct<Exact>(dg, hg, lg)) + lutProduct<Exact>(db, hb, lb);
        __builtin_memcpy(block.out[c] + k, &sum, sizeof sum);
    }
}

// block.value to block.out for the first n pixels. Pixels that fill up the last lanes sample the table at 0.
static void lutSample(const LutGrid& grid, LutBlock& block, int n) {
    const int count = (n + LUT_LANES - 1) / LUT_LANES * LUT_LANES;
    for (int c = 0; c < 3; ++c) {
        for (int k = n; k < count; ++k)
            block.value[c][k] = 0.0;
    }
    if (grid.unitWidth) {
        lutPlace<true>(grid, block, count);
    } else {
        lutPlace<false>(grid, block, count);
    }
    lutWalk(grid.size, block, count);
    if (ROWS_FUSED && !grid.huge) {
        for (int k = 0; k < count; k += LUT_LANES)
            lutMix<!ROWS_FUSED>(grid, block, k);
    } else {
        for (int k = 0; k < count; k += LUT_LANES)
            lutMix<true>(grid, block, k);
    }
}

// v + (o - v)*strength with one rounding, as the blend is defined. Without the instruction the product is kept in two
// parts: with a strength of few decimals, 0.85 say, a thousandth of all results would otherwise lie on a tie between
// two floats and fall to the wrong side. Where the parts leave the range of a float, the plain form serves.
ROWS_INLINE double lutBlended(double v, double o, double strength) {
    const double d = o - v;
    const double plain = fmadd(d, strength, v);
    if (ROWS_FUSED) return plain;
    const double dHigh = static_cast<float>(d);
    const double sHigh = static_cast<float>(strength);
    const double dLow = d - dHigh;
    const double sLow = strength - sHigh;
    const double product = dHigh * sHigh; // exact
    const double sum = product + v;
    const double vPart = sum - product;
    const double lost = (product - (sum - vPart)) + (v - vPart);
    const double whole = sum + (lost + (dHigh * sLow + dLow * strength));
    return __builtin_fabs(whole) < __builtin_inf() ? whole : plain;
}

static void lutBlend(const LutGrid& grid, double strength, float* r, float* g, float* b, size_t n) {
    LutBlock block;
    float* const planes[3] = {r, g, b};
    for (size_t at = 0; at < n; at += LUT_BLOCK) {
        const int count = n - at < LUT_BLOCK ? static_cast<int>(n - at) : LUT_BLOCK;
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < count; ++k)
                block.value[c][k] = planes[c][at + k];
        }
        lutSample(grid, block, count);
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < count; ++k) {
                planes[c][at + k] = static_cast<float>(lutBlended(block.value[c][k], block.out[c][k], strength));
            }
        }
    }
}

static void lutBlendLogC4(const LutGrid& grid, double strength, float* r, float* g, float* b, size_t n) {
    LutBlock block;
    float* const planes[3] = {r, g, b};
    for (size_t at = 0; at < n; at += LUT_BLOCK) {
        const int count = n - at < LUT_BLOCK ? static_cast<int>(n - at) : LUT_BLOCK;
        for (int c = 0; c < 3; ++c) {
            logc4EncodeRun(planes[c] + at, block.value[c], static_cast<size_t>(count));
        }
        lutSample(grid, block, count);
        for (int c = 0; c < 3; ++c) {
            double* const codes = block.value[c];
            for (int k = 0; k < count; ++k)
                codes[k] = fmadd(block.out[c][k] - codes[k], strength, codes[k]);
            logc4DecodeRun(codes, planes[c] + at, static_cast<size_t>(count));
        }
    }
}

#undef LUT_SHUFFLE

constexpr LutRows LUT_ROWS{lutBlend, lutBlendLogC4};
