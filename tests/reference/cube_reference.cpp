#include "tests/reference/cube_reference.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace reference {

namespace {

bool separator(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool end(char c) { return c == '\0' || c == '#'; }

bool numbers(const char* s, double* out, int count) {
    for (int i = 0; i < count; ++i) {
        while (separator(*s))
            ++s;
        if (end(*s)) return false;
        char* after = nullptr;
        errno = 0;
        out[i] = std::strtod(s, &after);
        if (after == s || errno == ERANGE || !std::isfinite(out[i])) return false;
        s = after;
    }
    while (separator(*s))
        ++s;
    return end(*s);
}

bool keyword(const char* line, const char* word, const char** rest) {
    const std::size_t n = std::strlen(word);
    if (std::strncmp(line, word, n) != 0) return false;
    if (line[n] != '\0' && !separator(line[n])) return false;
    *rest = line + n;
    return true;
}

struct State {
    long size = 0;
    std::size_t rows = 0;
    bool range = false, min = false, max = false;
    float lo[3] = {0, 0, 0}, hi[3] = {1, 1, 1};
    std::vector<velloid::RGB> data;
};

bool wholeNumber(const char* s, long* out) {
    while (separator(*s))
        ++s;
    if (end(*s)) return false;
    char* after = nullptr;
    errno = 0;
    *out = std::strtol(s, &after, 10);
    if (after == s || errno == ERANGE) return false;
    while (separator(*after))
        ++after;
    return end(*after);
}

bool triple(const char* s, float* out) {
    double v[3];
    if (!numbers(s, v, 3)) return false;
    for (int i = 0; i < 3; ++i)
        out[i] = static_cast<float>(v[i]);
    return std::isfinite(out[0]) && std::isfinite(out[1]) && std::isfinite(out[2]);
}

bool takeRange(State& s, const char* rest) {
    double v[2];
    if (s.rows || s.range || s.min || s.max || !numbers(rest, v, 2)) return false;
    const float lo = static_cast<float>(v[0]), hi = static_cast<float>(v[1]);
    if (!(v[1] > v[0]) || !std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo)) return false;
    for (int i = 0; i < 3; ++i) {
        s.lo[i] = lo;
        s.hi[i] = hi;
    }
    return s.range = true;
}

bool take(State& s, const char* line) {
    const char* rest = nullptr;
    while (*line == ' ' || *line == '\t')
        ++line;
    if (end(*line) || *line == '\n' || *line == '\r') return true;
    if (keyword(line, "TITLE", &rest)) return s.rows == 0;
    if (keyword(line, "LUT_1D_SIZE", &rest) || keyword(line, "LUT_1D_INPUT_RANGE", &rest)) return false;
    if (keyword(line, "LUT_3D_SIZE", &rest)) {
        if (s.size || s.rows || !wholeNumber(rest, &s.size) || s.size < 2 || s.size > 129) return false;
        s.data.assign(static_cast<std::size_t>(s.size * s.size * s.size), velloid::RGB{});
        return true;
    }
    if (keyword(line, "DOMAIN_MIN", &rest)) {
        if (s.rows || s.range || s.min) return false;
        return s.min = triple(rest, s.lo);
    }
    if (keyword(line, "DOMAIN_MAX", &rest)) {
        if (s.rows || s.range || s.max) return false;
        return s.max = triple(rest, s.hi);
    }
    if (keyword(line, "LUT_3D_INPUT_RANGE", &rest)) return takeRange(s, rest);
    float row[3];
    if (!s.size || s.rows == s.data.size() || !triple(line, row)) return false;
    s.data[s.rows++] = {row[0], row[1], row[2]};
    return true;
}

bool atEnd(std::FILE* file) {
    const int c = std::fgetc(file);
    if (c != EOF) std::ungetc(c, file);
    return c == EOF;
}

} // namespace

bool loadCubeLut(const char* path, velloid::LUT3D& out) {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    State s;
    char line[512];
    bool good = true;
    while (good && std::fgets(line, sizeof line, file)) {
        const std::size_t n = std::strlen(line);
        good = !(n == 511 && line[510] != '\n' && !atEnd(file)) && take(s, line);
    }
    good = good && !std::ferror(file);
    std::fclose(file);
    if (!good || !s.size || s.rows != s.data.size()) return false;
    for (int i = 0; i < 3; ++i)
        if (!(s.hi[i] > s.lo[i])) return false;
    out.size = static_cast<int>(s.size);
    out.domainMin = {s.lo[0], s.lo[1], s.lo[2]};
    out.domainMax = {s.hi[0], s.hi[1], s.hi[2]};
    out.data = s.data;
    return true;
}

} // namespace reference
