#include <CLI/CLI.hpp>

#include "vxdep/Query.h"

namespace vxdep {

void AddRdepsCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand("rdeps", "List which files refer to a file");
    command->footer(
        "The answer is as recent as the last scan. PATH need not exist: a missing file that "
        "others\n"
        "refer to has an answer too. A folder stands for all files below it.");
    AddQueryCommand(command, vexa::vxdependency::Direction::Inverse, options, action);
}

}  // namespace vxdep
