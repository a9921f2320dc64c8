// Called by `tarnwell lut export`.
#include "program/look_export.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>

namespace tarnwell {
namespace {

constexpr int RGBA = 4;

// What would change a pixel by its place, its neighbours, its time, or a second time: all of it off.
constexpr std::array<std::pair<const char*, const char*>, 9> SWITCHED_OFF = {{
    {"detail", "0"},
    {"grainIntensity", "0"},
    {"halationIntensity", "0"},
    {"gateWeave", "0"},
    {"flicker", "0"},
    {"bloom", "0"},
    {"blackWhite", "0"},
    {"outputLutPath", ""},
    {"outputLutStrength", "0"},
}};

// size^2 wide, size high: red runs fastest, then green, then blue from row to row.
std::vector<float> latticePicture(int size) {
    std::vector<float> picture;
    picture.reserve(static_cast<std::size_t>(size) * size * size * RGBA);
    const auto code = [size](int index) { return static_cast<float>(static_cast<double>(index) / (size - 1)); };
    for (int b = 0; b < size; ++b)
        for (int g = 0; g < size; ++g)
            for (int r = 0; r < size; ++r)
                picture.insert(picture.end(), {code(r), code(g), code(b), 1.0f});
    return picture;
}

ImageDesc describe(std::vector<float>& picture, const OfxRectI& bounds) {
    ImageDesc image;
    image.data = picture.data();
    image.bounds = bounds;
    return image;
}

void setUp(Instance& instance, const LookExport& wanted, LookTable& table) {
    instance.setParameter("colorProcess", wanted.look);
    instance.setParameter("colorIntensity", shortest(wanted.strength));
    instance.setParameter("ioSpace", wanted.space);
    for (const auto& [key, value] : SWITCHED_OFF) {
        instance.setParameter(key, value);
        table.off.push_back(std::string(key) + " = " + (*value ? value : "(none)"));
    }
    table.look = instance.parameters().at("colorProcess").written();
    table.space = instance.parameters().at("ioSpace").written();
}

bool isSceneLinear(const std::string& space) {
    return space.rfind("Linear/", 0) == 0;
}

std::vector<std::string> usage(const LookTable& table) {
    if (table.space == "LogC4/AWG4")
        return {"Input and output: LogC4 codes over ARRI Wide Gamut 4.",
                "In the plug-in: Output LUT (.cube) = this file, Output LUT Input = LogC4, any I/O space, Color off."};
    std::vector<std::string> lines = {
        "Input and output: code values of " + table.space + ", 0 to 1.",
        "In the plug-in: Output LUT (.cube) = this file, Output LUT Input = Encoded I/O, I/O Space = " + table.space +
            ", Color off."};
    if (isSceneLinear(table.space))
        lines.push_back("Light above 1.0 is cut by the table's domain: a log space keeps the highlights.");
    return lines;
}

} // namespace

LookTable sampleLook(Effect& effect, const LookExport& wanted) {
    if (wanted.size < SMALLEST_TABLE || wanted.size > LARGEST_TABLE)
        throw ParameterError("a table has " + std::to_string(SMALLEST_TABLE) + " to " + std::to_string(LARGEST_TABLE) +
                             " points per axis, not " + std::to_string(wanted.size));
    LookTable table;
    table.strength = wanted.strength;
    table.size = wanted.size;

    InstanceOptions options;
    options.depth = kOfxBitDepthFloat;
    options.components = kOfxImageComponentRGBA;
    Instance instance(effect, options);
    setUp(instance, wanted, table);
    instance.create();

    std::vector<float> in = latticePicture(wanted.size), out(in.size());
    RenderRequest request;
    request.window = {0, 0, wanted.size * wanted.size, wanted.size};
    request.source = describe(in, request.window);
    request.output = describe(out, request.window);
    instance.renderFrame(request);

    table.samples.reserve(out.size() / RGBA * 3);
    for (std::size_t pixel = 0; pixel < out.size(); pixel += RGBA)
        table.samples.insert(table.samples.end(), out.begin() + static_cast<std::ptrdiff_t>(pixel),
                             out.begin() + static_cast<std::ptrdiff_t>(pixel + 3));
    return table;
}

// Comments stand between title and size only: some readers take them nowhere else.
std::string cubeText(const LookTable& table) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(std::numeric_limits<float>::max_digits10);
    text << "TITLE \"" << table.look << ", strength " << shortest(table.strength) << "\"\n";
    for (const std::string& line : usage(table))
        text << "# " << line << "\n";
    text << "# Colour only. Rendered with:\n";
    for (const std::string& line : table.off)
        text << "#   " << line << "\n";
    text << "LUT_3D_SIZE " << table.size << "\n";
    for (std::size_t i = 0; i < table.samples.size(); ++i)
        text << table.samples[i] << (i % 3 == 2 ? "\n" : " ");
    return text.str();
}

void writeTextFile(const std::filesystem::path& path, const std::string& text) {
    const std::filesystem::path unfinished = path.string() + ".part";
    const auto fail = [&](const std::string& reason) {
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        return HostError("cannot write '" + path.string() + "': " + reason);
    };
    std::ofstream file(unfinished, std::ios::binary | std::ios::trunc);
    if (!file) throw fail(std::strerror(errno));
    file << text;
    file.close();
    if (!file) throw fail("the disk is full or went away");
    std::error_code error;
    std::filesystem::rename(unfinished, path, error);
    if (error) throw fail(error.message());
}

} // namespace tarnwell
