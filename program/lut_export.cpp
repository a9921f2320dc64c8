// `tarnwell lut export`: a look as a .cube file, sampled through the plug-in.
#include "program/look_export.h"
#include "program/plugin_session.h"
#include "program/program.h"

#include <fmt/format.h>

#include <memory>

namespace tarnwell {

namespace {

struct ExportOptions {
    LookExport wanted;
    std::string plugin = OWN_PLUGIN, output;
};

void exportLook(const ExportOptions& options, const Program& program) {
    PluginSession session(options.plugin);
    const LookTable table = sampleLook(session.effect(), options.wanted);
    writeTextFile(options.output, cubeText(table));
    program.note(fmt::format("{}: {} at strength {:g}, {} points per axis, {} in and out", options.output, table.look,
                             table.strength, table.size, table.space));
    if (table.space.rfind("Linear/", 0) == 0)
        program.note("light above 1.0 is cut by the table's domain; --io LogC4/AWG4 keeps the highlights");
}

} // namespace

void addLutCommand(CLI::App& app, Program& program) {
    CLI::App* lut = app.add_subcommand("lut", "Looks as .cube files");
    lut->require_subcommand(1);
    CLI::App* command = lut->add_subcommand(
        "export", "Write a look as a .cube file: use it as output LUT with the input LogC4, or in any program that\n"
                  "hands it LogC4 codes over ARRI Wide Gamut 4. Colour only: grain, halation and the rest are off.");
    const auto options = std::make_shared<ExportOptions>();
    command->add_option("--look", options->wanted.look, "Label of a look, the beginning of one, or its index")
        ->required();
    command->add_option("--strength", options->wanted.strength, "How far the look is applied")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    command->add_option("--io", options->wanted.space, "I/O space of the values in the file")->capture_default_str();
    command->add_option("--size", options->wanted.size, "Points per axis")
        ->check(CLI::Range(SMALLEST_TABLE, LARGEST_TABLE))
        ->capture_default_str();
    command->add_option("--plugin", options->plugin, "Identifier or bundle of the plug-in")->capture_default_str();
    command->add_option("OUT", options->output, "The .cube file")->required();
    command->callback([options, &program] { exportLook(*options, program); });
}

} // namespace tarnwell
