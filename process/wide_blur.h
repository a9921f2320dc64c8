// A Gaussian blur for very wide sigmas: the plane is halved until the sigma is at most 8, blurred there, and
// interpolated back. Each halving is preceded by a blur of sigma 1, so that it does not alias; the variance that these
// blurs and the boxes of the halvings bring along, 4/3 of a full-size pixel squared, is taken from the sigma
// beforehand.
//
// Used like BlurStream; narrow sigmas and small planes are a BlurStream.
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

// Rows of the resampled plane, best asked for in order; used by one thread.
class Stretch::Rows {
public:
    explicit Rows(const Stretch& stretch);

    void make(int y, float* out);

private:
    const double* across(int y, int other);

    const Stretch& stretch;
    std::vector<double> cache[2]; // two source rows, stretched horizontally
    int cached[2] = {-1, -1};
};

class WideBlur {
public:
    // As BlurStream; wide sigmas read all of the source at once.
    WideBlur(const RowBands& bands, int w, double sigmaX, double sigmaY, RowSource source,
             RowContent content = RowContent::Any);

    class Rows;

private:
    void blurOnLadder(const RowSource& source, RowContent content, int w, int h, double sigmaX, double sigmaY);

    std::optional<BlurStream> direct;
    Scratch half; // the blurred plane at half resolution
    std::optional<Stretch> stretch;
};

class WideBlur::Rows {
public:
    Rows(const WideBlur& blur, int begin);

    void next(int y, int count, float* const* out);

private:
    std::optional<BlurStream::Rows> direct;
    std::optional<Stretch::Rows> stretched;
};

} // namespace velloid
