// Picture files, through OpenImageIO: float samples in, float samples out, and everything else that the file said kept
// on the way: header, depth, data window and display window, alpha, channels that are no colour. A file is written
// under a temporary name in its own folder and renamed when it is whole: a reader never meets half a picture, and an
// interrupted run leaves the old file as it was.
#pragma once

#include "pictures/picture.h"

#include <string>
#include <utility>
#include <vector>

namespace tarnwell {

// The first picture of a file, upright (a turned photograph is turned back). Throws PictureError (Missing) when there
// is no such file, (Failure) naming file and reason when it cannot be read, is deep, or holds no colour.
Picture readPicture(const std::string& path);

// The header alone; same errors. Cheap: no pixel is read.
Picture readHeader(const std::string& path);

enum class Depth { AsInput, Uint8, Uint10, Uint12, Uint16, Half, Float };

// "uint8", "uint10", "uint12", "uint16", "half", "float". Throws PictureError (Request) naming the nearest.
Depth parseDepth(const std::string& name);
const std::vector<std::string>& depthNames();

// The depth with which `path` (its type by its ending) will be written when a picture like `source` goes there.
// AsInput: the input's where the file type has it, else the nearest that loses least: half for OpenEXR, 8 bit for PNG
// and JPEG, 10 bit for DPX. Throws PictureError (Request) for an unknown ending or a depth that the type does not have.
Depth outputDepth(const std::string& path, const Picture& source, Depth wanted);

// Whether it holds light above white; false for AsInput.
bool isFloatDepth(Depth depth);

struct WriteOptions {
    Depth depth = Depth::AsInput;
    std::string compression; // OpenImageIO's name, for example "zip" or "jpeg:95"; empty: the input's where it fits
    std::vector<std::pair<std::string, std::string>> attributes; // text added to the header
    bool overwrite = true; // false: PictureError (Failure) when `path` exists, also when it appeared meanwhile
};

// Writes the picture; what the file type cannot hold is fitted: data window to display window, associated alpha, extra
// channels left out. Returns one sentence for each such loss. Throws PictureError (Failure) naming file and reason;
// then no file, or the old one, stands there.
std::vector<std::string> writePicture(const std::string& path, const Picture& picture, const WriteOptions& options);

// Lower-case ending without the dot: "exr".
std::string endingOf(const std::string& path);

} // namespace tarnwell
