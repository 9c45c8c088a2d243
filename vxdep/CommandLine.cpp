#include "vxdep/CommandLine.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Output.h"

namespace vxdep {

namespace {

constexpr char kIntroduction[] =
    "vxdep tells which resource of a project refers to which.\n"
    "\n"
    "A project is a folder that holds res/, with the resources; what was found in them is kept in\n"
    "temp/gen_dep. Scan once, then ask; a later scan reads only what has changed.";

constexpr char kExamples[] =
    "Examples:\n"
    "  vxdep scan                             read what is new or has changed\n"
    "  vxdep rdeps textures/stone.tga         who uses this texture?\n"
    "  vxdep rdeps textures/old               who uses anything in this folder?\n"
    "  vxdep deps --all levels/harbour.scn    what does this level pull in?\n"
    "  vxdep missing                          which references lead to nothing?\n"
    "  vxdep explain levels/harbour.scn       where does each reference come from?\n"
    "  vxdep rename -n textures/a.tga old     what would moving this file change?\n"
    "  vxdep rename textures/a.tga old        move it, and rewrite what refers to it\n"
    "  vxdep undo                             take that back\n"
    "  vxdep export > graph.json              the whole graph, for other tools\n"
    "  vxdep watch                            stay in step with the files\n"
    "  vxdep check                            does the store match the files?\n"
    "  vxdep lua report.lua 10                run a script, with arguments of its own\n"
    "\n"
    "Answers go to standard output, one path a line, relative to res/ and sorted by byte; all "
    "else\n"
    "goes to standard error. In JSON a byte 0xNN of a path that is not UTF-8 is written as "
    "\\udcNN.\n"
    "\n"
    "Exit status: 0 done; 1 it could not be done, or \"check\" or \"missing\" found something; 2 "
    "wrong "
    "usage.\n"
    "\"vxdep COMMAND --help\" tells more of each command.";

void AddGlobalOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option("-C", options.directory,
                   "Project folder (default: the nearest folder upwards that holds res/)")
        ->type_name("DIR");
    app.add_option("--builtin", options.builtin,
                   "Built-in package (default: DIR/builtin, else the installed one)")
        ->type_name("DIR");
    app.add_flag("-q,--quiet", options.quiet, "Say nothing on standard error but errors");
    app.set_version_flag("--version", "vxdep " VXDEP_VERSION);
    app.require_subcommand(1);
    // So that a global option is also understood after the command.
    app.fallthrough();
    app.footer(kExamples);
}

// Help and version are answers; anything else that ends the parsing is wrong usage.
ExitCode AnswerParser(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream message;
    if (app.exit(error, out, message) != 0) {
        Console::Instance().Error(
            message.str().substr(0, message.str().find_last_not_of('\n') + 1));
        return ExitCode::WrongUsage;
    }
    Output output;
    output.Write(out.str());
    output.Finish();
    return ExitCode::Done;
}

}  // namespace

ExitCode RunCommandLine(int argc, char** argv) {
    CLI::App app(kIntroduction, "vxdep");
    GlobalOptions options;
    Action action;
    AddGlobalOptions(app, options);
    AddScanCommand(app, options, action);
    AddDepsCommand(app, options, action);
    AddRdepsCommand(app, options, action);
    AddMissingCommand(app, options, action);
    AddExplainCommand(app, options, action);
    AddExportCommand(app, options, action);
    AddRenameCommand(app, options, action);
    AddUndoCommand(app, options, action);
    AddRmCommand(app, options, action);
    AddWatchCommand(app, options, action);
    AddCheckCommand(app, options, action);
    AddLuaCommand(app, options, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return AnswerParser(app, error);
    }
    Console::Instance().SetQuiet(options.quiet);
    return action();
}

}  // namespace vxdep
