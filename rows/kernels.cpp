#include "rows/kernels.h"

#include <atomic>

// Another slice of a universal build has no such levels.
#if defined(TARNWELL_X86_LEVELS) && !defined(__x86_64__)
#undef TARNWELL_X86_LEVELS
#endif

namespace velloid {

namespace rows_baseline {
extern const RowKernels KERNELS;
}
#ifdef TARNWELL_X86_LEVELS
namespace rows_avx2 {
extern const RowKernels KERNELS;
}
namespace rows_avx512 {
extern const RowKernels KERNELS;
}
#endif

namespace {

bool processorRuns(RowLevel level) {
    if (level == RowLevel::Baseline) return true;
#ifdef TARNWELL_X86_LEVELS
    __builtin_cpu_init();
    if (level == RowLevel::Avx2) return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("fma");
#else
    return false;
#endif
}

struct Choice {
    RowLevel level;
    const RowKernels* kernels;
};

const Choice CHOICES[ROW_LEVEL_COUNT] = {
    {RowLevel::Baseline, &rows_baseline::KERNELS},
#ifdef TARNWELL_X86_LEVELS
    {RowLevel::Avx2, &rows_avx2::KERNELS},
    {RowLevel::Avx512, &rows_avx512::KERNELS},
#else
    {RowLevel::Avx2, nullptr},
    {RowLevel::Avx512, nullptr},
#endif
};

// The level in use, or null before the first use. Detection always gives the same answer, so a race is harmless.
std::atomic<const Choice*> gChoice{nullptr};

const Choice& detect() {
    for (int i = ROW_LEVEL_COUNT; i-- > 0;) {
        if (CHOICES[i].kernels && processorRuns(CHOICES[i].level)) return CHOICES[i];
    }
    return CHOICES[0];
}

const Choice& choice() {
    const Choice* current = gChoice.load(std::memory_order_acquire);
    if (!current) {
        current = &detect();
        gChoice.store(current, std::memory_order_release);
    }
    return *current;
}

} // namespace

const char* rowLevelName(RowLevel level) {
    switch (level) {
    case RowLevel::Baseline:
        return "baseline";
    case RowLevel::Avx2:
        return "AVX2+FMA";
    case RowLevel::Avx512:
        return "AVX-512";
    }
    return "unknown";
}

bool rowLevelSupported(RowLevel level) {
    return rowKernelsOf(level) != nullptr;
}

bool rowLevelIsFused(RowLevel level) {
#if defined(__aarch64__)
    return level == RowLevel::Baseline;
#else
    return level != RowLevel::Baseline;
#endif
}

RowLevel activeRowLevel() {
    return choice().level;
}

bool setRowLevel(RowLevel level) {
    if (!rowLevelSupported(level)) return false;
    gChoice.store(&CHOICES[static_cast<int>(level)], std::memory_order_release);
    return true;
}

const RowKernels& rowKernels() {
    return *choice().kernels;
}

const RowKernels* rowKernelsOf(RowLevel level) {
    const int index = static_cast<int>(level);
    if (index < 0 || index >= ROW_LEVEL_COUNT || !processorRuns(level)) return nullptr;
    return CHOICES[index].kernels;
}

} // namespace velloid
