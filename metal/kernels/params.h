// Die Konstanten eines Bildes. Beide Sätze sind lückenlose Folgen von Vier-Byte-Feldern; der Renderer füllt dieselben
// Strukturen (metal/frame_params.h prüft dort jeden Abstand).
#pragma once

// 308 Byte, gebunden an Index 9 aller Kernel, die über das ganze Bild laufen.
typedef struct FrameParams {
    int W, H;                     // Bildgröße in Pixeln
    int io;                       // Kodierung von Quelle und Ziel (IOSpace)
    int components;               // Zahlen je Pixel der Wirtsbilder: 3 oder 4
    int premultiplied;            // ungleich 0: Farbe ist mit Alpha multipliziert
    int srcStride;                // Zahlen je Zeile der Quelle
    int dstStride;                // Zahlen je Zeile des Ziels
    int ioHasMatrix;              // ungleich 0: die beiden Matrizen gelten
    float toAWG4[9];              // Primärfarben der Kodierung nach AWG4, zeilenweise
    float fromAWG4[9];            // und zurück
    float flickR, flickG, flickB; // Flackern: Verstärkung je Kanal
    float detail;
    float scatter;
    float sharpAmtR, sharpAmtG, sharpAmtB;
    float bloom;
    float bloomKnee;
    float halStrength;
    float halKnee;
    float halW1, halW2; // Gewichte der schmalen und der breiten Unschärfe
    float halTintR, halTintG, halTintB;
    float grain; // wirksame Kornstärke
    unsigned int grainSeed;
    int grainMono;                // ungleich 0: ein Rauschfeld für alle Kanäle
    int grainFrame;               // Bildnummer im Rauschen
    float corrRG, corrGB, corrBR; // Übersprechen des Korns
    float color;                  // Stärke des Looks, 0 bis 1
    int lutSize;                  // Look-Tabelle: Punkte je Achse
    int lutLogDomain;             // ungleich 0: mit LogC4-Codes adressiert
    float lutMinR, lutMinG, lutMinB;
    float lutInvR, lutInvG, lutInvB; // 1 / (Maximum - Minimum)
    float bw;                        // Anteil Schwarzweiß, 0 bis 1
    int alexaSceneFit;
    float outLutStrength;
    int outLutSize;
    int outLutDomain; // 1: mit LogC4-Codes des Arbeitsbildes adressiert, sonst mit den kodierten Werten
    int outLutActive;
    float outMinR, outMinG, outMinB;
    float outInvR, outInvG, outInvB;
    float weaveDx, weaveDy; // Bildstand: Verschiebung in Pixeln
    float weaveCos;
    float weaveSinX, weaveSinY;
    int weaveActive;
} FrameParams;

// 176 Byte, gebunden an Index 10 von k_grain_prepare.
typedef struct GrainParams {
    float nodeY[11];                    // aufsteigende LogC4-Codes
    float sigR[11], sigG[11], sigB[11]; // Standardabweichung des Korns an jedem Knoten
} GrainParams;
