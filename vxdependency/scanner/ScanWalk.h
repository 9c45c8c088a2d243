#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vexa/common/KnownFiles.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/scanner/FileTable.h"
#include "vxdependency/scanner/ReadAhead.h"
#include "vxdependency/store/Catalogue.h"

// What one scan knows beyond the buckets, which keep the files of every scan.
struct ScanWalk {
    explicit ScanWalk(FileTable& met) : files(met) {}

    FileTable& files;  // that this walk met
    std::int64_t startMs = 0;
    std::int32_t step = 0;       // a tenth of the file count
    std::int32_t threshold = 0;  // files after which the next progress line is due
    std::int32_t processed = 0;
    bool walked = false;  // the walk met everything that can be met
    vexa::KnownFiles known;
    std::vector<std::string> elsewhere;  // keys of links and folders that were not descended
    std::uint64_t renames = 0;           // made by this process before the walk
    std::unique_ptr<ReadAhead> ahead;
    std::vector<std::string> unreadable;  // folders that could not be listed, as keys
    std::vector<std::string> vanished;    // keys that the catalogue knows and the walk did not meet
    std::vector<std::string> changed;   // keys that are new or changed, when the catalogue knew any
    std::vector<std::string> affected;  // keys of files whose lists those may have changed
    bool isFirst = false;               // the catalogue knew no files
    bool newFiles = false;              // the walk met files that the catalogue did not know
    std::uint64_t inStep = 0;  // the last change of the store, as long as nothing differs from it
    ScanStatistics statistics;
};

// Compares what a walk met with the store: marks each file as changed or not, lists the files that
// vanished (those below folders that could not be listed are not counted as such), and adds up the
// catalogue's figures. Changed is also a file whose time stamp is not its own: somebody asked for a
// new reading, or another file shares the record.
void CompareWithStore(ScanWalk& walk);
// Has the next scan know that the store was in step, if this is the next thing that is written to
// it.
void RememberInStep(const ScanWalk& walk);

// Has files (keys) read by this scan though they have not changed. Those that the walk did not meet
// are passed over.
void MarkForReading(ScanWalk& walk, const std::vector<std::string>& keys);

// Makes `known` tell of what the walk met, unless so few files are to be read that asking the disk
// about what they name costs less.
void KnowFiles(ScanWalk& walk);

// Whether the catalogue's figures have changed otherwise than by single files (ChangeFigures).
bool ChangesCatalogue(const ScanWalk& walk);
// Adds up the figures that the catalogue keeps of all files.
void SumCatalogue(ScanStatistics& statistics);
// Takes over that the catalogue knows something else of a file than before.
void ChangeFigures(ScanStatistics& statistics, const vexa::vxdependency::CatalogueEntry& before,
                   const vexa::vxdependency::CatalogueEntry& after);
