// Dieselben Wörter in C++, damit Tests jeden Kernel ohne Grafikprozessor über ein Bild laufen lassen können. Wer den
// Text übersetzt, bindet vorher <cmath> und <cstddef> ein und stellt ihn in einen eigenen Namensraum.
#pragma once

#define BODY static inline
#define KERNEL static inline
#define GLOBAL
#define CONSTANT const
#define VALUE(type) const type
#define AT(index)
#define GRID , const uint2 id
#define ENTER(width, height)                                                                                           \
    if (id.x >= (uint)(width) || id.y >= (uint)(height)) return
#define PROGRAM_VALUE constexpr
#define INT2(x, y) (int2{x, y})
#define FLOAT3(x, y, z) (float3{x, y, z})

typedef unsigned int uint;

struct uint2 {
    uint x, y;
};

struct int2 {
    int x, y;
};

struct int4 {
    int x, y, z, w;
};

struct float3 {
    float x, y, z;
};

BODY float3 operator+(float3 a, float3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
BODY float3 operator-(float3 a, float3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
BODY float3 operator*(float3 a, float3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
BODY float3 operator*(float3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }

BODY int min(int a, int b) { return a < b ? a : b; }
BODY int max(int a, int b) { return a > b ? a : b; }
BODY int clamp(int v, int low, int high) { return v < low ? low : v > high ? high : v; }
BODY float fmin(float a, float b) { return ::fminf(a, b); }
BODY float fmax(float a, float b) { return ::fmaxf(a, b); }
BODY float fabs(float v) { return ::fabsf(v); }
BODY float floor(float v) { return ::floorf(v); }
BODY float sqrt(float v) { return ::sqrtf(v); }
BODY float exp(float v) { return ::expf(v); }
BODY float exp2(float v) { return ::exp2f(v); }
BODY float exp10(float v) { return ::powf(10.0f, v); }
BODY float log(float v) { return ::logf(v); }
BODY float log2(float v) { return ::log2f(v); }
BODY float log10(float v) { return ::log10f(v); }
BODY float pow(float base, float exponent) { return ::powf(base, exponent); }
BODY float cos(float v) { return ::cosf(v); }

BODY uint floatBits(float v) { return __builtin_bit_cast(uint, v); }
BODY float preciseSin(float v) { return ::sinf(v); }
