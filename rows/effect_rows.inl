// Text of the row kernels in effect_rows.h; compiled once per instruction set (see rows/text.inl).

ROWS_INLINE double orZero(double v) {
    return v > 0.0 ? v : 0.0;
}

static void scaleByGain(float* data, size_t n, double gain) {
    for (size_t i = 0; i < n; ++i)
        data[i] = (float)(data[i] * gain);
}

static void aboveKnee(const float* __restrict in, float* __restrict out, size_t n, double knee) {
    for (size_t i = 0; i < n; ++i)
        out[i] = (float)orZero(in[i] - knee);
}

static void addHalo(float* __restrict data, const float* __restrict narrow, const float* __restrict wide, size_t n,
                    double knee, double w1, double w2, double gain) {
    for (size_t i = 0; i < n; ++i) {
        const double source = (float)orZero(data[i] - knee);
        const double spread = w1 * narrow[i] + w2 * wide[i];
        data[i] += (float)(gain * orZero(spread - source));
    }
}

static void addBloom(float* __restrict data, const float* __restrict narrow, const float* __restrict wide,
                     const float* __restrict soft, size_t n, double narrowShare, double wideShare, double diffusion,
                     double glow) {
    for (size_t i = 0; i < n; ++i) {
        const double in = data[i];
        const double spill = narrowShare * narrow[i] + wideShare * wide[i];
        const double diffused = in + (soft[i] - in) * diffusion;
        data[i] = (float)(diffused + spill * glow);
    }
}

static void softenToLogC4(float* __restrict data, const float* __restrict soft, size_t n, double mix) {
    for (size_t i = 0; i < n; ++i) {
        const double in = data[i];
        data[i] = (float)(in + (soft[i] - in) * mix);
    }
    logc4EncodeRun(data, data, n);
}

// The sharpened codes of n samples.
static void sharpenCodes(const float* __restrict code, const float* __restrict broad, double* __restrict out, size_t n,
                         double strength) {
    for (size_t i = 0; i < n; ++i) {
        const double c = code[i];
        const double limit = 0.055 + 0.1 * __builtin_fabs(c);
        double hp = c - broad[i];
        hp = hp < -limit ? -limit : hp;
        hp = hp > limit ? limit : hp;
        const double sharpened = c + hp * strength;
        const double ceiling = c > 1.0 ? c : 1.0;
        out[i] = ceiling < sharpened ? ceiling : sharpened;
    }
}

static void sharpenFromLogC4(float* data, const float* broad, size_t n, double strength) {
    double codes[CURVE_BLOCK];
    for (size_t at = 0; at < n; at += CURVE_BLOCK) {
        const size_t count = n - at < CURVE_BLOCK ? n - at : CURVE_BLOCK;
        sharpenCodes(data + at, broad + at, codes, count, strength);
        logc4DecodeRun(codes, data + at, count);
    }
}

static void towardsLuminance(float* __restrict r, float* __restrict g, float* __restrict b, size_t n, double yr,
                             double yg, double yb, double amount) {
    for (size_t i = 0; i < n; ++i) {
        const double y = yr * r[i] + yg * g[i] + yb * b[i];
        r[i] = (float)(r[i] + (y - r[i]) * amount);
        g[i] = (float)(g[i] + (y - g[i]) * amount);
        b[i] = (float)(b[i] + (y - b[i]) * amount);
    }
}

constexpr EffectRows EFFECT_ROWS{scaleByGain,   aboveKnee,        addHalo,         addBloom,
                                 softenToLogC4, sharpenFromLogC4, towardsLuminance};
