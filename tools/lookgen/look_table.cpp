#include "tools/lookgen/look_table.h"

#include <cmath>
#include <thread>

namespace lookgen {
namespace {

const double LOGC4_A = (std::exp2(18.0) - 16.0) / 117.45;
constexpr double LOGC4_B = (1023.0 - 95.0) / 1023.0;
constexpr double LOGC4_C = 95.0 / 1023.0;
const double LOGC4_S = 7.0 * std::log(2.0) * std::exp2(7.0 - 14.0 * LOGC4_C / LOGC4_B) / (LOGC4_A * LOGC4_B);
const double LOGC4_T = (std::exp2(6.0 - 14.0 * LOGC4_C / LOGC4_B) - 64.0) / LOGC4_A;

// One blue plane of the lattice.
void computePlane(const FilmModel& film, int points, int blue, float* out) {
    const auto light = [points](int index) { return logC4Decode(static_cast<double>(index) / (points - 1)); };
    for (int green = 0; green < points; ++green)
        for (int red = 0; red < points; ++red)
            for (const double channel : film.projectedLight({light(red), light(green), light(blue)}))
                *out++ = static_cast<float>(logC4Encode(std::fmax(channel, 0.0)));
}

} // namespace

double logC4Encode(double x) {
    return x >= LOGC4_T ? (std::log2(LOGC4_A * x + 64.0) - 6.0) / 14.0 * LOGC4_B + LOGC4_C : (x - LOGC4_T) / LOGC4_S;
}

double logC4Decode(double v) {
    return v >= 0.0 ? (std::exp2(14.0 * (v - LOGC4_C) / LOGC4_B + 6.0) - 64.0) / LOGC4_A : v * LOGC4_S + LOGC4_T;
}

std::vector<float> computeTable(const Recipe& recipe, int threads) {
    const FilmModel film(recipe);
    const int points = recipe.points;
    const std::size_t plane = static_cast<std::size_t>(points) * points * 3;
    std::vector<float> table(plane * points);
    const auto work = [&](int first) {
        for (int blue = first; blue < points; blue += threads)
            computePlane(film, points, blue, &table[plane * blue]);
    };
    std::vector<std::thread> helpers;
    for (int t = 1; t < threads; ++t)
        helpers.emplace_back(work, t);
    work(0);
    for (std::thread& helper : helpers)
        helper.join();
    return table;
}

std::uint64_t checksum(const std::vector<float>& table) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const float value : table) {
        const auto rounded = static_cast<std::uint32_t>(std::lround(value * 1e5));
        for (int byte = 0; byte < 4; ++byte)
            hash = (hash ^ (rounded >> 8 * byte & 0xff)) * 0x100000001b3u;
    }
    return hash;
}

} // namespace lookgen
