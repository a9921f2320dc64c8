// Text of the row kernels in effect_rows.h; compiled once per instruction set (see rows/text.inl).

static void scaleByGain(float* data, size_t n, double gain) {
    for (size_t i = 0; i < n; ++i) data[i] = (float)(data[i] * gain);
}

constexpr EffectRows EFFECT_ROWS{scaleByGain};
