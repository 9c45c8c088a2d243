#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Json.h"
#include "vxdep/Project.h"
#include "vxdep/ScanRun.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

namespace {

void PrintText(const ScanStatistics& statistics) {
    Output output;
    const auto row = [&output](std::string_view name, const auto& value) {
        output.Line(fmt::format("{:<12}{:>10}", name, value));
    };
    row("files", statistics.files);
    row("regenerated", statistics.regenerated);
    row("failed", statistics.failed);
    row("removed", statistics.removed);
    row("references", statistics.references);
    row("seconds", fmt::format("{:.2f}", statistics.seconds));
    output.Finish();
}

void PrintJson(const ScanStatistics& statistics) {
    Output output;
    JsonWriter writer(output);
    const auto member = [&writer](const char* name, std::int64_t value) {
        writer.Key(name);
        writer.Int64(value);
    };
    writer.StartObject();
    member("files", statistics.files);
    member("regenerated", statistics.regenerated);
    member("failed", statistics.failed);
    member("removed", statistics.removed);
    member("references", statistics.references);
    member("referrers", statistics.referrers);
    member("unreadableFolders", statistics.unreadableFolders);
    writer.Key("seconds");
    writer.Double(statistics.seconds);
    writer.EndObject();
    output.Put('\n');
    output.Finish();
}

ExitCode Scan(const GlobalOptions& options, bool json) {
    const Project project(options);
    project.Open();
    project.LoadGenerators();
    const ScanStatistics statistics = RunScan();
    vexa::FlushLog();
    RequireComplete(statistics);
    json ? PrintJson(statistics) : PrintText(statistics);
    if (statistics.unreadableFolders == 0) return ExitCode::Done;
    Console::Instance().Error(fmt::format("{} folders cannot be read; what is below is not covered",
                                          statistics.unreadableFolders));
    return ExitCode::Failed;
}

}  // namespace

void AddScanCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "scan", "Bring the store up to date: read every file that is new or has changed");
    const auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print the summary as a JSON object");
    command->footer(
        "Ctrl-C stops after the file in progress; what was read is kept, and the next scan goes "
        "on\n"
        "from there. Files that cannot be parsed are counted as failed, and do not fail the scan.");
    command->callback(
        [&options, &action, json] { action = [&options, json] { return Scan(options, *json); }; });
}

}  // namespace vxdep
