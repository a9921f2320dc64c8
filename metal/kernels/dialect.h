// Was Metal, OpenCL C 1.2 und C++ verschieden schreiben. Die Kernel selbst kennen nur diese Wörter:
//   BODY            eine Funktion, die ein Kernel aufruft          KERNEL       ein Einstiegspunkt
//   GLOBAL          Zeiger in einen Puffer                         CONSTANT     Zeiger in einen Konstantenpuffer
//   VALUE(typ)      Argument, das als Wert übergeben wird          AT(index)    Bindungsindex eines Arguments
//   GRID, ENTER     Position des Threads (id), und Rückkehr, wenn sie außerhalb der Ebene liegt
//   PROGRAM_VALUE   Konstante des Programms                        INT2, FLOAT3 Paar und Tripel
//   floatBits       die 32 Bit einer Zahl                          preciseSin   der genaue, nie der schnelle Sinus
// OpenCL zählt die Argumente: Argument k ist das mit dem k-kleinsten Bindungsindex, also gilt dort die Reihenfolge.
// Kein double, jede Zahl trägt ihr f; min, max und clamp nie mit gemischten Typen (in Metal mehrdeutig).
#pragma once

#if defined(__METAL_VERSION__)

#include <metal_stdlib>
using namespace metal;

#define BODY static inline
#define KERNEL kernel
#define GLOBAL device
#define CONSTANT constant
#define VALUE(type) constant type&
#define AT(index) [[buffer(index)]]
#define GRID , uint2 id [[thread_position_in_grid]]
#define ENTER(width, height)                                                                                           \
    if (id.x >= (uint)(width) || id.y >= (uint)(height)) return
#define PROGRAM_VALUE constant
#define INT2(x, y) int2(x, y)
#define FLOAT3(x, y, z) float3(x, y, z)

BODY uint floatBits(float v) { return as_type<uint>(v); }
BODY float preciseSin(float v) { return precise::sin(v); }

#elif defined(__OPENCL_VERSION__) || defined(__OPENCL_C_VERSION__)

#define BODY static inline
#define KERNEL __kernel
#define GLOBAL __global
#define CONSTANT __constant
#define VALUE(type) const type
#define AT(index)
#define GRID
#define ENTER(width, height)                                                                                           \
    const uint2 id = (uint2)((uint)get_global_id(0), (uint)get_global_id(1));                                          \
    if (id.x >= (uint)(width) || id.y >= (uint)(height)) return
#define PROGRAM_VALUE __constant
#define INT2(x, y) ((int2)(x, y))
#define FLOAT3(x, y, z) ((float3)(x, y, z))

BODY uint floatBits(float v) { return as_uint(v); }
BODY float preciseSin(float v) { return sin(v); }

#else

#include "metal/kernels/dialect_cpp.h"

#endif
