#include "color/cube_reader.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>
#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace velloid {

namespace {

constexpr int SMALLEST_CUBE = 2;
constexpr int LARGEST_CUBE = 129;
constexpr std::size_t LINE_BUFFER = 512; // a line and its terminating NUL
constexpr std::size_t READ_BLOCK = std::size_t{1} << 18;

// Thrown where the fault is known; loadCubeLut catches it and adds the line.
struct CubeFault {
    std::string reason;
    bool unread = false;
};

bool isSeparator(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool isEnd(char c) {
    return c == '\0' || c == '#';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

const char* skipSeparators(const char* s) {
    while (isSeparator(*s))
        ++s;
    return s;
}

// strtod reads the decimal point of the host's locale; a .cube file always has a dot.
#if defined(_WIN32)
const _locale_t C_LOCALE = _create_locale(LC_ALL, "C");
double strtodC(const char* s, char** end) {
    return _strtod_l(s, end, C_LOCALE);
}
#else
const locale_t C_LOCALE = newlocale(LC_ALL_MASK, "C", nullptr);
double strtodC(const char* s, char** end) {
    return strtod_l(s, end, C_LOCALE);
}
#endif

// A plain decimal, as nearly every number in a .cube file is: up to 2^53 its digits are an exact double, and so is the
// power of ten, hence their quotient is the correctly rounded value, the one that strtod finds. Returns the end, or
// null when the text is anything else.
const char* plainDecimal(const char* s, double& value) {
    static constexpr double POWER_OF_TEN[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                              1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
    constexpr int MOST_DIGITS = 18; // fit 64 bits
    constexpr std::int64_t LARGEST_EXACT = std::int64_t{1} << 53;
    const bool negative = *s == '-';
    if (*s == '-' || *s == '+') ++s;
    std::int64_t digits = 0;
    int count = 0;
    int decimals = 0;
    for (; isDigit(*s) && count < MOST_DIGITS; ++s, ++count)
        digits = digits * 10 + (*s - '0');
    if (*s == '.') {
        for (++s; isDigit(*s) && count < MOST_DIGITS; ++s, ++count, ++decimals)
            digits = digits * 10 + (*s - '0');
    }
    if (count == 0 || digits > LARGEST_EXACT || !(isSeparator(*s) || isEnd(*s))) return nullptr;
    const double magnitude = static_cast<double>(digits) / POWER_OF_TEN[decimals];
    value = negative ? -magnitude : magnitude;
    return s;
}

// One finite number; returns the character after it, or null.
const char* parseDouble(const char* s, double& value) {
    if (const char* end = plainDecimal(s, value)) return end;
    errno = 0;
    char* end = nullptr;
    value = strtodC(s, &end);
    return end == s || errno == ERANGE || !std::isfinite(value) ? nullptr : end;
}

bool isKeyword(const char* line, const char* keyword) {
    const char* rest = nullptr;
    return cubeKeyword(line, keyword, rest);
}

// The first word of a line, for messages.
std::string firstWord(const char* line) {
    const std::size_t length = std::strcspn(line, " \t\r\n");
    return length > 40 ? std::string(line, 40) + "..." : std::string(line, length);
}

float toFloat(double value, const char* what) {
    const float narrowed = static_cast<float>(value);
    if (!std::isfinite(narrowed)) throw CubeFault{std::string(what) + " has a value beyond the range of a float"};
    return narrowed;
}

RGB toRgb(const double (&v)[3], const char* what) {
    return {toFloat(v[0], what), toFloat(v[1], what), toFloat(v[2], what)};
}

// The file as lines of a C program: at most 511 bytes each, cut where the buffer ends.
class CubeLines {
public:
    explicit CubeLines(const char* path) : block(READ_BLOCK), file(std::fopen(path, "rb"), &std::fclose) {
        if (!file) fail("can't be opened: ");
    }

    // The next line, NUL-terminated, its line feed included; null at the end of the file.
    const char* next() {
        if (atEnd()) return nullptr;
        lineNumber += endsLine;
        std::size_t length = 0;
        do {
            const std::size_t room = std::min(LINE_BUFFER - 1 - length, filled - at);
            const void* const feed = std::memchr(&block[at], '\n', room);
            const std::size_t taken =
                feed ? static_cast<std::size_t>(static_cast<const char*>(feed) - &block[at]) + 1 : room;
            std::memcpy(line + length, &block[at], taken);
            length += taken;
            at += taken;
            endsLine = feed != nullptr;
        } while (!endsLine && length < LINE_BUFFER - 1 && !atEnd());
        line[length] = '\0';
        // A NUL byte ends the text earlier: such a line is short, and what the buffer did not hold is the next line.
        if (!endsLine && std::strlen(line) == LINE_BUFFER - 1 && !atEnd()) {
            throw CubeFault{"the line is longer than 510 characters"};
        }
        return line;
    }

    int number() const { return lineNumber; }

private:
    // The system's reason, straight after the call that met it.
    [[noreturn]] static void fail(const char* what) {
        if (errno == ENOMEM) throw std::bad_alloc();
        throw CubeFault{what + std::string(std::strerror(errno)), true};
    }

    bool atEnd() {
        if (at < filled) return false;
        at = 0;
        filled = std::fread(block.data(), 1, block.size(), file.get());
        if (filled == 0 && std::ferror(file.get())) fail("can't be read: ");
        return filled == 0;
    }

    std::vector<char> block;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
    std::size_t at = 0;     // next unread byte of the block
    std::size_t filled = 0; // bytes in the block
    char line[LINE_BUFFER] = {};
    int lineNumber = 0;
    bool endsLine = true; // the last line ended in a line feed
};

// What has been read so far; one member function per kind of line.
class CubeTable {
public:
    void takeLine(const char* line);
    void finish(LUT3D& out);

private:
    void takeSize(const char* text);
    void takeDomain(const char* text, const char* keyword, RGB& bound, bool& seen);
    void takeRange(const char* text);
    void takeRow(const char* line);
    void refuseAfterData(const char* keyword) const {
        if (rows > 0) throw CubeFault{std::string(keyword) + " stands after the first data row"};
    }

    int size = 0;
    std::size_t rows = 0;
    bool rangeSeen = false;
    bool minSeen = false;
    bool maxSeen = false;
    RGB domainMin = {0.f, 0.f, 0.f};
    RGB domainMax = {1.f, 1.f, 1.f};
    std::vector<RGB> data;
};

void CubeTable::takeLine(const char* line) {
    while (*line == ' ' || *line == '\t')
        ++line;
    if (isEnd(*line) || *line == '\n' || *line == '\r') return;
    const char* rest = nullptr;
    if (isKeyword(line, "TITLE")) return refuseAfterData("TITLE");
    if (isKeyword(line, "LUT_1D_SIZE") || isKeyword(line, "LUT_1D_INPUT_RANGE")) {
        throw CubeFault{firstWord(line) + ": one-dimensional tables are not supported"};
    }
    if (cubeKeyword(line, "LUT_3D_SIZE", rest)) return takeSize(rest);
    if (cubeKeyword(line, "DOMAIN_MIN", rest)) return takeDomain(rest, "DOMAIN_MIN", domainMin, minSeen);
    if (cubeKeyword(line, "DOMAIN_MAX", rest)) return takeDomain(rest, "DOMAIN_MAX", domainMax, maxSeen);
    if (cubeKeyword(line, "LUT_3D_INPUT_RANGE", rest)) return takeRange(rest);
    takeRow(line);
}

void CubeTable::takeSize(const char* text) {
    if (size != 0) throw CubeFault{"a second LUT_3D_SIZE"};
    text = skipSeparators(text);
    if (isEnd(*text)) throw CubeFault{"LUT_3D_SIZE without a number"};
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || errno == ERANGE || !isEnd(*skipSeparators(end))) {
        throw CubeFault{"LUT_3D_SIZE needs one whole number"};
    }
    if (value < SMALLEST_CUBE || value > LARGEST_CUBE) {
        throw CubeFault{"LUT_3D_SIZE " + std::to_string(value) + " is outside 2 ... 129"};
    }
    data.resize(static_cast<std::size_t>(value) * value * value);
    size = static_cast<int>(value);
}

void CubeTable::takeDomain(const char* text, const char* keyword, RGB& bound, bool& seen) {
    refuseAfterData(keyword);
    if (rangeSeen) throw CubeFault{std::string(keyword) + " beside LUT_3D_INPUT_RANGE"};
    if (seen) throw CubeFault{std::string("a second ") + keyword};
    double v[3];
    if (!parseCubeDoubles(text, v, 3)) throw CubeFault{std::string(keyword) + " needs three finite numbers"};
    bound = toRgb(v, keyword);
    seen = true;
}

void CubeTable::takeRange(const char* text) {
    refuseAfterData("LUT_3D_INPUT_RANGE");
    if (rangeSeen) throw CubeFault{"a second LUT_3D_INPUT_RANGE"};
    if (minSeen || maxSeen) throw CubeFault{"LUT_3D_INPUT_RANGE beside DOMAIN_MIN or DOMAIN_MAX"};
    double v[2];
    if (!parseCubeDoubles(text, v, 2)) throw CubeFault{"LUT_3D_INPUT_RANGE needs two finite numbers"};
    const float low = toFloat(v[0], "LUT_3D_INPUT_RANGE");
    const float high = toFloat(v[1], "LUT_3D_INPUT_RANGE");
    if (!(v[1] > v[0]) || !(high > low)) throw CubeFault{"LUT_3D_INPUT_RANGE must rise"};
    domainMin = {low, low, low};
    domainMax = {high, high, high};
    rangeSeen = true;
}

void CubeTable::takeRow(const char* line) {
    double v[3];
    const bool numbers = parseCubeDoubles(line, v, 3);
    if (!numbers && !std::strchr("+-.0123456789", *line)) {
        const bool mark = std::strncmp(line, "\xef\xbb\xbf", 3) == 0;
        throw CubeFault{mark ? "the file begins with a UTF-8 byte order mark"
                             : "unknown line \"" + firstWord(line) + "\""};
    }
    if (!numbers) throw CubeFault{"a data row needs three finite numbers and nothing else"};
    if (size == 0) throw CubeFault{"a data row before LUT_3D_SIZE"};
    if (rows == data.size()) throw CubeFault{"more than " + std::to_string(data.size()) + " data rows"};
    data[rows] = toRgb(v, "the data row");
    ++rows;
}

void CubeTable::finish(LUT3D& out) {
    if (size == 0) throw CubeFault{"no LUT_3D_SIZE"};
    if (rows != data.size()) {
        throw CubeFault{std::to_string(rows) + " data rows instead of " + std::to_string(data.size())};
    }
    if (!(domainMax.r > domainMin.r && domainMax.g > domainMin.g && domainMax.b > domainMin.b)) {
        throw CubeFault{"the domain must rise on every axis"};
    }
    out.size = size;
    out.logDomain = false;
    out.domainMin = domainMin;
    out.domainMax = domainMax;
    out.id = nextLutCacheId();
    out.data = std::move(data);
}

void readCube(const char* path, LUT3D& out, int& line) {
    CubeLines lines(path);
    CubeTable table;
    try {
        while (const char* text = lines.next())
            table.takeLine(text);
    } catch (const CubeFault&) {
        line = lines.number();
        throw;
    }
    table.finish(out);
}

} // namespace

bool cubeKeyword(const char* line, const char* keyword, const char*& rest) {
    const std::size_t length = std::strlen(keyword);
    if (std::strncmp(line, keyword, length) != 0) return false;
    if (line[length] != '\0' && !isSeparator(line[length])) return false;
    rest = line + length;
    return true;
}

bool parseCubeDoubles(const char* text, double* out, int count) {
    for (int i = 0; i < count; ++i) {
        text = skipSeparators(text);
        if (isEnd(*text)) return false;
        text = parseDouble(text, out[i]);
        if (!text) return false;
    }
    return isEnd(*skipSeparators(text));
}

bool loadCubeLut(const char* path, LUT3D& out, CubeError* error) {
    int line = 0;
    try {
        readCube(path, out, line);
        return true;
    } catch (const CubeFault& fault) {
        if (error) *error = {fault.unread, line, fault.reason};
        return false;
    }
}

bool loadCubeLut(const char* path, LUT3D& out) {
    return loadCubeLut(path, out, nullptr);
}

} // namespace velloid
