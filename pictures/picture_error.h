// What can go wrong with a picture file, a sequence or a colour space. Everything in pictures/ throws this and nothing
// else of its own; what it means for a caller, an exit status for example, the caller decides.
#pragma once

#include <stdexcept>
#include <string>

namespace tarnwell {

enum class PictureFault {
    Failure, // a file or configuration cannot be read, written or converted
    Request, // a name, depth, ending, pattern or list of frames that means nothing here
    Missing, // the file to read does not exist
};

// `what()` is one sentence for the user, with the file or word in it.
class PictureError : public std::runtime_error {
public:
    PictureError(PictureFault why, const std::string& sentence) : std::runtime_error(sentence), fault(why) {}
    PictureFault fault;
};

// A word of the user that means nothing here.
inline PictureError requestError(const std::string& sentence) {
    return {PictureFault::Request, sentence};
}

} // namespace tarnwell
