// Vectors of doubles by hand, for the kernels that the compiler does not vectorise well by itself; and the multiply-add
// that all kernels are written with.
//
// Functions of a template parameter V take a `double` or a `Lanes`: the ends of a row, which fill no vector, go through
// the very text of its middle.

// A loop with a call in it does not vectorise, and what g++ calls rather than inlines depends on all the rest of the
// text.
#define ROWS_INLINE [[gnu::always_inline, maybe_unused]] static inline

#if defined(__AVX512F__)
#define LANES 8
#elif defined(__AVX2__)
#define LANES 4
#else
#define LANES 2
#endif

typedef double Lanes __attribute__((vector_size(8 * LANES)));
typedef float FloatLanes __attribute__((vector_size(4 * LANES)));
typedef int32_t IntLanes __attribute__((vector_size(4 * LANES)));
typedef uint64_t BitLanes __attribute__((vector_size(8 * LANES)));

// The number k in every lane.
template <class V>
ROWS_INLINE V all(double k) {
    return k - V{};
}
// 0, 1, 2 ...
ROWS_INLINE Lanes laneNumbers() {
    Lanes v;
    for (int i = 0; i < LANES; ++i)
        v[i] = i;
    return v;
}
template <>
[[gnu::always_inline]] inline double all<double>(double k) {
    return k;
}

ROWS_INLINE double fmadd(double a, double b, double c) {
#if ROWS_FUSED
    return __builtin_fma(a, b, c);
#else
    return a * b + c;
#endif
}

ROWS_INLINE Lanes fmadd(Lanes a, Lanes b, Lanes c) {
#if defined(__AVX512F__)
    return __builtin_ia32_vfmaddpd512_mask(a, b, c, (unsigned char)-1, 4);
#elif defined(__AVX2__) && defined(__FMA__)
    return __builtin_ia32_vfmaddpd256(a, b, c);
#elif ROWS_FUSED
    for (int i = 0; i < LANES; ++i)
        c[i] = __builtin_fma(a[i], b[i], c[i]);
    return c;
#else
    return a * b + c;
#endif
}
ROWS_INLINE Lanes fmadd(double a, Lanes b, double c) {
    return fmadd(all<Lanes>(a), b, all<Lanes>(c));
}
ROWS_INLINE Lanes fmadd(double a, Lanes b, Lanes c) {
    return fmadd(all<Lanes>(a), b, c);
}
ROWS_INLINE Lanes fmadd(Lanes a, double b, double c) {
    return fmadd(a, all<Lanes>(b), all<Lanes>(c));
}

// The smaller of v and a limit; the limit for a NaN.
ROWS_INLINE double notAbove(double v, double limit) {
    return v < limit ? v : limit;
}
ROWS_INLINE Lanes notAbove(Lanes v, double limit) {
#if LANES == 4
    return __builtin_ia32_minpd256(v, all<Lanes>(limit));
#elif defined(__SSE2__) && LANES == 2
    return __builtin_ia32_minpd(v, all<Lanes>(limit));
#else
    return v < all<Lanes>(limit) ? v : all<Lanes>(limit);
#endif
}

// The larger of v and a limit; the limit for a NaN.
ROWS_INLINE double notBelow(double v, double limit) {
    return v > limit ? v : limit;
}
ROWS_INLINE Lanes notBelow(Lanes v, double limit) {
#if LANES == 4
    return __builtin_ia32_maxpd256(v, all<Lanes>(limit));
#elif defined(__SSE2__) && LANES == 2
    return __builtin_ia32_maxpd(v, all<Lanes>(limit));
#else
    return v > all<Lanes>(limit) ? v : all<Lanes>(limit);
#endif
}

ROWS_INLINE double magnitude(double v) {
    return __builtin_fabs(v);
}
ROWS_INLINE Lanes magnitude(Lanes v) {
    const BitLanes sign = __builtin_bit_cast(BitLanes, all<Lanes>(-0.0));
    return __builtin_bit_cast(Lanes, __builtin_bit_cast(BitLanes, v) & ~sign);
}

ROWS_INLINE double squareRoot(double v) {
    return __builtin_sqrt(v);
}
ROWS_INLINE Lanes squareRoot(Lanes v) {
#if LANES == 4
    return __builtin_ia32_sqrtpd256(v);
#elif defined(__SSE2__) && LANES == 2
    return __builtin_ia32_sqrtpd(v);
#else
    for (int i = 0; i < LANES; ++i)
        v[i] = __builtin_sqrt(v[i]);
    return v;
#endif
}

// Float lanes to double and back. g++ splits the generic conversion into halves, so its own builtins stand here.
ROWS_INLINE Lanes toDouble(FloatLanes v) {
#if defined(__clang__) || LANES == 2
    return __builtin_convertvector(v, Lanes);
#elif LANES == 4
    return __builtin_ia32_cvtps2pd256(v);
#else
    return __builtin_ia32_cvtps2pd512_mask(v, Lanes{}, (unsigned char)-1, 4);
#endif
}

ROWS_INLINE FloatLanes toFloat(Lanes v) {
#if defined(__clang__) || LANES == 2
    return __builtin_convertvector(v, FloatLanes);
#elif LANES == 4
    return __builtin_ia32_cvtpd2ps256(v);
#else
    return __builtin_ia32_cvtpd2ps512_mask(v, FloatLanes{}, (unsigned char)-1, 4);
#endif
}

// Lanes S .. S + LANES - 1 of two vectors, one after the other; 0 <= S < LANES.
template <int S>
ROWS_INLINE Lanes joined(Lanes low, Lanes high) {
#if defined(__clang__) && LANES == 8
    return __builtin_shufflevector(low, high, S, S + 1, S + 2, S + 3, S + 4, S + 5, S + 6, S + 7);
#elif defined(__clang__) && LANES == 4
    return __builtin_shufflevector(low, high, S, S + 1, S + 2, S + 3);
#elif defined(__clang__)
    return __builtin_shufflevector(low, high, S, S + 1);
#else
    typedef int64_t Order __attribute__((vector_size(8 * LANES)));
#if LANES == 8
    return __builtin_shuffle(low, high, Order{S, S + 1, S + 2, S + 3, S + 4, S + 5, S + 6, S + 7});
#elif LANES == 4
    return __builtin_shuffle(low, high, Order{S, S + 1, S + 2, S + 3});
#else
    return __builtin_shuffle(low, high, Order{S, S + 1});
#endif
#endif
}

// The largest whole number not above v, for |v| < 2^51.
ROWS_INLINE Lanes wholeBelow(Lanes v) {
#if LANES == 4
    return __builtin_ia32_roundpd256(v, 1);
#else
    const double shifter = 0x1.8p52; // the sum rounds to the nearest whole number
    const Lanes nearest = (v + shifter) - shifter;
    return nearest > v ? nearest - 1.0 : nearest;
#endif
}

// Toward zero, for what fits.
ROWS_INLINE IntLanes toInt(Lanes v) {
#if defined(__clang__) || LANES == 2
    return __builtin_convertvector(v, IntLanes);
#elif LANES == 4
    return __builtin_ia32_cvttpd2dq256(v);
#else
    return __builtin_ia32_cvttpd2dq512_mask(v, IntLanes{}, (unsigned char)-1, 4);
#endif
}

// V from samples in memory, which are aligned to nothing, and to them.
template <class V>
ROWS_INLINE V load(const double* from) {
    V v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}
template <class V>
ROWS_INLINE V load(const float* from) {
    FloatLanes v;
    __builtin_memcpy(&v, from, sizeof v);
    return toDouble(v);
}
template <class V>
ROWS_INLINE V load(const int32_t* from) {
    IntLanes v;
    __builtin_memcpy(&v, from, sizeof v);
#if defined(__clang__) || LANES == 2
    return __builtin_convertvector(v, Lanes);
#elif LANES == 4
    return __builtin_ia32_cvtdq2pd256(v);
#else
    return __builtin_ia32_cvtdq2pd512_mask(v, Lanes{}, (unsigned char)-1);
#endif
}
template <>
[[gnu::always_inline]] inline double load<double>(const float* from) {
    return *from;
}
template <>
[[gnu::always_inline]] inline double load<double>(const int32_t* from) {
    return *from;
}

ROWS_INLINE void store(double* to, Lanes v) {
    __builtin_memcpy(to, &v, sizeof v);
}
ROWS_INLINE void store(float* to, Lanes v) {
    const FloatLanes f = toFloat(v);
    __builtin_memcpy(to, &f, sizeof f);
}
ROWS_INLINE void store(int32_t* to, IntLanes v) {
    __builtin_memcpy(to, &v, sizeof v);
}
ROWS_INLINE void store(double* to, double v) {
    *to = v;
}
ROWS_INLINE void store(float* to, double v) {
    *to = (float)v;
}
