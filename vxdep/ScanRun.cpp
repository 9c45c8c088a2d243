#include "vxdep/ScanRun.h"

#include <fmt/format.h>

#include "vexa/threading/CommandQueue.h"
#include "vxdep/Failure.h"
#include "vxdep/Platform.h"
#include "vxdep/ProgressBar.h"
#include "vxdep/Project.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vxdep {

using vexa::CDependencyManager;

namespace {

std::string ProgressDetail(int percent, const ScanStatistics& statistics) {
    if (statistics.files == 0) return "looking for files";
    return fmt::format("{} files, {} read{}", statistics.files, statistics.regenerated,
                       percent == 100 ? ", storing" : "");
}

}  // namespace

ScanStatistics RunScan() {
    CDependencyManager& manager = Project::Manager();
    bool ended = false;
    const auto token =
        manager.Connect<CDependencyManager::ScanFinished>([&ended] { ended = true; });
    CatchInterrupts();
    ProgressBar bar;
    manager.BeginScan();
    while (!ended) {
        vexa::vxThread<0>::Handle.wait_and_run(std::chrono::milliseconds(100));
        if (WasInterrupted()) manager.PauseScan();
        const int percent = manager.GetScanProgress();
        bar.Show(percent, ProgressDetail(percent, manager.GetScanner()->GetStatistics()));
    }
    manager.Disconnect<CDependencyManager::ScanFinished>(token);
    return manager.GetScanner()->GetStatistics();
}

void RequireComplete(const ScanStatistics& statistics) {
    if (statistics.complete) return;
    if (!statistics.error.empty()) {
        throw Failure("the scan was not completed: " + statistics.error);
    }
    throw Failure(fmt::format("interrupted: the {} files read so far are kept; run again to go on",
                              statistics.regenerated));
}

}  // namespace vxdep
