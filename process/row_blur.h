// One Gaussian blur of rows that arrive in order: each row is blurred horizontally as it is pushed, into a ring that
// holds the rows that the vertical blur still needs, and leaves blurred both ways, up to four rows at a time.
//
// Works on a span of columns: the rows that come in must reach beyond those that go out by the blur's radius, or to the
// edge of the frame, where the edge repeats.
#pragma once

#include "process/scratch.h"
#include "rows/blur_rows.h"

#include <vector>

namespace velloid {

// False when a blur with these sigmas leaves a plane as it is: a sigma not finite, none above 0, or an empty plane.
bool blurChanges(int w, int h, double sigmaX, double sigmaY);

// What the rows of one blur have in common.
struct BlurTaps {
    // Sigmas in pixels. Where blurChanges is false, rows leave as they came. Throws std::length_error for absurd
    // sigmas.
    BlurTaps(int w, int h, double sigmaX, double sigmaY);

    int radiusX() const { return static_cast<int>(x.size() / 2); }
    int radiusY() const { return static_cast<int>(y.size() / 2); }

    int w; // of the plane
    int h;
    bool changes;
    std::vector<double> x; // the taps of gaussKernel as doubles; a single one when nothing changes
    std::vector<double> y;
};

// Columns first .. end - 1 of the plane.
struct ColumnSpan {
    int first;
    int end;

    int size() const { return end - first; }
};

// Blurs the columns `in` of a row across, to the columns `out`. `to` must not overlap the row.
void blurAcross(const BlurTaps& taps, ColumnSpan in, ColumnSpan out, const float* row, float* to);

// What rows hold: any numbers, or 0 nearly everywhere, as the light of highlights alone. The blur of nothing is
// nothing, so a blur of sparse rows passes over stretches of zeros; the result is the same, bit for bit.
enum class RowContent { Any, Sparse };

class RowBlur {
public:
    // Takes the columns `from` and hands out `to`. The taps must outlive this. Rows may be pushed up to `ahead` rows
    // before the blurred rows need them.
    RowBlur(const BlurTaps& blurTaps, ColumnSpan from, ColumnSpan to, int ahead, RowContent content = RowContent::Any);

    // The first and the last row of the plane that blurred row y needs.
    int firstNeeded(int y) const;
    int lastNeeded(int y) const;

    // Row y of the plane, the columns `from`. Rows come in order, without gaps.
    void push(int y, const float* row);

    // Writes the blurred rows y .. y + count - 1, count at most BLUR_BLOCK_ROWS, once all rows that they need have been
    // pushed. Calls must come in order.
    void take(int y, int count, float* const* out);

private:
    float* slot(int y); // of row y in the ring
    unsigned char* marksOf(int y);
    void pushSparse(int y, const float* row);
    void takeSparse(int count, float* const* to);

    const BlurTaps& taps;
    ColumnSpan in;
    ColumnSpan out;
    int ringRows;
    Scratch ring;
    std::vector<const float*> window;

    // Of sparse rows: a mark per stretch of columns, 0 where all of its samples are 0.
    int stretches = 0;                 // of the columns `out`; 0: rows are not sparse
    std::vector<unsigned char> marks;  // per ring row
    std::vector<unsigned char> marked; // room for one row's
};

} // namespace velloid
