// Floors and goals. Those of the fast levels were reached by prototypes of the stages before the plug-in was written;
// T12 keeps the baseline build from losing to plain loops.
#include "bench/targets.h"

namespace tarnwell::bench {

namespace {

using velloid::RowLevel;

constexpr Limits NO_LIMITS{0.0, 0.0};

struct TargetRow {
    const char* id;
    Sense sense;
    Limits baseline;
    Limits avx2;
    Limits avx512;
};

constexpr auto LEAST = Sense::AtLeast;
constexpr auto MOST = Sense::AtMost;

// clang-format off
constexpr TargetRow TARGETS[] = {
//   id                   sense   baseline      AVX2+FMA       AVX-512
    {"T1",                LEAST,  NO_LIMITS,    {5.0,   7.3},  {8.0,  12.5}},  // default chain against literal
    {"T2",                LEAST,  NO_LIMITS,    {5.5,   8.0},  {8.5,  13.0}},  // everything on against literal
    {"T3",                LEAST,  NO_LIMITS,    {3.5,   5.0},  {6.0,   9.0}},  // LogC4 codes of a plane and back
    {"T4",                LEAST,  NO_LIMITS,    {1.0,   1.3},  {1.6,   2.3}},  // S-Log3 decode and matrix, OpenColorIO
    {"T5",                LEAST,  NO_LIMITS,    {0.65,  0.8},  {0.85,  1.1}},  // blur sigma 0.6, OpenCV
    {"T6",                LEAST,  NO_LIMITS,    {0.8,  0.97},  {1.3,  1.75}},  // blur sigma 7.3, OpenCV
    {"T7",                LEAST,  NO_LIMITS,    {5.0,   7.0},  {7.0,  10.0}},  // wide blur against literal
    {"T8.ocio",           LEAST,  NO_LIMITS,    {2.0,   5.0},  {3.0,   5.3}},  // 33-point table
    {"T8.ffmpeg",         LEAST,  NO_LIMITS,    {0.6,  0.95},  {0.75,  1.0}},
    {"T9",                LEAST,  NO_LIMITS,    {4.5,   6.5},  {7.5,  10.0}},  // 65-point print look against literal
    {"T10.literal",       LEAST,  NO_LIMITS,    {7.0,  10.5},  {13.0, 20.0}},  // grain noise
    {"T10.randn",         LEAST,  NO_LIMITS,    {0.45, 0.65},  {0.8,   1.3}},
    {"T11.literal",       LEAST,  NO_LIMITS,    {12.0, 22.0},  {20.0, 33.0}},  // gate weave
    {"T11.lanczos4",      LEAST,  NO_LIMITS,    {2.0,   3.4},  {3.0,   5.0}},
    {"T12",               LEAST,  {1.0, 1.5},   NO_LIMITS,     NO_LIMITS},     // any stage against literal
    {"T13",               LEAST,  {1.75, 1.9},  {1.75,  1.9},  {1.75,  1.9}},  // two threads against one
    {"T14",               MOST,   {10.0, 6.0},  {10.0,  6.0},  {10.0,  6.0}},  // scratch, in planes
    {"T15.default.share", MOST,   {1e-5, 1e-6}, {1e-5, 1e-7},  {1e-5, 1e-7}},  // floats that differ from literal
    {"T15.default.ulps",  MOST,   {2.0, 2.0},   {2.0,   1.0},  {2.0,   1.0}},  // units in the last place
    {"T15.all.share",     MOST,   {1e-5, 2e-6}, {1e-5, 2e-6},  {1e-5, 2e-6}},
    {"T15.all.ulps",      MOST,   {2.0, 2.0},   {2.0,   2.0},  {2.0,   2.0}},
    {"T16",               MOST,   {2.2, 1.65},  {2.2,  1.65},  {2.2,  1.65}},  // time per pixel, 8K against 1080p
    {"T17",               MOST,   {1.6, 1.15},  {1.6,  1.15},  {1.6,  1.15}},  // time per pixel, 256 against 1080p
};
// clang-format on

const Limits& limitsAt(const TargetRow& row, RowLevel level) {
    return level == RowLevel::Avx512 ? row.avx512 : level == RowLevel::Avx2 ? row.avx2 : row.baseline;
}

bool isWithin(Sense sense, double value, double limit) {
    return sense == Sense::AtLeast ? value >= limit : value <= limit;
}

} // namespace

std::optional<Target> targetOf(const std::string& id, RowLevel level) {
    for (const TargetRow& row : TARGETS) {
        if (id != row.id) continue;
        const Limits& limits = limitsAt(row, level);
        if (limits.goal == 0.0) return std::nullopt;
        return Target{row.sense, limits};
    }
    return std::nullopt;
}

Verdict judge(const Target& target, double value) {
    if (isWithin(target.sense, value, target.limits.goal)) return Verdict::Goal;
    return isWithin(target.sense, value, target.limits.floor) ? Verdict::FloorOnly : Verdict::Missed;
}

} // namespace tarnwell::bench
