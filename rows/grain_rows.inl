// Text of the row kernels in grain_rows.h; compiled once per instruction set (see rows/text.inl).
//
// Work goes in blocks that stay in the first-level cache, one kind of arithmetic after the other: 32-bit integer lanes,
// then doubles, then table entries. Each loop then vectorises by itself at its own width.

[[maybe_unused]] static constexpr size_t GRAIN_BLOCK = 128;

ROWS_INLINE uint32_t grainHash(uint32_t x) { // hash32 of process/hash.h
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    return x ^ (x >> 16);
}

// What a block of deviates is made of, step by step.
struct GrainBlock {
    int32_t radial[GRAIN_BLOCK]; // 24 bits each
    int32_t angular[GRAIN_BLOCK];
    double exponent[GRAIN_BLOCK]; // log2 of u1 in halves
    double s[GRAIN_BLOCK];
    double squared[GRAIN_BLOCK]; // the radius, squared
};

template <class V>
ROWS_INLINE void grainSplit(GrainBlock& block, size_t i) {
    const Log2Split<V> split = log2Split((load<V>(block.radial + i) + 0.5) * 0x1p-24);
    store(block.exponent + i, split.exponent);
    store(block.s + i, split.s);
}

template <class V>
ROWS_INLINE void grainSquared(GrainBlock& block, size_t i) {
    // -2 ln(u1) / 3 = -(2/3) ln 2 log2(u1)
    store(block.squared + i, log2OfSplit(load<V>(block.exponent + i), load<V>(block.s + i)) * -0.4620981203732969);
}

template <class V>
ROWS_INLINE V grainDeviate(const GrainBlock& block, size_t i) {
    // cos(2 pi u) = sin(2 pi (|u - 1/2| - 1/4)): the argument is exact, since u has 24 bits.
    const V w = magnitude(fmadd(load<V>(block.angular + i), 0x1p-24, -0.5)) - 0.25;
    return squareRoot(load<V>(block.squared + i)) * sin2PiOf(w);
}

// At most GRAIN_BLOCK deviates, in short loops for the reason given in vector_math.inl. The order of the steps sets
// each of the slow ones, division and square root, beside others that need neither.
[[gnu::noinline]] static void grainDeviateBlock(const uint32_t* columnKey, uint32_t rowKey, double* deviate, size_t n) {
    GrainBlock block;
    for (size_t i = 0; i < n; ++i) {
        const uint32_t h1 = grainHash(columnKey[i] ^ rowKey);
        const uint32_t h2 = grainHash(h1 ^ 0x6A09E667u);
        block.radial[i] = static_cast<int32_t>(h1 & 0xFFFFFFu);
        block.angular[i] = static_cast<int32_t>(h2 & 0xFFFFFFu);
    }
    const size_t full = n - n % LANES;
    for (size_t i = 0; i < full; i += LANES)
        grainSplit<Lanes>(block, i);
    for (size_t i = 0; i < full; i += LANES)
        grainSquared<Lanes>(block, i);
    for (size_t i = 0; i < full; i += LANES)
        store(deviate + i, grainDeviate<Lanes>(block, i));
    for (size_t i = full; i < n; ++i) {
        grainSplit<double>(block, i);
        grainSquared<double>(block, i);
        deviate[i] = grainDeviate<double>(block, i);
    }
}

static void grainDeviates(const uint32_t* columnKey, uint32_t rowKey, double* deviate, size_t n) {
    for (size_t at = 0; at < n; at += GRAIN_BLOCK)
        grainDeviateBlock(columnKey + at, rowKey, deviate + at, n - at < GRAIN_BLOCK ? n - at : GRAIN_BLOCK);
}

// The segments of LANES samples, slopes and offsets apart.
struct GrainSegments {
    Lanes slope;
    Lanes offset;
};
ROWS_INLINE GrainSegments grainSegments(const GrainCurve& curve, const int32_t* index) {
#if LANES == 4
    typedef double Pair __attribute__((vector_size(16)));
    Pair s[4];
    for (int i = 0; i < 4; ++i)
        __builtin_memcpy(&s[i], &curve.segment[index[i]], sizeof s[i]);
    return {Lanes{s[0][0], s[1][0], s[2][0], s[3][0]}, Lanes{s[0][1], s[1][1], s[2][1], s[3][1]}};
#else
    GrainSegments s;
    for (int i = 0; i < LANES; ++i) {
        s.slope[i] = curve.segment[index[i]].slope;
        s.offset[i] = curve.segment[index[i]].offset;
    }
    return s;
#endif
}

// The end segments are flat; the clamp only keeps infinities and NaN out of the product.
template <class V>
ROWS_INLINE V grainNoise(V code, V slope, V offset, V deviate) {
    return fmadd(slope, notBelow(notAbove(code, 1.0), 0.0), offset) * deviate;
}

// One block of noise.
[[gnu::noinline]] static void grainAmplifyBlock(const float* code, const double* deviate, const GrainCurve& curve,
                                                float* __restrict noise, size_t n) {
    int32_t index[GRAIN_BLOCK];
    for (size_t i = 0; i < n; ++i) {
        int32_t k = 0;
        for (int e = 0; e < GrainCurve::EDGES; ++e)
            k += code[i] > curve.edge[e];
        index[i] = k;
    }
    const size_t full = n - n % LANES;
    for (size_t i = 0; i < full; i += LANES) {
        const GrainSegments s = grainSegments(curve, index + i);
        store(noise + i, grainNoise(load<Lanes>(code + i), s.slope, s.offset, load<Lanes>(deviate + i)));
    }
    for (size_t i = full; i < n; ++i) {
        const GrainCurve::Segment s = curve.segment[index[i]];
        store(noise + i, grainNoise<double>(code[i], s.slope, s.offset, deviate[i]));
    }
}

static void grainAmplify(const float* code, const double* deviate, const GrainCurve& curve, float* noise, size_t n) {
    for (size_t at = 0; at < n; at += GRAIN_BLOCK)
        grainAmplifyBlock(code + at, deviate + at, curve, noise + at, n - at < GRAIN_BLOCK ? n - at : GRAIN_BLOCK);
}

static void grainCombine(float* __restrict code, const float* own, const float* otherA, double weightA,
                         const float* otherB, double weightB, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const double c = code[i];
        // Not fused: weights with few decimals meet halfway points between floats often (1e-5 of pixels), where the
        // last bit of a product decides.
        const double sum = ((c + own[i]) + weightA * otherA[i]) + weightB * otherB[i];
        const double cap = c > 1.0 ? c : 1.0; // 1 for a NaN
        code[i] = static_cast<float>(cap < sum ? cap : sum);
    }
}

constexpr GrainRows GRAIN_ROWS{grainDeviates, grainAmplify, grainCombine};
