// Elementary functions in double for the row kernels: branch-free, of a double or of vectors of them (rows/lanes.inl),
// so that a plain loop over them vectorises too. Minimax polynomials computed for this project (relative error); the
// measured bounds stand at each function.
//
// A processor looks some 100 operations ahead, fewer than one such function takes from its first operation to its last.
// So a long loop over a whole function waits for results most of the time; two short loops, with the values between
// them in a buffer, do not. exp2 and log2 therefore also come in two halves.

ROWS_INLINE uint64_t bitsOf(double v) {
    return __builtin_bit_cast(uint64_t, v);
}
ROWS_INLINE BitLanes bitsOf(Lanes v) {
    return __builtin_bit_cast(BitLanes, v);
}
ROWS_INLINE double ofBits(uint64_t bits) {
    return __builtin_bit_cast(double, bits);
}
ROWS_INLINE Lanes ofBits(BitLanes bits) {
    return __builtin_bit_cast(Lanes, bits);
}

// First half of 2^x: x to its nearest whole number plus a fraction. The whole number is in the last bits of `whole`.
template <class V>
struct Exp2Split {
    V whole;
    V fraction;
};
template <class V>
ROWS_INLINE Exp2Split<V> exp2Split(V x) {
    const double shifter = 0x1.8p52;
    const V whole = x + shifter;
    return {whole, x - (whole - shifter)};
}

// 2^f for |f| <= 1/2.
template <class V>
ROWS_INLINE V exp2OfFraction(V f) {
    const V f2 = f * f;
    const V f4 = f2 * f2;
    const V p01 = fmadd(0x1.62e42fefa39efp-1, f, 1.0);
    const V p23 = fmadd(0x1.c6b08d704a124p-5, f, 0x1.ebfbdff82c5a5p-3);
    const V p45 = fmadd(0x1.5d87fe78a08fdp-10, f, 0x1.3b2ab6fb9ffafp-7);
    const V p67 = fmadd(0x1.ffcbfc5c18561p-17, f, 0x1.4309130f14ca6p-13);
    const V p89 = fmadd(0x1.b525395b41326p-24, f, 0x1.62bfc71b33942p-20);
    const V pab = fmadd(0x1.e9506e7754accp-32, f, 0x1.e61c16c1155bcp-28);
    const V q0 = fmadd(p23, f2, p01);
    const V q1 = fmadd(p67, f2, p45);
    const V q2 = fmadd(pab, f2, p89);
    return fmadd(fmadd(q2, f4, q1), f4, q0);
}

// p times 2^whole.
template <class V>
ROWS_INLINE V exp2Scaled(V p, V whole) {
    return ofBits(bitsOf(p) + (bitsOf(whole) << 52));
}

// 2^x for -1022 <= x < 1024; any other x gives an unspecified value that the caller must not use.
// Measured against long double over the whole range: within 1.6 ulp fused, 1.8 unfused; exact for whole x.
template <class V>
ROWS_INLINE V exp2InRange(V x) {
    const Exp2Split<V> s = exp2Split(x);
    return exp2Scaled(exp2OfFraction(s.fraction), s.whole);
}

// 2^x for any x: +infinity from 1024 on, 0 below -1022 (no subnormals), NaN for NaN.
// The ends are selected afterwards rather than clamped before: g++ follows a clamped argument through the polynomial as
// a constant and ends up with twice the selects.
ROWS_INLINE double exp2Of(double x) {
    const double r = exp2InRange(x);
    const double low = x >= -1022.0 ? r : 0.0;
    return x < 1024.0 ? low : x + __builtin_inf();
}

// First half of log2(x): exponent e and s = (m - 1)/(m + 1) of the mantissa m, sqrt(1/2) <= m < sqrt(2).
template <class V>
struct Log2Split {
    V exponent;
    V s;
};
template <class V>
ROWS_INLINE Log2Split<V> log2Split(V x) {
    const uint64_t offset = 0x3fe6a09e667f3bcdu; // bits of sqrt(1/2)
    const auto shifted = bitsOf(x) - offset;
    // The arithmetic shift by 52 is spelled as an add in double, because 64-bit integers convert slowly before AVX-512.
    const auto biased = (shifted + (uint64_t{1024} << 52)) >> 52; // exponent + 1024, positive
    const V e = ofBits(biased | 0x4330000000000000u) - (0x1p52 + 1024.0);
    const V m = ofBits((shifted & 0x000fffffffffffffu) + offset);
    return {e, (m - 1.0) / (m + 1.0)};
}

template <class V>
ROWS_INLINE V log2OfSplit(V e, V s) {
    const V z = s * s;
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V p01 = fmadd(0x1.ec709dc3a062ap-1, z, 0x1.71547652b82fep1);
    const V p23 = fmadd(0x1.a61763075bd44p-2, z, 0x1.2776c50ebd14p-1);
    const V p45 = fmadd(0x1.0ca421b1f061ap-2, z, 0x1.484aeba26a20fp-2);
    const V p67 = fmadd(0x1.b9ff18f01029ep-3, z, 0x1.c3f12e256cb4bp-3);
    const V p = fmadd(fmadd(p67, z2, p45), z4, fmadd(p23, z2, p01));
    return fmadd(s, p, e);
}

// log2(x) for normal x > 0. Any other x gives an unspecified finite value that the caller must not use.
// Measured against long double at every exponent: within 1 ulp outside [1/2, 2], 3.7 inside, however close to 1; exact
// for powers of two.
template <class V>
ROWS_INLINE V log2OfNormal(V x) {
    const Log2Split<V> split = log2Split(x);
    return log2OfSplit(split.exponent, split.s);
}

// log2(x) for normal x > 0, +infinity for +infinity, NaN for NaN; as above for any other x.
ROWS_INLINE double log2Of(double x) {
    const double r = log2OfNormal(x);
    return x < __builtin_inf() ? r : x;
}

// sin(2 pi w) for |w| <= 1/4. Measured against long double: within 3.4 ulp fused, 3.7 unfused.
template <class V>
ROWS_INLINE V sin2PiOf(V w) {
    const V z = w * w;
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V p01 = fmadd(-0x1.4abbce625be39p5, z, 0x1.921fb54442d18p2);
    const V p23 = fmadd(-0x1.32d2cce5e66ebp6, z, 0x1.466bc67759fccp6);
    const V p45 = fmadd(-0x1.e30741a6ba9a8p3, z, 0x1.5078346ab756fp5);
    const V p67 = fmadd(-0x1.6f0536efc6f87p-1, z, 0x1.e8f023f73b579p1);
    const V low = fmadd(p23, z2, p01);
    const V high = fmadd(fmadd(all<V>(0x1.8f9e5a08557f1p-4), z4, fmadd(p67, z2, p45)), z4, low);
    return w * high;
}
