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

static void grainDeviates(const uint32_t* columnKey, uint32_t rowKey, double* __restrict deviate, size_t n) {
    for (size_t start = 0; start < n; start += GRAIN_BLOCK) {
        const size_t count = n - start < GRAIN_BLOCK ? n - start : GRAIN_BLOCK;
        int32_t radial[GRAIN_BLOCK];
        int32_t angular[GRAIN_BLOCK];
        for (size_t i = 0; i < count; ++i) {
            const uint32_t h1 = grainHash(columnKey[start + i] ^ rowKey);
            const uint32_t h2 = grainHash(h1 ^ 0x6A09E667u);
            radial[i] = static_cast<int32_t>(h1 & 0xFFFFFFu);
            angular[i] = static_cast<int32_t>(h2 & 0xFFFFFFu);
        }
        for (size_t i = 0; i < count; ++i) {
            const double u1 = (radial[i] + 0.5) * 0x1p-24;
            // cos(2 pi u) = sin(2 pi (|u - 1/2| - 1/4)): the argument is exact, since u has 24 bits.
            const double w = __builtin_fabs(fmadd(angular[i], 0x1p-24, -0.5)) - 0.25;
            const double squared = log2OfNormal(u1) * -0.4620981203732969; // -2 ln(u1) / 3 = -(2/3) ln 2 log2(u1)
            deviate[start + i] = __builtin_sqrt(squared) * sin2PiOf(w);
        }
    }
}

static void grainAmplify(const float* code, const double* deviate, const GrainCurve& curve, float* __restrict noise,
                         size_t n) {
    for (size_t start = 0; start < n; start += GRAIN_BLOCK) {
        const size_t count = n - start < GRAIN_BLOCK ? n - start : GRAIN_BLOCK;
        int32_t index[GRAIN_BLOCK];
        GrainCurve::Segment segment[GRAIN_BLOCK];
        for (size_t i = 0; i < count; ++i) {
            const float c = code[start + i];
            int32_t k = 0;
            for (int e = 0; e < GrainCurve::EDGES; ++e)
                k += c > curve.edge[e];
            index[i] = k;
        }
        for (size_t i = 0; i < count; ++i)
            segment[i] = curve.segment[index[i]];
        for (size_t i = 0; i < count; ++i) {
            // The end segments are flat; the clamp only keeps infinities and NaN out of the product.
            float c = code[start + i];
            c = c < 1.f ? c : 1.f;
            c = c > 0.f ? c : 0.f;
            const double amplitude = fmadd(segment[i].slope, c, segment[i].offset);
            noise[start + i] = static_cast<float>(amplitude * deviate[start + i]);
        }
    }
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
