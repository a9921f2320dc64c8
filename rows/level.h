// The instruction sets that the row kernels are compiled for. One is chosen at first use: the best that this processor
// runs. Every level that has a fused multiply-add gives identical bits; the x86-64 baseline has none and stays within
// two units in the last place.
#pragma once

namespace velloid {

enum class RowLevel {
    Baseline, // x86-64 without extensions; on arm64 the only level, and one with a fused multiply-add
    Avx2,     // AVX2 + FMA (x86-64-v3)
    Avx512,   // AVX-512 F, BW, CD, DQ, VL (x86-64-v4)
};

constexpr int ROW_LEVEL_COUNT = 3;

const char* rowLevelName(RowLevel level);

// True when this build holds the level and this processor runs it.
bool rowLevelSupported(RowLevel level);

// True when the level's multiply-adds are fused, so that its results are bit-equal to every other such level.
bool rowLevelIsFused(RowLevel level);

// The level in use. Never blocks; the first call detects the processor.
RowLevel activeRowLevel();

// Renders with another level from now on; for tests and benchmarks. Returns false and changes nothing when the level is
// not supported here. Not meant to be called while a frame renders.
bool setRowLevel(RowLevel level);

} // namespace velloid
