#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <thread>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/threading/CommandQueue.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdep/Platform.h"
#include "vxdep/Project.h"
#include "vxdep/WatchOutput.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/AppliedChange.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

namespace {

using Queue = vexa::vxThread<0>;
using vexa::vxio::FileSystemWatcher;

struct WatchOptions {
    bool json = false;
    bool poll = false;
    bool sync = false;
};

// What a watcher that lost its reader, or whose process ends, must not touch any more.
using SharedOutput = std::shared_ptr<WatchOutput>;

// Answers each line of standard input with itself, once the store knows everything that happened
// before it was read.
void AnswerLines(DependencyScanner& scanner, const SharedOutput& output) {
    for (std::string line; std::getline(std::cin, line);) {
        while (!scanner.WaitUntilCaughtUp(std::chrono::minutes(1))) {
        }
        Queue::Handle.post([output, line] { output->InStep(line); });
    }
}

void Follow(DependencyScanner& scanner, const WatchOptions& options, const SharedOutput& output) {
    if (options.poll) scanner.Watcher().UseBackend(FileSystemWatcher::Backend::Polling);
    // Printed by the main thread, so that a slow reader does not hold up the loop.
    scanner.RegisterChangeFunction([output](const AppliedChange& change) {
        Queue::Handle.post([output, change] { output->Change(change); });
    });
    scanner.Monitor();
    if (!scanner.IsMonitoring()) throw Failure("the changes of the tree cannot be followed");
    scanner.Exec();
    if (options.sync) std::thread([&scanner, output] { AnswerLines(scanner, output); }).detach();
}

ExitCode Watch(const GlobalOptions& global, const WatchOptions& options) {
    const Project project(global);
    project.Open();
    project.LoadGenerators();
    CatchInterrupts();
    DependencyScanner& scanner = *Project::Manager().GetScanner();
    const auto output = std::make_shared<WatchOutput>(options.json);
    Follow(scanner, options, output);
    while (!WasInterrupted() && output->HasReader()) {
        Queue::Handle.wait_and_run(std::chrono::milliseconds(100));
        output->Heartbeat(scanner.GetFollowState(), scanner.GetScanProgress(),
                          vexa::InterfaceBox::Instance().GetHeartbeat()->Last());
    }
    scanner.Pause();
    vexa::FlushLog();
    output->End();
    return ExitCode::Done;
}

}  // namespace

void AddWatchCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "watch", "Scan, then keep the store in step with the files until interrupted");
    const auto own = std::make_shared<WatchOptions>();
    command->add_flag("--json", own->json, "Print each change and each state as a JSON object");
    command->add_flag("--poll", own->poll,
                      "Walk the tree again and again, where the file system notifies of nothing");
    command->add_flag("--sync", own->sync,
                      "Answer each line of standard input with itself, once everything that\n"
                      "happened before is in the store");
    command->footer(
        "Prints each change that the store has taken over: added, removed, modified or moved, the\n"
        "path, and how many references the file holds. When a file or a folder is moved, the "
        "files\n"
        "that refer to it are rewritten. Ctrl-C stops; what was done is kept.");
    command->callback(
        [&options, &action, own] { action = [&options, own] { return Watch(options, *own); }; });
}

}  // namespace vxdep
