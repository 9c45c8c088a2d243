#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vexa/threading/CommandQueue.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdep/Json.h"
#include "vxdep/Platform.h"
#include "vxdep/ProgressBar.h"
#include "vxdep/Project.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

namespace {

using vexa::CDependencyManager;

std::string ProgressDetail(const ScanStatistics& statistics) {
    if (statistics.files == 0) return "looking for files";
    return fmt::format("{} files, {} read", statistics.files, statistics.regenerated);
}

// Runs one scan to its end, or to the first request to stop.
ScanStatistics RunScan(CDependencyManager& manager) {
    bool ended = false;
    const auto token =
        manager.Connect<CDependencyManager::ScanFinished>([&ended] { ended = true; });
    CatchInterrupts();
    ProgressBar bar;
    manager.BeginScan();
    while (!ended) {
        vexa::vxThread<0>::Handle.wait_and_run(std::chrono::milliseconds(100));
        if (WasInterrupted()) manager.PauseScan();
        bar.Show(manager.GetScanProgress(), ProgressDetail(manager.GetScanner()->GetStatistics()));
    }
    manager.Disconnect<CDependencyManager::ScanFinished>(token);
    return manager.GetScanner()->GetStatistics();
}

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

void RequireComplete(const ScanStatistics& statistics) {
    if (statistics.complete) return;
    if (!statistics.error.empty()) {
        throw Failure("the scan was not completed: " + statistics.error);
    }
    throw Failure(fmt::format("interrupted: the {} files read so far are kept; run again to go on",
                              statistics.regenerated));
}

ExitCode Scan(const GlobalOptions& options, bool json) {
    const Project project(options);
    project.Open();
    project.LoadGenerators();
    const ScanStatistics statistics = RunScan(Project::Manager());
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
