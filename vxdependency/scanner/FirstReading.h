#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "vexa/common/KnownFiles.h"
#include "vxdependency/scanner/FileTable.h"
#include "vxdependency/store/StoreFill.h"

namespace vexa {
class StepGate;
}

// Reads the files of a walk into the fill that the store has open, on the calling thread and on
// workers of the job system: nobody waits for a file that another thread is at, since the fill puts
// them in order when it is written.
//
// What cannot be taken so is left as it is (FileTable::Change): files whose reading threw, and all
// that was read when a rename came in between.
class FirstReading {
public:
    struct Item {
        std::uint32_t file : 31;
        std::uint32_t isRead : 1;  // its type is; the others are just entered
    };

    // `items` in the order in which they are to be stored. `renames` are those that the process had
    // made before the walk. All but the items must outlive the object.
    FirstReading(FileTable& files, const vexa::KnownFiles& known,
                 vexa::vxdependency::StoreFill& fill, std::vector<Item> items,
                 std::uint64_t renames, vexa::StepGate& gate);
    // Waits for what is being read.
    ~FirstReading();
    FirstReading(const FirstReading&) = delete;
    FirstReading& operator=(const FirstReading&) = delete;

    // Returns when all is read, or `running`, which every thread asks before each file, was false,
    // or `progress` was: this thread calls it every now and then with the number of items that are
    // done. `stored` is called for each file of a type that is read, by any of the threads.
    void Run(const std::function<bool()>& running,
             const std::function<bool(std::int64_t)>& progress,
             const std::function<void(std::string_view)>& stored);

    // Files read so far.
    std::int64_t FilesRead() const;

private:
    struct State;
    std::shared_ptr<State> m_state;
};
