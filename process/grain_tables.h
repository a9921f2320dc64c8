// Grain amplitude per stock and channel, and the densities that the curves are given at.
#pragma once

namespace velloid {

constexpr int GRAIN_NODE_COUNT = 11;

// LogC4 codes of the density nodes, ascending.
extern const double GRAIN_NODE_Y[GRAIN_NODE_COUNT];

// Standard deviation of the grain before blur and intensity, in LogC4 code, at each node.
extern const double G500T_R[GRAIN_NODE_COUNT];
extern const double G500T_G[GRAIN_NODE_COUNT];
extern const double G500T_B[GRAIN_NODE_COUNT];
extern const double G250D_R[GRAIN_NODE_COUNT];
extern const double G250D_G[GRAIN_NODE_COUNT];
extern const double G250D_B[GRAIN_NODE_COUNT];
extern const double G200T_R[GRAIN_NODE_COUNT];
extern const double G200T_G[GRAIN_NODE_COUNT];
extern const double G200T_B[GRAIN_NODE_COUNT];
extern const double G50D_R[GRAIN_NODE_COUNT];
extern const double G50D_G[GRAIN_NODE_COUNT];
extern const double G50D_B[GRAIN_NODE_COUNT];
extern const double G800T_R[GRAIN_NODE_COUNT];
extern const double G800T_G[GRAIN_NODE_COUNT];
extern const double G800T_B[GRAIN_NODE_COUNT];
extern const double G5254_R[GRAIN_NODE_COUNT];
extern const double G5254_G[GRAIN_NODE_COUNT];
extern const double G5254_B[GRAIN_NODE_COUNT];
extern const double GETERNA500T_R[GRAIN_NODE_COUNT];
extern const double GETERNA500T_G[GRAIN_NODE_COUNT];
extern const double GETERNA500T_B[GRAIN_NODE_COUNT];
extern const double GETERNA250D_R[GRAIN_NODE_COUNT];
extern const double GETERNA250D_G[GRAIN_NODE_COUNT];
extern const double GETERNA250D_B[GRAIN_NODE_COUNT];
extern const double GETERNAVIVID_R[GRAIN_NODE_COUNT];
extern const double GETERNAVIVID_G[GRAIN_NODE_COUNT];
extern const double GETERNAVIVID_B[GRAIN_NODE_COUNT];
extern const double GPORTRA160_R[GRAIN_NODE_COUNT];
extern const double GPORTRA160_G[GRAIN_NODE_COUNT];
extern const double GPORTRA160_B[GRAIN_NODE_COUNT];
extern const double GPORTRA400_R[GRAIN_NODE_COUNT];
extern const double GPORTRA400_G[GRAIN_NODE_COUNT];
extern const double GPORTRA400_B[GRAIN_NODE_COUNT];
extern const double GPORTRA800_R[GRAIN_NODE_COUNT];
extern const double GPORTRA800_G[GRAIN_NODE_COUNT];
extern const double GPORTRA800_B[GRAIN_NODE_COUNT];
extern const double GGOLD200_R[GRAIN_NODE_COUNT];
extern const double GGOLD200_G[GRAIN_NODE_COUNT];
extern const double GGOLD200_B[GRAIN_NODE_COUNT];
extern const double GULTRAMAX400_R[GRAIN_NODE_COUNT];
extern const double GULTRAMAX400_G[GRAIN_NODE_COUNT];
extern const double GULTRAMAX400_B[GRAIN_NODE_COUNT];
extern const double GTRIX_M[GRAIN_NODE_COUNT];
extern const double GTMAX_M[GRAIN_NODE_COUNT];
extern const double GZERO[GRAIN_NODE_COUNT];

} // namespace velloid
