#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vexa/common/KnownFiles.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/scanner/ReadAhead.h"

// What one scan knows beyond the buckets, which keep the files of every scan.
struct ScanWalk {
    // A file that this walk met, by its place in a bucket (buckets grow, so no pointer would do).
    struct Met {
        std::vector<FileInfoData>* bucket;
        std::size_t index;

        FileInfoData& Get() const { return (*bucket)[index]; }
    };

    std::int64_t startMs = 0;
    std::int32_t step = 0;       // a tenth of the file count
    std::int32_t threshold = 0;  // files after which the next progress line is due
    std::int32_t processed = 0;
    bool walked = false;  // the walk met everything that can be met
    std::vector<Met> met;
    vexa::KnownFiles known;
    std::uint64_t renames = 0;  // made by this process before the walk
    std::unique_ptr<ReadAhead> ahead;
    std::vector<std::string> unreadable;  // folders that could not be listed, as keys
    std::vector<std::string> vanished;    // keys that the catalogue knows and the walk did not meet
    std::vector<std::string> changed;   // keys that are new or changed, when the catalogue knew any
    std::vector<std::string> affected;  // keys of files whose lists those may have changed
    bool newFiles = false;              // the walk met files that the catalogue did not know
    ScanStatistics statistics;
};

// Compares what a walk met with the catalogue: marks each record as changed or not, lists the files
// that vanished (those below folders that could not be listed are not counted as such), and adds up
// the catalogue's figures.
void CompareWithCatalogue(ScanWalk& walk);

// Has files (keys) read by this scan though they have not changed. Those that the walk did not meet
// are passed over; the catalogue must have known some files.
void MarkForReading(ScanWalk& walk, const std::vector<std::string>& keys);

// Adds up the figures that the catalogue keeps of all files.
void SumCatalogue(ScanStatistics& statistics);
