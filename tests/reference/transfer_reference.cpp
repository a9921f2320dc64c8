#include "tests/reference/transfer_reference.h"

#include <cmath>

namespace tarnwell::reference {

namespace {

const double LOGC4_A = (std::exp2(18.0) - 16.0) / 117.45;
const double LOGC4_B = (1023.0 - 95.0) / 1023.0;
const double LOGC4_C = 95.0 / 1023.0;
const double LOGC4_S = 7.0 * std::log(2.0) * std::exp2(7.0 - 14.0 * LOGC4_C / LOGC4_B) / (LOGC4_A * LOGC4_B);
const double LOGC4_T = (std::exp2(6.0 - 14.0 * LOGC4_C / LOGC4_B) - 64.0) / LOGC4_A;

double cineonBlack() {
    static const double black = std::pow(10.0, (95.0 - 685.0) / 300.0);
    return black;
}

double clog2Decode(double v) {
    if (v < 0.092864125) return -(std::pow(10.0, (0.092864125 - v) / 0.24136077) - 1.0) / 87.09937546 * 0.9;
    return (std::pow(10.0, (v - 0.092864125) / 0.24136077) - 1.0) / 87.09937546 * 0.9;
}

double clog2Encode(double x) {
    const double y = x / 0.9;
    if (y < 0.0) return -0.24136077 * std::log10(1.0 - 87.09937546 * y) + 0.092864125;
    return 0.24136077 * std::log10(87.09937546 * y + 1.0) + 0.092864125;
}

double clog3Decode(double v) {
    if (v < 0.097465473) return -(std::pow(10.0, (0.12783901 - v) / 0.36726845) - 1.0) / 14.98325 * 0.9;
    if (v <= 0.15277891) return (v - 0.12512219) / 1.9754798 * 0.9;
    return (std::pow(10.0, (v - 0.12240537) / 0.36726845) - 1.0) / 14.98325 * 0.9;
}

double clog3Encode(double x) {
    const double y = x / 0.9;
    if (y < (0.097465473 - 0.12512219) / 1.9754798)
        return -0.36726845 * std::log10(1.0 - 14.98325 * y) + 0.12783901;
    if (y <= (0.15277891 - 0.12512219) / 1.9754798) return 1.9754798 * y + 0.12512219;
    return 0.36726845 * std::log10(14.98325 * y + 1.0) + 0.12240537;
}

double appleDecode(double v) {
    if (v >= 0.20855531595464202) return std::exp2((v - 0.69336945) / 0.08550479) - 0.00964052;
    if (v >= 0.0) return std::sqrt(v / 47.28711236) - 0.05641088;
    return -0.05641088;
}

double appleEncode(double x) {
    if (x >= 0.01) return 0.08550479 * std::log2(x + 0.00964052) + 0.69336945;
    if (x >= -0.05641088) return 47.28711236 * std::pow(x + 0.05641088, 2.0);
    return 0.0;
}

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

void multiply(const double* m, double& r, double& g, double& b) {
    if (!m) return;
    const double x = std::fma(m[2], b, std::fma(m[0], r, m[1] * g));
    const double y = std::fma(m[5], b, std::fma(m[3], r, m[4] * g));
    const double z = std::fma(m[8], b, std::fma(m[6], r, m[7] * g));
    r = x;
    g = y;
    b = z;
}

} // namespace

double transferDecode(double v, int space) {
    switch (space) {
    case 0:
        if (v >= 0.0) return (std::exp2(14.0 * (v - LOGC4_C) / LOGC4_B + 6.0) - 64.0) / LOGC4_A;
        return v * LOGC4_S + LOGC4_T;
    case 2:
        if (v > 0.149657834105) return (std::pow(10.0, (v - 0.385537) / 0.24719) - 0.052272) / 5.555556;
        return (v - 0.092809) / 5.367655;
    case 4:
        if (v <= 0.02740668) return v / 10.44426855;
        return std::exp2(v / 0.07329248 - 7.0) - 0.0075;
    case 6:
        if (v > 0.155251141552511) return std::exp2(17.52 * v - 9.72);
        return (v - 0.0729055341958355) / 10.5402377416545;
    case 7: return std::pow(std::fmax(v, 0.0) + 0.0, 2.4);
    case 8:
        if (v >= 171.2102946929 / 1023.0) return 0.19 * std::pow(10.0, (1023.0 * v - 420.0) / 261.5) - 0.01;
        return (1023.0 * v - 95.0) * 0.01125 / (171.2102946929 - 95.0);
    case 9:
        if (v < 0.181) return (v - 0.125) / 5.6;
        return std::pow(10.0, (v - 0.598206) / 0.241514) - 0.00873;
    case 10: return clog2Decode(v);
    case 11: return clog3Decode(v);
    case 12:
        if (v < 0.100537775223865) return (v - 0.092864) / 8.735631;
        return std::pow(10.0, (v - 0.790453) / 0.344676) / 0.555556 - 0.009468 / 0.555556;
    case 13:
        if (v < 0.0) return v / 15.1927 - 0.01;
        return (std::pow(10.0, v / 0.224282) - 1.0) / 155.975327 - 0.01;
    case 14:
        if (v < 0.13388378308667) return (v - 0.09246575342465753) / 8.283605932402494;
        return std::exp((v - 0.5300133392291939) / 0.08692876065491224) - 0.005494072432257808;
    case 15: return (std::pow(10.0, (1023.0 * v - 685.0) / 300.0) - cineonBlack()) / (1.0 - cineonBlack());
    case 16: return appleDecode(v);
    default: return v;
    }
}

double transferEncode(double x, int space) {
    switch (space) {
    case 0:
        if (x >= LOGC4_T) return ((std::log2(LOGC4_A * x + 64.0) - 6.0) / 14.0) * LOGC4_B + LOGC4_C;
        return (x - LOGC4_T) / LOGC4_S;
    case 2:
        if (x > 0.010591) return 0.24719 * std::log10(5.555556 * x + 0.052272) + 0.385537;
        return 5.367655 * x + 0.092809;
    case 4:
        if (x <= 0.00262409) return 10.44426855 * x;
        return 0.07329248 * (std::log2(x + 0.0075) + 7.0);
    case 6:
        if (x <= 0.0078125) return 10.5402377416545 * x + 0.0729055341958355;
        return (std::log2(x) + 9.72) / 17.52;
    case 7: return std::pow(std::fmax(x, 0.0) + 0.0, 1.0 / 2.4);
    case 8:
        if (x >= 0.01125) return (420.0 + 261.5 * std::log10((x + 0.01) / 0.19)) / 1023.0;
        return (x * (171.2102946929 - 95.0) / 0.01125 + 95.0) / 1023.0;
    case 9:
        if (x < 0.01) return 5.6 * x + 0.125;
        return 0.241514 * std::log10(x + 0.00873) + 0.598206;
    case 10: return clog2Encode(x);
    case 11: return clog3Encode(x);
    case 12:
        if (x < 0.00089) return 8.735631 * x + 0.092864;
        return 0.344676 * std::log10(0.555556 * x + 0.009468) + 0.790453;
    case 13:
        if (x + 0.01 < 0.0) return 15.1927 * (x + 0.01);
        return 0.224282 * std::log10(155.975327 * (x + 0.01) + 1.0);
    case 14:
        if (x < 0.005) return 8.283605932402494 * x + 0.09246575342465753;
        return 0.08692876065491224 * std::log(x + 0.005494072432257808) + 0.5300133392291939;
    case 15:
        return (685.0 + 300.0 * std::log10(std::fmax(1e-10, x * (1.0 - cineonBlack()) + cineonBlack()))) / 1023.0;
    case 16: return appleEncode(x);
    default: return x;
    }
}

void decodeRow(float* r, float* g, float* b, std::size_t n, int space, const double* matrix) {
    for (std::size_t i = 0; i < n; ++i) {
        double x = finiteOr0(transferDecode(finiteOr0(r[i]), space));
        double y = finiteOr0(transferDecode(finiteOr0(g[i]), space));
        double z = finiteOr0(transferDecode(finiteOr0(b[i]), space));
        multiply(matrix, x, y, z);
        r[i] = static_cast<float>(finiteOr0(x));
        g[i] = static_cast<float>(finiteOr0(y));
        b[i] = static_cast<float>(finiteOr0(z));
    }
}

void encodeRow(float* r, float* g, float* b, std::size_t n, int space, const double* matrix) {
    for (std::size_t i = 0; i < n; ++i) {
        double x = finiteOr0(r[i]);
        double y = finiteOr0(g[i]);
        double z = finiteOr0(b[i]);
        multiply(matrix, x, y, z);
        r[i] = static_cast<float>(finiteOr0(transferEncode(x, space)));
        g[i] = static_cast<float>(finiteOr0(transferEncode(y, space)));
        b[i] = static_cast<float>(finiteOr0(transferEncode(z, space)));
    }
}

void logc4EncodeRow(const float* in, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(transferEncode(in[i], 0));
}

void logc4DecodeRow(const float* in, float* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = static_cast<float>(transferDecode(in[i], 0));
}

void sceneFitRow(float* R, float* G, float* B, std::size_t n, double strength) {
    for (std::size_t i = 0; i < n; ++i) {
        const double r = transferEncode(R[i], 0);
        const double g = transferEncode(G[i], 0);
        const double b = transferEncode(B[i], 0);
        const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
        const double nr = 0.52561351 * r - 0.20036957 * g + 0.16076259 * b - 0.01995183 * y + 2.90819387 * (y * y) -
                          2.81059305 * (y * y * y) - 0.00372917;
        const double ng = 0.08046982 * r + 0.36078562 * g + 0.2541334 * b + 0.29349019 * y + 0.99615914 * (y * y) -
                          1.1356132 * (y * y * y) - 0.0153253;
        const double nb = 0.22403965 * r - 0.2362622 * g + 1.03644024 * b - 0.04651291 * y + 0.98702949 * (y * y) -
                          1.25492974 * (y * y * y) - 0.01487571;
        R[i] = static_cast<float>(transferDecode(r + ((nr > 0.0 ? nr : 0.0) - r) * strength, 0));
        G[i] = static_cast<float>(transferDecode(g + ((ng > 0.0 ? ng : 0.0) - g) * strength, 0));
        B[i] = static_cast<float>(transferDecode(b + ((nb > 0.0 ? nb : 0.0) - b) * strength, 0));
    }
}

} // namespace tarnwell::reference
