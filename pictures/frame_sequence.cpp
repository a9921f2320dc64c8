// Lists of frames are read by OpenImageIO, after a check of the grammar: its reader takes a step of 0 and stops
// silently at text that it does not know.
#include "pictures/frame_sequence.h"

#include "pictures/picture_error.h"

#include <OpenImageIO/filesystem.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <regex>
#include <set>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t MOST_FRAMES = 10'000'000; // a list longer than this is a slip of the keyboard

// printf form, a run of #, or a run of @
const std::regex& numberPlace() {
    static const std::regex place("%0?([0-9]*)d|#+|@+");
    return place;
}

std::string fileNameOf(const std::string& path) {
    return fs::path(path).filename().string();
}

int digitsOf(const std::smatch& place) {
    const std::string text = place.str();
    if (text[0] == '%') return place.length(1) == 0 ? 1 : std::stoi(place.str(1));
    if (text == "#") return 4;
    return static_cast<int>(text.size());
}

// Throws for a range that names more frames than anyone renders, before the numbers are listed.
void checkLength(const std::string& text) {
    static const std::regex range("(-?[0-9]+)-(-?[0-9]+)");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), range); it != std::sregex_iterator(); ++it) {
        const long long span = std::stoll((*it)[2]) - std::stoll((*it)[1]);
        if (static_cast<std::size_t>(std::abs(span)) >= MOST_FRAMES)
            throw requestError(fmt::format("frames \"{}\": more than {} frames", text, MOST_FRAMES));
    }
}

} // namespace

std::vector<int> parseFrames(const std::string& text) {
    static const std::regex grammar("-?[0-9]{1,9}(--?[0-9]{1,9}([xy]-?[0-9]{0,8}[1-9][0-9]{0,8})?)?"
                                    "(,-?[0-9]{1,9}(--?[0-9]{1,9}([xy]-?[0-9]{0,8}[1-9][0-9]{0,8})?)?)*");
    if (!std::regex_match(text, grammar))
        throw requestError(fmt::format("frames \"{}\" is not a list such as 7, 1-100, 1-100x2 or 1-10,20-30", text));
    checkLength(text);
    std::vector<int> listed;
    if (!OIIO::Filesystem::enumerate_sequence(text, listed))
        throw requestError(fmt::format("frames \"{}\" cannot be read as a list of frames", text));
    std::vector<int> frames;
    std::set<int> seen;
    for (const int frame : listed)
        if (seen.insert(frame).second) frames.push_back(frame);
    return frames;
}

bool FramePattern::isPattern(const std::string& path) {
    return std::regex_search(fileNameOf(path), numberPlace());
}

FramePattern::FramePattern(const std::string& path, int padding) {
    const std::string name = fileNameOf(path);
    const std::string folder = path.substr(0, path.size() - name.size());
    std::smatch place;
    if (!std::regex_search(name, place, numberPlace()))
        throw requestError(fmt::format("\"{}\" has no place for a frame number (#### or %04d)", path));
    const std::string rest = place.suffix();
    if (std::regex_search(rest, numberPlace()))
        throw requestError(fmt::format("\"{}\" has more than one place for a frame number", path));
    beforeNumber_ = folder + place.prefix().str();
    afterNumber_ = rest;
    digits_ = padding > 0 ? padding : digitsOf(place);
    if (digits_ > 32) throw requestError(fmt::format("\"{}\": a frame number of {} digits", path, digits_));
}

std::string FramePattern::pathOf(int frame) const {
    // printf's rule: the sign counts as a digit
    return fmt::format("{}{:0{}d}{}", beforeNumber_, frame, digits_, afterNumber_);
}

std::vector<int> FramePattern::existingFrames() const {
    const fs::path folder = fs::path(beforeNumber_ + "0").parent_path();
    const std::string before = fileNameOf(beforeNumber_ + "0").substr(0, fileNameOf(beforeNumber_ + "0").size() - 1);
    std::vector<int> frames;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder.empty() ? fs::path(".") : folder, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.size() <= before.size() + afterNumber_.size() || name.compare(0, before.size(), before) != 0) continue;
        const char* first = name.data() + before.size();
        const char* last = name.data() + name.size() - afterNumber_.size();
        int frame = 0;
        const auto read = std::from_chars(first, last, frame);
        if (read.ec != std::errc() || read.ptr != last) continue;
        // only the name that this pattern would give to the number: 7 is not 0007
        if (fileNameOf(pathOf(frame)) == name) frames.push_back(frame);
    }
    std::sort(frames.begin(), frames.end());
    return frames;
}

} // namespace tarnwell
