// `tarnwell spaces`: the names that --from and --to take.
#include "pictures/color_management.h"
#include "program/program.h"

namespace tarnwell {

void addSpacesCommand(CLI::App& app, Program& program) {
    CLI::App* command = app.add_subcommand("spaces", "list the colour spaces that --from and --to take");
    command->callback([&program] {
        std::string text;
        for (const std::string& name : ColorManager::fromEnvironment().names())
            text += name + "\n";
        program.print(text);
    });
}

} // namespace tarnwell
