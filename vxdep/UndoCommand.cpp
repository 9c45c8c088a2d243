#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Json.h"
#include "vxdep/Project.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/rename/RenamePlan.h"

namespace vxdep {

namespace {

using vexa::RenamePlan;
using vexa::UndoReport;

struct Request {
    bool dryRun = false;
    bool json = false;
};

void PrintText(const UndoReport& report, bool dryRun) {
    Output output;
    for (const RenamePlan::Move& move : report.moves)
        output.Line(fmt::format("{} -> {}", move.from, move.to));
    for (const std::string& file : report.files) {
        if (dryRun) output.Line(file + ": gets its old contents back");
    }
    output.Finish();
    Console::Instance().Note(fmt::format("{}taken back: {}; {} {} as before",
                                         dryRun ? "to be " : "", report.title, report.files.size(),
                                         report.files.size() == 1 ? "file" : "files"));
}

void PrintJson(const UndoReport& report) {
    Output output;
    JsonWriter writer(output);
    writer.StartObject();
    WriteMember(writer, "rename", report.title);
    writer.Key("moves");
    writer.StartArray();
    for (const RenamePlan::Move& move : report.moves) {
        writer.StartObject();
        WriteMember(writer, "from", move.from);
        WriteMember(writer, "to", move.to);
        writer.EndObject();
    }
    writer.EndArray();
    WriteText(writer, "files");
    WriteArray(writer, report.files);
    WriteText(writer, "problems");
    WriteArray(writer, report.problems);
    writer.EndObject();
    output.Put('\n');
    output.Finish();
}

ExitCode Undo(const GlobalOptions& options, const Request& request) {
    const Project project(options);
    project.Open();
    project.LoadGenerators();
    UndoReport report;
    const bool done = Project::Manager().UndoRename({request.dryRun, {}}, report);
    vexa::FlushLog();
    if (request.json) {
        PrintJson(report);
    } else if (done) {
        PrintText(report, request.dryRun);
    }
    for (const std::string& problem : report.problems) Console::Instance().Error(problem);
    return done ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

void AddUndoCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand("undo", "Take the last rename back");
    const auto request = std::make_shared<Request>();
    command->add_flag("-n,--dry-run", request->dryRun,
                      "Show what would change, and change nothing");
    command->add_flag("--json", request->json, "Print what was done as a JSON object");
    command->footer(
        "Files and references are as they were before. Said again, it takes back the rename "
        "before\n"
        "that, up to 256 of them. When one of the files has changed since, they are named and "
        "nothing\n"
        "is done; a moved file that no rename has rewritten may have changed.");
    command->callback([&options, &action, request] {
        action = [&options, request] { return Undo(options, *request); };
    });
}

}  // namespace vxdep
