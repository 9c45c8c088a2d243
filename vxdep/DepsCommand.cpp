#include <CLI/CLI.hpp>

#include "vxdep/Query.h"

namespace vxdep {

void AddDepsCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand("deps", "List what a file refers to");
    command->footer(
        "PATH is read again first when it has changed since it was last read. A folder stands for\n"
        "all files below it.");
    AddQueryCommand(command, vexa::vxdependency::Direction::Forward, options, action);
}

}  // namespace vxdep
