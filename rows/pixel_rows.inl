// Text of the row kernels in pixel_rows.h; compiled once per instruction set (see rows/text.inl).

template <typename Sample>
struct SampleScale; // code value 1.0 in sample units
template <>
struct SampleScale<uint8_t> {
    static constexpr double ONE = 255.0;
};
template <>
struct SampleScale<uint16_t> {
    static constexpr double ONE = 65535.0;
};
template <>
struct SampleScale<float> {
    static constexpr double ONE = 1.0;
};

// Rows of odd length may leave a host's samples unaligned, so they are copied, not dereferenced.
template <typename Sample>
ROWS_INLINE Sample loadSample(const void* row, size_t index) {
    Sample sample;
    __builtin_memcpy(&sample, static_cast<const unsigned char*>(row) + index * sizeof(Sample), sizeof(Sample));
    return sample;
}

template <typename Sample>
ROWS_INLINE void storeSample(void* row, size_t index, Sample sample) {
    __builtin_memcpy(static_cast<unsigned char*>(row) + index * sizeof(Sample), &sample, sizeof(Sample));
}

template <typename Sample>
ROWS_INLINE double codeOf(Sample sample) {
    return static_cast<double>(sample) / SampleScale<Sample>::ONE;
}

template <typename Sample>
ROWS_INLINE double loadCode(const void* row, size_t index) {
    return codeOf(loadSample<Sample>(row, index));
}

// The nearest sample, halves upwards; a NaN stores 0.
template <typename Sample>
ROWS_INLINE Sample sampleOf(double code) {
    const double inside = code > 0.0 ? (code < 1.0 ? code : 1.0) : 0.0;
    const double scaled = inside * SampleScale<Sample>::ONE;
    const double below = static_cast<double>(static_cast<int32_t>(scaled));
    return static_cast<Sample>(below + (scaled - below >= 0.5 ? 1.0 : 0.0));
}

template <>
[[gnu::always_inline]] inline float sampleOf<float>(double code) {
    return static_cast<float>(code);
}

ROWS_INLINE bool isFiniteValue(double v) {
    return v - v == 0.0;
}

ROWS_INLINE float clampedAlpha(double alpha) {
    const double inside = alpha > 0.0 ? (alpha < 1.0 ? alpha : 1.0) : 0.0; // a NaN fails both tests
    return static_cast<float>(inside);
}

template <typename Sample, int Components>
static void importSamples(const void* source, size_t n, double* r, double* g, double* b) {
    for (size_t i = 0; i < n; ++i) {
        r[i] = loadCode<Sample>(source, i * Components);
        g[i] = loadCode<Sample>(source, i * Components + 1);
        b[i] = loadCode<Sample>(source, i * Components + 2);
    }
}

template <typename Sample>
static void unpremultiply(const void* source, size_t n, double* r, double* g, double* b) {
    for (size_t i = 0; i < n; ++i) {
        const double alpha = loadCode<Sample>(source, i * 4 + 3);
        const bool visible = isFiniteValue(alpha) && alpha > 1e-12;
        const double divisor = visible ? alpha : 1.0;
        r[i] = visible ? r[i] / divisor : 0.0;
        g[i] = visible ? g[i] / divisor : 0.0;
        b[i] = visible ? b[i] / divisor : 0.0;
    }
}

template <typename Sample>
static void importTyped(const RowFormat& format, const void* source, size_t n, double* r, double* g, double* b,
                        float* alpha) {
    if (format.components == 3) {
        importSamples<Sample, 3>(source, n, r, g, b);
    } else {
        importSamples<Sample, 4>(source, n, r, g, b);
        if (alpha) {
            for (size_t i = 0; i < n; ++i)
                alpha[i] = clampedAlpha(loadCode<Sample>(source, i * 4 + 3));
        }
        if (format.premultiplied) unpremultiply<Sample>(source, n, r, g, b);
    }
}

static void importPixels(const RowFormat& format, const void* source, size_t n, double* r, double* g, double* b,
                         float* alpha) {
    switch (format.type) {
    case RowSample::Byte:
        importTyped<uint8_t>(format, source, n, r, g, b, alpha);
        break;
    case RowSample::Short:
        importTyped<uint16_t>(format, source, n, r, g, b, alpha);
        break;
    case RowSample::Float:
        importTyped<float>(format, source, n, r, g, b, alpha);
        break;
    }
}

template <typename Sample>
static void exportTyped(const RowFormat& format, const double* r, const double* g, const double* b, const float* alpha,
                        const void* source, size_t n, void* output) {
    const size_t components = static_cast<size_t>(format.components);
    for (size_t i = 0; i < n; ++i) {
        const size_t pixel = i * components;
        double coverage = 1.0;
        if (components == 4) {
            const Sample sourceAlpha = loadSample<Sample>(source, pixel + 3);
            const double code = alpha ? static_cast<double>(alpha[i]) : codeOf(sourceAlpha);
            if (format.premultiplied) coverage = code;
            storeSample(output, pixel + 3, alpha ? sampleOf<Sample>(code) : sourceAlpha);
        }
        storeSample(output, pixel, sampleOf<Sample>(r[i] * coverage));
        storeSample(output, pixel + 1, sampleOf<Sample>(g[i] * coverage));
        storeSample(output, pixel + 2, sampleOf<Sample>(b[i] * coverage));
    }
}

static void exportPixels(const RowFormat& format, const double* r, const double* g, const double* b, const float* alpha,
                         const void* source, size_t n, void* output) {
    switch (format.type) {
    case RowSample::Byte:
        exportTyped<uint8_t>(format, r, g, b, alpha, source, n, output);
        break;
    case RowSample::Short:
        exportTyped<uint16_t>(format, r, g, b, alpha, source, n, output);
        break;
    case RowSample::Float:
        exportTyped<float>(format, r, g, b, alpha, source, n, output);
        break;
    }
}

constexpr PixelRows PIXEL_ROWS{importPixels, exportPixels};
