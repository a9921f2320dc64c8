// Kennlinien der Kodierungen, in einfacher Genauigkeit: Code nach linear und zurück. Zwilling: color/colorspace.
// LogC4 trägt hier eigene Werte für A und C und weicht darum wenig von der CPU ab; das ist so gewollt.
#pragma once

#include "metal/kernels/math.h"

PROGRAM_VALUE float L4_A = 2231.87407f;
PROGRAM_VALUE float L4_B = 0.9071358749f;
PROGRAM_VALUE float L4_C = 0.0928571429f;
PROGRAM_VALUE float L4_S = 0.1135972086f;
PROGRAM_VALUE float L4_T = -0.0180569961f;

BODY float logC4Decode(float code) {
    return code >= 0.0f ? (exp2(14.0f * (code - L4_C) / L4_B + 6.0f) - 64.0f) / L4_A : code * L4_S + L4_T;
}

BODY float logC4Encode(float e) {
    return e >= L4_T ? (log2(L4_A * e + 64.0f) - 6.0f) / 14.0f * L4_B + L4_C : (e - L4_T) / L4_S;
}

BODY float3 logC4Decode3(float3 c) { return FLOAT3(logC4Decode(c.x), logC4Decode(c.y), logC4Decode(c.z)); }

BODY float3 logC4Encode3(float3 v) { return FLOAT3(logC4Encode(v.x), logC4Encode(v.y), logC4Encode(v.z)); }

BODY float logC3Decode(float v) {
    return v > 5.367655f * 0.010591f + 0.092809f ? (exp10((v - 0.385537f) / 0.247190f) - 0.052272f) / 5.555556f
                                                 : (v - 0.092809f) / 5.367655f;
}

BODY float logC3Encode(float x) {
    return x > 0.010591f ? 0.247190f * log10(5.555556f * x + 0.052272f) + 0.385537f : 5.367655f * x + 0.092809f;
}

BODY float davinciDecode(float v) {
    return v <= 0.02740668f ? v / 10.44426855f : exp2(v / 0.07329248f - 7.0f) - 0.0075f;
}

BODY float davinciEncode(float x) {
    return x <= 0.00262409f ? x * 10.44426855f : 0.07329248f * (log2(x + 0.0075f) + 7.0f);
}

BODY float acescctDecode(float v) {
    return v > 0.155251141552511f ? exp2(v * 17.52f - 9.72f) : (v - 0.0729055341958355f) / 10.5402377416545f;
}

BODY float acescctEncode(float x) {
    return x <= 0.0078125f ? 10.5402377416545f * x + 0.0729055341958355f : (log2(x) + 9.72f) / 17.52f;
}

BODY float power24Decode(float v) { return pow(fmax(0.0f, v), 2.4f); }

BODY float power24Encode(float x) { return pow(fmax(0.0f, x), 1.0f / 2.4f); }

BODY float slog3Decode(float v) {
    return v >= 171.2102946929f / 1023.0f ? 0.19f * exp10((v * 1023.0f - 420.0f) / 261.5f) - 0.01f
                                          : (v * 1023.0f - 95.0f) * 0.01125f / (171.2102946929f - 95.0f);
}

BODY float slog3Encode(float x) {
    return x >= 0.01125f ? (420.0f + 261.5f * log10((x + 0.01f) / 0.19f)) / 1023.0f
                         : (x * (171.2102946929f - 95.0f) / 0.01125f + 95.0f) / 1023.0f;
}

BODY float vlogDecode(float v) {
    return v < 0.181f ? (v - 0.125f) / 5.6f : exp10((v - 0.598206f) / 0.241514f) - 0.00873f;
}

BODY float vlogEncode(float x) { return x < 0.01f ? 5.6f * x + 0.125f : 0.241514f * log10(x + 0.00873f) + 0.598206f; }

BODY float clog2Decode(float v) {
    const float y = v < 0.092864125f ? -(exp10((0.092864125f - v) / 0.24136077f) - 1.0f) / 87.09937546f
                                     : (exp10((v - 0.092864125f) / 0.24136077f) - 1.0f) / 87.09937546f;
    return y * 0.9f;
}

BODY float clog2Encode(float x) {
    const float y = x / 0.9f;
    return y < 0.0f ? -0.24136077f * log10(1.0f - 87.09937546f * y) + 0.092864125f
                    : 0.24136077f * log10(87.09937546f * y + 1.0f) + 0.092864125f;
}

BODY float clog3Decode(float v) {
    float y;
    if (v < 0.097465473f) {
        y = -(exp10((0.12783901f - v) / 0.36726845f) - 1.0f) / 14.98325f;
    } else if (v <= 0.15277891f) {
        y = (v - 0.12512219f) / 1.9754798f;
    } else {
        y = (exp10((v - 0.12240537f) / 0.36726845f) - 1.0f) / 14.98325f;
    }
    return y * 0.9f;
}

BODY float clog3Encode(float x) {
    const float y = x / 0.9f;
    if (y < (0.097465473f - 0.12512219f) / 1.9754798f) {
        return -0.36726845f * log10(1.0f - 14.98325f * y) + 0.12783901f;
    }
    if (y <= (0.15277891f - 0.12512219f) / 1.9754798f) return 1.9754798f * y + 0.12512219f;
    return 0.36726845f * log10(14.98325f * y + 1.0f) + 0.12240537f;
}

BODY float flogDecode(float v) {
    return v < 0.100537775223865f ? (v - 0.092864f) / 8.735631f
                                  : exp10((v - 0.790453f) / 0.344676f) / 0.555556f - 0.009468f / 0.555556f;
}

BODY float flogEncode(float x) {
    return x < 0.00089f ? 8.735631f * x + 0.092864f : 0.344676f * log10(0.555556f * x + 0.009468f) + 0.790453f;
}

BODY float log3g10Decode(float v) {
    return v < 0.0f ? v / 15.1927f - 0.01f : (exp10(v / 0.224282f) - 1.0f) / 155.975327f - 0.01f;
}

BODY float log3g10Encode(float x) {
    const float y = x + 0.01f;
    return y < 0.0f ? y * 15.1927f : 0.224282f * log10(y * 155.975327f + 1.0f);
}

BODY float filmGen5Decode(float v) {
    return v < 8.283605932402494f * 0.005f + 0.09246575342465753f
               ? (v - 0.09246575342465753f) / 8.283605932402494f
               : exp((v - 0.5300133392291939f) / 0.08692876065491224f) - 0.005494072432257808f;
}

BODY float filmGen5Encode(float x) {
    return x < 0.005f ? 8.283605932402494f * x + 0.09246575342465753f
                      : 0.08692876065491224f * log(x + 0.005494072432257808f) + 0.5300133392291939f;
}

// Schwarzpunkt: der lineare Wert des Codes 95.
BODY float cineonBlack(void) { return exp10((95.0f - 685.0f) / 300.0f); }

BODY float cineonDecode(float v) {
    const float bo = cineonBlack();
    return (exp10((1023.0f * v - 685.0f) / 300.0f) - bo) / (1.0f - bo);
}

BODY float cineonEncode(float x) {
    const float bo = cineonBlack();
    return (685.0f + 300.0f * log10(fmax(1e-10f, x * (1.0f - bo) + bo))) / 1023.0f;
}

BODY float appleLogDecode(float v) {
    const float cut = 47.28711236f * (0.01f + 0.05641088f) * (0.01f + 0.05641088f);
    if (v >= cut) return exp2((v - 0.69336945f) / 0.08550479f) - 0.00964052f;
    if (v >= 0.0f) return sqrt(v / 47.28711236f) - 0.05641088f;
    return -0.05641088f;
}

BODY float appleLogEncode(float x) {
    if (x >= 0.01f) return 0.08550479f * log2(x + 0.00964052f) + 0.69336945f;
    if (x >= -0.05641088f) return 47.28711236f * (x + 0.05641088f) * (x + 0.05641088f);
    return 0.0f;
}

// Code nach linear, in den Primärfarben der Kodierung. Lineare und unbekannte Kodierungen bleiben, wie sie sind.
BODY float transfer_decode(float v, int io) {
    switch (io) {
    case 0: return logC4Decode(v);
    case 2: return logC3Decode(v);
    case 4: return davinciDecode(v);
    case 6: return acescctDecode(v);
    case 7: return power24Decode(v);
    case 8: return slog3Decode(v);
    case 9: return vlogDecode(v);
    case 10: return clog2Decode(v);
    case 11: return clog3Decode(v);
    case 12: return flogDecode(v);
    case 13: return log3g10Decode(v);
    case 14: return filmGen5Decode(v);
    case 15: return cineonDecode(v);
    case 16: return appleLogDecode(v);
    default: return v;
    }
}

BODY float transfer_encode(float v, int io) {
    switch (io) {
    case 0: return logC4Encode(v);
    case 2: return logC3Encode(v);
    case 4: return davinciEncode(v);
    case 6: return acescctEncode(v);
    case 7: return power24Encode(v);
    case 8: return slog3Encode(v);
    case 9: return vlogEncode(v);
    case 10: return clog2Encode(v);
    case 11: return clog3Encode(v);
    case 12: return flogEncode(v);
    case 13: return log3g10Encode(v);
    case 14: return filmGen5Encode(v);
    case 15: return cineonEncode(v);
    case 16: return appleLogEncode(v);
    default: return v;
    }
}

BODY float3 transferDecode3(float3 v, int io) {
    return FLOAT3(transfer_decode(v.x, io), transfer_decode(v.y, io), transfer_decode(v.z, io));
}

BODY float3 transferEncode3(float3 v, int io) {
    return FLOAT3(transfer_encode(v.x, io), transfer_encode(v.y, io), transfer_encode(v.z, io));
}
