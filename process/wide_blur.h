// A Gaussian blur for very wide sigmas: the plane is halved until the sigma is at most 8, blurred there, and
// interpolated back. Each halving is preceded by a blur of sigma 1, so that it does not alias; the variance that these
// blurs and the boxes of the halvings bring along, 4/3 of a full-size pixel squared, is taken from the sigma
// beforehand.
//
// Narrow sigmas and small planes take the plain stream of blur_stream.h.
#pragma once

#include "process/blur_stream.h"
#include "process/scratch.h"

#include <optional>
#include <vector>

namespace velloid {

// Bilinear resampling of a plane, sample centres at half pixels. What `src` points to must outlive this.
class Stretch {
public:
    Stretch(const float* src, int w, int h, int W, int H);

    class Rows;

private:
    const float* src;
    int w;
    int h;
    int W;
    int H;
    std::vector<int> left; // per output column; empty when the width doubles, which needs no table
    std::vector<int> right;
    std::vector<double> weight;
};

// Rows of the resampled plane, the columns `columns`, best asked for in order; used by one thread.
class Stretch::Rows {
public:
    Rows(const Stretch& stretch, ColumnSpan columns);

    void make(int y, float* out);

private:
    const double* across(int y, int other);

    const Stretch& stretch;
    ColumnSpan columns;
    ColumnSpan doubled;           // of the source, when the width doubles: two columns more than its part needs
    std::vector<double> cache[2]; // two source rows, stretched horizontally
    int cached[2] = {-1, -1};
};

class WideBlur {
public:
    // Blurs a source of w x h samples, which must outlive this; wide sigmas read all of it at once. Throws
    // std::length_error for absurd sigmas.
    WideBlur(RowSource source, int w, int h, double sigmaX, double sigmaY, RowContent content = RowContent::Any);

    class Rows;

private:
    void blurOnLadder(int w, int h, double sigmaX, double sigmaY);

    RowSource source;
    RowContent content;
    std::optional<BlurTaps> direct;
    Scratch half; // the blurred plane at half resolution
    std::optional<Stretch> stretch;
};

// The blurred rows of the columns `columns`, from row `begin` on; used by one thread.
class WideBlur::Rows {
public:
    Rows(const WideBlur& blur, ColumnSpan columns, int begin);

    // As BlurredRows.
    void next(int y, int count, float* const* out);

private:
    std::optional<BlurredRows> direct;
    std::optional<Stretch::Rows> stretched;
};

// As blurInto.
void blurWideInto(float* plane, const RowSource& source, int w, int h, double sigmaX, double sigmaY);

} // namespace velloid
