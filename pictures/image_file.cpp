// OpenImageIO does the formats; here stands what a render program must decide on top of it: which channels are colour,
// which depth and window the output gets, which header entries would be stale, and how a file comes into being whole.
#include "pictures/image_file.h"

#include "pictures/picture_error.h"
#include "text/words.h"

#include <OpenImageIO/filesystem.h>
#include <fmt/format.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace tarnwell {

namespace {

namespace fs = std::filesystem;

// The JPEG library's own limit; beyond it that library ends the whole process.
constexpr int JPEG_MOST_PIXELS = 65500;

PictureError failure(const std::string& path, const std::string& reason) {
    return {PictureFault::Failure, fmt::format("{}: {}", path, reason)};
}

int channelNamed(const OIIO::ImageSpec& spec, const std::string& name) {
    for (int i = 0; i < spec.nchannels; ++i)
        if (lowered(spec.channel_name(i)) == name) return i;
    return -1;
}

// R G B A, in any case and order; else the grey Y, I or L; else the first layer that has an R, G and B of its own.
ColorChannels findColors(const OIIO::ImageSpec& spec) {
    ColorChannels found{channelNamed(spec, "r"), channelNamed(spec, "g"), channelNamed(spec, "b"),
                        channelNamed(spec, "a")};
    if (found.red >= 0 && found.green >= 0 && found.blue >= 0) return found;
    for (int i = 0; i < spec.nchannels; ++i) {
        const std::string name = lowered(spec.channel_name(i));
        if (name.size() < 3 || name.compare(name.size() - 2, 2, ".r") != 0) continue;
        const std::string layer = name.substr(0, name.size() - 1);
        const ColorChannels inLayer{i, channelNamed(spec, layer + "g"), channelNamed(spec, layer + "b"),
                                    channelNamed(spec, layer + "a")};
        if (inLayer.green >= 0 && inLayer.blue >= 0) return inLayer;
    }
    for (const char* name : {"y", "i", "l", "r"})
        if (const int grey = channelNamed(spec, name); grey >= 0) return {grey, grey, grey, found.alpha};
    return {};
}

// Opened so that colours come as the file stores them: an encoded picture must be decoded before alpha may touch it.
std::unique_ptr<OIIO::ImageInput> openFile(const std::string& path) {
    if (!fs::exists(path)) throw PictureError(PictureFault::Missing, fmt::format("{}: no such file", path));
    OIIO::ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    auto file = OIIO::ImageInput::open(path, &wish);
    if (!file) throw failure(path, OIIO::geterror());
    return file;
}

int countParts(OIIO::ImageInput& file) {
    int parts = 1;
    while (file.seek_subimage(parts, 0))
        ++parts;
    file.geterror(); // the last step went past the end; that is no error of the file
    file.seek_subimage(0, 0);
    return parts;
}

Picture headerOf(OIIO::ImageInput& file, const std::string& path) {
    Picture picture;
    picture.parts = countParts(file);
    picture.header = file.spec();
    if (picture.header.deep) throw failure(path, "deep pictures are not supported");
    if (picture.header.depth > 1) throw failure(path, "volumes are not supported");
    picture.channels = findColors(picture.header);
    if (picture.channels.red < 0) throw failure(path, "holds no colour channels (R, G, B or Y)");
    const bool luminanceChroma = channelNamed(picture.header, "ry") >= 0 && channelNamed(picture.header, "by") >= 0;
    if (luminanceChroma) throw failure(path, "luminance-chroma pictures are not supported");
    picture.premultiplied = picture.hasAlpha() && picture.header.get_int_attribute("oiio:UnassociatedAlpha") == 0;
    return picture;
}

struct DepthRow {
    Depth depth;
    const char* name;
    OIIO::TypeDesc::BASETYPE type;
    int bits;
};

// clang-format off
constexpr std::array<DepthRow, 6> DEPTHS{{
    {Depth::Uint8,  "uint8",  OIIO::TypeDesc::UINT8,  8},
    {Depth::Uint10, "uint10", OIIO::TypeDesc::UINT16, 10},
    {Depth::Uint12, "uint12", OIIO::TypeDesc::UINT16, 12},
    {Depth::Uint16, "uint16", OIIO::TypeDesc::UINT16, 16},
    {Depth::Half,   "half",   OIIO::TypeDesc::HALF,   16},
    {Depth::Float,  "float",  OIIO::TypeDesc::FLOAT,  32},
}};

// What each file type can hold, the one for foreign depths first. Types that are not listed take what the input has.
struct TypeRow {
    const char* ending;
    std::vector<Depth> depths;
};
const std::vector<TypeRow>& fileTypes() {
    static const std::vector<TypeRow> types{
        {"exr",  {Depth::Half, Depth::Float}},
        {"png",  {Depth::Uint8, Depth::Uint16}},
        {"jpg",  {Depth::Uint8}},
        {"jpeg", {Depth::Uint8}},
        {"dpx",  {Depth::Uint10, Depth::Uint8, Depth::Uint12, Depth::Uint16}},
        {"tif",  {Depth::Uint16, Depth::Uint8, Depth::Half, Depth::Float}},
        {"tiff", {Depth::Uint16, Depth::Uint8, Depth::Half, Depth::Float}},
    };
    return types;
}
// clang-format on

const DepthRow& rowOf(Depth depth) {
    for (const DepthRow& row : DEPTHS)
        if (row.depth == depth) return row;
    throw std::logic_error("a depth without a row");
}

Depth depthOfHeader(const OIIO::ImageSpec& spec) {
    switch (spec.format.basetype) {
    case OIIO::TypeDesc::UINT8:
        return Depth::Uint8;
    case OIIO::TypeDesc::HALF:
        return Depth::Half;
    case OIIO::TypeDesc::FLOAT:
    case OIIO::TypeDesc::DOUBLE:
        return Depth::Float;
    default:
        break;
    }
    const int bits = spec.get_int_attribute("oiio:BitsPerSample", 16);
    return bits == 10 ? Depth::Uint10 : bits == 12 ? Depth::Uint12 : bits <= 8 ? Depth::Uint8 : Depth::Uint16;
}

bool contains(const std::vector<Depth>& depths, Depth depth) {
    return std::find(depths.begin(), depths.end(), depth) != depths.end();
}

// Removes what the header says about the old file and would be untrue of the new one.
void eraseStale(OIIO::ImageSpec& spec, bool sameType) {
    for (const char* name : {"oiio:ConstantColor", "oiio:AverageColor", "oiio:SHA-1", "oiio:subimages",
                             "oiio:BitsPerSample", "oiio:subimagename", "openexr:lineOrder", "openexr:chunkCount",
                             "textureformat", "wrapmodes", "fovcot", "dpx:Colorimetric"})
        spec.erase_attribute(name);
    if (!sameType) spec.erase_attribute("compression");
    spec.tile_width = spec.tile_height = spec.tile_depth = 0;
}

// Fits the picture to what the file type can hold; each loss becomes a sentence.
Picture fitted(const std::string& path, const Picture& picture, const OIIO::ImageOutput& file,
               std::vector<std::string>& losses) {
    Picture out = picture;
    const bool keepsAlpha = file.supports("alpha") != 0;
    if (!file.supports("nchannels") && (picture.extraChannels() > 0 || (picture.hasAlpha() && !keepsAlpha))) {
        if (picture.extraChannels() > 0)
            losses.push_back(fmt::format("{}: {} extra channels left out", path, picture.extraChannels()));
        if (picture.hasAlpha() && !keepsAlpha) losses.push_back(fmt::format("{}: alpha left out", path));
        out = onlyColors(out, keepsAlpha);
    }
    const OIIO::ImageSpec& spec = out.header;
    const bool shifted = spec.x != spec.full_x || spec.y != spec.full_y || spec.width != spec.full_width ||
                         spec.height != spec.full_height;
    if (shifted && (!file.supports("displaywindow") || !file.supports("origin"))) {
        out = cutToDisplay(out);
        losses.push_back(fmt::format("{}: data window fitted to the display window", path));
    }
    if (!file.supports("displaywindow")) out.header.full_x = out.header.full_y = out.header.x = out.header.y = 0;
    const bool storesUnassociated = endingOf(path) == "png";
    if (out.hasAlpha() && out.luminous && storesUnassociated) {
        out = onlyColors(out, false);
        losses.push_back(fmt::format("{}: alpha left out, because there is light where it is 0", path));
    } else if (out.hasAlpha() && out.premultiplied && storesUnassociated) {
        unassociate(out);
    }
    return out;
}

OIIO::ImageSpec specFor(const std::string& path, const Picture& picture, Depth depth, const WriteOptions& options) {
    OIIO::ImageSpec spec = picture.header;
    const std::string ending = endingOf(path);
    const bool sameType = picture.header.get_string_attribute("tarnwell:ending") == ending;
    eraseStale(spec, sameType);
    spec.erase_attribute("tarnwell:ending");
    spec.set_format(rowOf(depth).type);
    if (ending == "dpx" || ending == "tif" || ending == "tiff") spec.attribute("oiio:BitsPerSample", rowOf(depth).bits);
    if (ending == "exr" && !picture.header.channelformats.empty()) {
        spec.channelformats = picture.header.channelformats; // a depth channel stays float beside half colours
        for (const int colour : {picture.channels.red, picture.channels.green, picture.channels.blue})
            spec.channelformats[static_cast<std::size_t>(colour)] = OIIO::TypeDesc(rowOf(depth).type);
    }
    spec.erase_attribute("oiio:UnassociatedAlpha");
    if (picture.hasAlpha() && !picture.premultiplied) spec.attribute("oiio:UnassociatedAlpha", 1);
    if (!options.compression.empty()) spec.attribute("compression", options.compression);
    for (const auto& [name, value] : options.attributes)
        spec.attribute(name, value);
    return spec;
}

// A name beside `path` that no other run uses, with its ending, by which the type is chosen.
std::string temporaryName(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    const fs::path target(path);
    const std::string name =
        fmt::format(".{}.{}-{}.partial{}", target.stem().string(), ::getpid(), counter++, target.extension().string());
    return (target.parent_path() / name).string();
}

// Removes the temporary file unless it was moved to its place.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) : path_(temporaryName(target)), target_(target) {}
    ~TemporaryFile() {
        std::error_code ignored;
        if (!moved_) fs::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }

    void moveToTarget(bool overwrite) {
        std::error_code error;
        if (overwrite) {
            fs::rename(path_, target_, error);
            moved_ = !error;
        } else {
            fs::create_hard_link(path_, target_, error); // fails where the target exists, in one step
            const bool noLinksHere = error && error != std::errc::file_exists;
            if (noLinksHere && !fs::exists(target_)) {
                fs::rename(path_, target_, error);
                moved_ = !error;
            }
        }
        if (error) throw failure(target_, error.message());
    }

private:
    std::string path_, target_;
    bool moved_ = false;
};

void writeSamples(const std::string& path, OIIO::ImageOutput& file, OIIO::ImageSpec spec, const Picture& picture) {
    if (!file.open(path, spec)) throw std::runtime_error(file.geterror());
    if (!file.write_image(OIIO::TypeDesc::FLOAT, picture.samples.data())) throw std::runtime_error(file.geterror());
    if (!file.close()) throw std::runtime_error(file.geterror());
}

// PNG is written without a word when the disk is full, and JPEG's library then ends the process: both go to memory
// first.
void writeByMemory(const std::string& path, OIIO::ImageOutput& file, OIIO::ImageSpec spec, const Picture& picture) {
    OIIO::Filesystem::IOVecOutput memory;
    OIIO::Filesystem::IOProxy* proxy = &memory;
    spec.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    writeSamples(path, file, spec, picture);
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(memory.buffer().data()),
              static_cast<std::streamsize>(memory.buffer().size()));
    out.close();
    if (!out) throw std::runtime_error("cannot be written, or the disk is full");
}

bool goesByMemory(const std::string& path) {
    const std::string ending = endingOf(path);
    return ending == "png" || ending == "jpg" || ending == "jpeg";
}

} // namespace

std::string endingOf(const std::string& path) {
    const std::string ending = lowered(fs::path(path).extension().string());
    return ending.empty() ? ending : ending.substr(1);
}

Picture readHeader(const std::string& path) {
    const auto file = openFile(path);
    Picture picture = headerOf(*file, path);
    picture.header.attribute("tarnwell:ending", endingOf(path));
    return picture;
}

Picture readPicture(const std::string& path) {
    const auto file = openFile(path);
    Picture picture = headerOf(*file, path);
    picture.samples.resize(picture.pixelCount() * static_cast<std::size_t>(picture.header.nchannels));
    if (!file->read_image(0, 0, 0, picture.header.nchannels, OIIO::TypeDesc::FLOAT, picture.samples.data()))
        throw failure(path, file->geterror());
    picture.header.attribute("tarnwell:ending", endingOf(path));
    turnUpright(picture);
    picture.luminous = shinesWithoutAlpha(picture);
    return picture;
}

const std::vector<std::string>& depthNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> out;
        for (const DepthRow& row : DEPTHS)
            out.emplace_back(row.name);
        return out;
    }();
    return names;
}

Depth parseDepth(const std::string& name) {
    for (const DepthRow& row : DEPTHS)
        if (name == row.name) return row.depth;
    throw requestError(fmt::format("unknown depth \"{}\"{}", name, didYouMean(name, depthNames())));
}

bool isFloatDepth(Depth depth) {
    return depth == Depth::Half || depth == Depth::Float;
}

Depth outputDepth(const std::string& path, const Picture& source, Depth wanted) {
    const Depth input = depthOfHeader(source.header);
    const std::string ending = endingOf(path);
    for (const TypeRow& type : fileTypes()) {
        if (ending != type.ending) continue;
        if (wanted == Depth::AsInput) return contains(type.depths, input) ? input : type.depths.front();
        if (contains(type.depths, wanted)) return wanted;
        throw requestError(fmt::format("{}: .{} files do not hold {}", path, ending, rowOf(wanted).name));
    }
    if (!OIIO::ImageOutput::create(path)) {
        OIIO::geterror(); // OpenImageIO's own sentence lists plug-in files
        throw requestError(fmt::format("{}: no picture type is known by the ending \".{}\"", path, ending));
    }
    return wanted == Depth::AsInput ? input : wanted;
}

std::vector<std::string> writePicture(const std::string& path, const Picture& picture, const WriteOptions& options) {
    const Depth depth = outputDepth(path, picture, options.depth);
    if (!options.overwrite && fs::exists(path)) throw failure(path, "exists already");
    const auto file = OIIO::ImageOutput::create(path);
    if (!file) throw failure(path, OIIO::geterror());
    std::vector<std::string> losses;
    const bool jpeg = endingOf(path) == "jpg" || endingOf(path) == "jpeg";
    if (jpeg && std::max(picture.header.full_width, picture.header.full_height) > JPEG_MOST_PIXELS)
        throw failure(path, fmt::format("a JPEG side has {} pixels at most", JPEG_MOST_PIXELS));
    const Picture fit = fitted(path, picture, *file, losses);
    TemporaryFile temporary(path);
    try {
        const auto write = goesByMemory(path) ? writeByMemory : writeSamples;
        write(temporary.path(), *file, specFor(path, fit, depth, options), fit);
    } catch (const std::runtime_error& error) {
        throw failure(path, error.what());
    }
    temporary.moveToTarget(options.overwrite);
    return losses;
}

} // namespace tarnwell
