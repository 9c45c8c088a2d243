#pragma once

#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

// Runs one scan of the open project to its end, or to the first request to stop, with a progress
// bar.
ScanStatistics RunScan();

// Throws Failure when a scan did not go through every file.
void RequireComplete(const ScanStatistics& statistics);

}  // namespace vxdep
