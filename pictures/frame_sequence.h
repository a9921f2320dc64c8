// Numbered files and lists of frame numbers.
//   in.####.exr  in.%04d.exr  in.@@@.exr    one file per frame; a run of N # (or @) is a number of N digits, one #
//                                           alone is four; longer and negative numbers take the room that they need
//   1-100  1-100x2  1-100y2  10-1  -5-5  1,4,10-20    lists of frame numbers; x: every n-th, y: all but every n-th
// The number in a file's name is the frame number that the effect sees.
#pragma once

#include <string>
#include <vector>

namespace tarnwell {

// The frames that the text lists, in its order, a repeated one only once. Throws PictureError (Request) for anything
// that is not a list.
std::vector<int> parseFrames(const std::string& text);

class FramePattern {
public:
    // Whether `path` names numbered files rather than one file.
    static bool isPattern(const std::string& path);

    // `padding` above 0 replaces the number of digits that the path asks for. Throws PictureError (Request) when the
    // path holds no place, or more than one, for a number.
    explicit FramePattern(const std::string& path, int padding = 0);

    // The file of a frame; any number, negative ones too.
    std::string pathOf(int frame) const;

    // The frames for which a file exists now, ascending. Empty when the folder does not exist.
    std::vector<int> existingFrames() const;

private:
    std::string beforeNumber_; // whole path up to the number
    std::string afterNumber_;
    int digits_ = 4;
};

} // namespace tarnwell
