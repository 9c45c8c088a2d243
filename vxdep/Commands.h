#pragma once

#include <functional>
#include <string>

#include "vxdep/ExitCode.h"

namespace CLI {
class App;
}

namespace vxdep {

// What stands before the command.
struct GlobalOptions {
    std::string directory;  // -C; empty: look upwards from the working directory
    std::string builtin;    // --builtin; empty: the library knows where
    bool quiet = false;
};

// What the command line asks for; set while it is parsed, run afterwards.
using Action = std::function<ExitCode()>;

// Each adds one command to the program. `options` and `action` must outlive the action.
void AddScanCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddDepsCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddRdepsCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddExportCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddMissingCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddExplainCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddRenameCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddUndoCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddRmCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddWatchCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddCheckCommand(CLI::App& app, const GlobalOptions& options, Action& action);
void AddLuaCommand(CLI::App& app, const GlobalOptions& options, Action& action);

}  // namespace vxdep
