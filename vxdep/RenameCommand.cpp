#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <unordered_set>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdep/FilesByName.h"
#include "vxdep/FindResource.h"
#include "vxdep/Json.h"
#include "vxdep/PathArgument.h"
#include "vxdep/Place.h"
#include "vxdep/Platform.h"
#include "vxdep/ProgressBar.h"
#include "vxdep/Project.h"
#include "vxdep/ScanRun.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/rename/RenamePlan.h"

namespace vxdep {

namespace {

using vexa::RenamePlan;

struct Request {
    std::string source;
    std::string destination;
    bool dryRun = false;
    bool json = false;
};

std::string LossText(const RenamePlan::Loss& loss) {
    const std::string place = loss.line == 0 ? loss.file : PlaceText(loss.file, loss.line, 0);
    const std::string text = loss.text.empty() ? "" : fmt::format(" \"{}\"", loss.text);
    const std::string becomes =
        loss.expected == loss.resource ? "" : fmt::format(" becomes {}", loss.expected);
    return fmt::format("{}: not {}:{} ({}{}): {}", place, loss.unkept ? "kept" : "rewritten", text,
                       loss.resource, becomes, loss.reason);
}

// A text that is not rewritten goes on naming what is not there any more: that was told.
bool IsKeptText(const RenamePlan& plan, const RenamePlan::Gain& gain) {
    return std::ranges::any_of(plan.notRewritten, [&gain](const RenamePlan::Loss& loss) {
        return loss.file == gain.file && loss.resource == gain.resource;
    });
}

void PrintText(const RenamePlan& plan, bool dryRun) {
    Output output;
    for (const RenamePlan::Move& move : plan.moves)
        output.Line(fmt::format("{} -> {}", move.from, move.to));
    std::unordered_set<std::string_view> files;
    for (const RenamePlan::Edit& edit : plan.edits) {
        files.insert(edit.file);
        if (!dryRun) continue;
        const std::string place = edit.line == 0 ? edit.file : PlaceText(edit.file, edit.line, 0);
        output.Line(
            fmt::format("{}: {}: \"{}\" -> \"{}\"", place, edit.rule, edit.oldText, edit.newText));
    }
    for (const RenamePlan::Loss& loss : plan.notRewritten) {
        dryRun ? output.Line(LossText(loss)) : Console::Instance().Warning(LossText(loss));
    }
    for (const RenamePlan::Gain& gain : plan.appearing) {
        if (IsKeptText(plan, gain)) continue;
        const std::string text = gain.file + ": will refer to " + gain.resource;
        dryRun ? output.Line(text) : Console::Instance().Note(text);
    }
    output.Finish();
    Console::Instance().Note(fmt::format("{} {} in {} {} {}rewritten", plan.edits.size(),
                                         plan.edits.size() == 1 ? "reference" : "references",
                                         files.size(), files.size() == 1 ? "file" : "files",
                                         dryRun ? "would be " : ""));
}

template <class List, class Write>
void WriteList(JsonWriter& writer, const char* name, const List& list, const Write& write) {
    writer.Key(name);
    writer.StartArray();
    for (const auto& entry : list) {
        writer.StartObject();
        write(entry);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteLine(JsonWriter& writer, std::size_t line) {
    writer.Key("line");
    writer.Uint64(line);
}

void PrintJson(const RenamePlan& plan) {
    Output output;
    JsonWriter writer(output);
    writer.StartObject();
    WriteList(writer, "moves", plan.moves, [&](const RenamePlan::Move& move) {
        WriteMember(writer, "from", move.from);
        WriteMember(writer, "to", move.to);
    });
    WriteList(writer, "edits", plan.edits, [&](const RenamePlan::Edit& edit) {
        WriteMember(writer, "file", edit.file);
        WriteLine(writer, edit.line);
        WriteMember(writer, "rule", edit.rule);
        WriteMember(writer, "old", edit.oldText);
        WriteMember(writer, "new", edit.newText);
    });
    WriteList(writer, "notRewritten", plan.notRewritten, [&](const RenamePlan::Loss& loss) {
        WriteMember(writer, "file", loss.file);
        WriteLine(writer, loss.line);
        WriteMember(writer, "text", loss.text);
        WriteMember(writer, "resource", loss.resource);
        WriteMember(writer, "expected", loss.expected);
        WriteMember(writer, "reason", loss.reason);
    });
    WriteList(writer, "appearing", plan.appearing, [&](const RenamePlan::Gain& gain) {
        WriteMember(writer, "file", gain.file);
        WriteMember(writer, "resource", gain.resource);
    });
    WriteText(writer, "problems");
    WriteArray(writer, plan.problems);
    writer.EndObject();
    output.Put('\n');
    output.Finish();
}

// As mv does: into a folder that is there.
std::string Destination(const std::string& source, const std::string& key) {
    if (!IsFolder(key) || key == source) return key;
    return (key.empty() ? "" : key + "/") + std::string(NameOfKey(source));
}

// A reference that was written since the last scan must not be missed.
void BringUpToDate() {
    const ScanStatistics statistics = RunScan();
    vexa::FlushLog();
    RequireComplete(statistics);
    if (statistics.failed == 0 && statistics.unreadableFolders == 0) return;
    Console::Instance().Warning(
        fmt::format("{} files and {} folders cannot be read: what they refer to is not known, and "
                    "not rewritten (\"vxdep check\" names them)",
                    statistics.failed, statistics.unreadableFolders));
}

bool Run(const std::string& source, const std::string& destination, bool dryRun, RenamePlan& plan) {
    ProgressBar bar;
    vexa::RenameOptions options;
    options.dryRun = dryRun;
    options.progress = [&bar](std::size_t done, std::size_t total) {
        bar.Show(static_cast<int>(done * 100 / total),
                 fmt::format("{} of {} files concerned", done, total));
        return !WasInterrupted();
    };
    return Project::Manager().MoveResource(source, destination, options, plan);
}

ExitCode Rename(const GlobalOptions& options, const Request& request) {
    const Project project(options);
    const std::string target = KeyOfNewPath(request.destination, project.Resources());
    const std::string source = OpenAndFind(project, request.source);
    const bool intoFolder = request.destination.ends_with('/');
    if (intoFolder && !IsFolder(target))
        throw Failure(request.destination + ": there is no such folder");
    BringUpToDate();
    RenamePlan plan;
    const bool done = Run(source, Destination(source, target), request.dryRun, plan);
    vexa::FlushLog();
    if (request.json) {
        PrintJson(plan);
    } else if (done) {
        PrintText(plan, request.dryRun);
    }
    for (const std::string& problem : plan.problems) Console::Instance().Error(problem);
    if (!done) Console::Instance().Error("nothing was changed");
    return done ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

void AddRenameCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "rename", "Move or rename a file or a folder, and rewrite every reference to it");
    const auto request = std::make_shared<Request>();
    command->add_option("OLD", request->source, "File or folder")->required();
    command
        ->add_option("NEW", request->destination,
                     "Its new path; a folder that is there: OLD goes into it")
        ->required();
    command->add_flag("-n,--dry-run", request->dryRun,
                      "Show what would change, and change nothing");
    command->add_flag("--json", request->json, "Print the plan as a JSON object");
    command->footer(
        "The store is brought up to date first. A file takes its \".vxmeta\" along, and the files\n"
        "that are bound to it; of the files that refer to it just the references change, in the "
        "form\n"
        "that they have. Either everything happens or nothing: when a file cannot be written, or "
        "the\n"
        "new path exists, the reasons are told and nothing is changed. What is not rewritten, such "
        "as\n"
        "#include in shader sources, is listed; try it with --dry-run.\n"
        "\"vxdep undo\" takes it back. A rename that is interrupted is finished or taken back by "
        "the\n"
        "next vxdep.");
    command->callback([&options, &action, request] {
        action = [&options, request] { return Rename(options, *request); };
    });
}

}  // namespace vxdep
