#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
class KnownFiles;
class StepGate;
}  // namespace vexa

// Reads files on workers of the job system ahead of the thread that commits what they hold, so that
// parsing uses the cores that the ordered commit leaves free. The committer asks in its own order
// and reads itself what no worker has begun: it never waits for a worker to become free, and while
// one is at the file that it needs, it reads others.
//
// Used by one thread, the committer. Workers pass the gate before they take a file, so that none
// holds one up when the gate is shut.
class ReadAhead {
public:
    // Both must outlive the object.
    ReadAhead(const vexa::KnownFiles& known, vexa::StepGate& gate);
    // Drops what nobody has begun to read, and waits for what is being read.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // As many files as should be expected beyond the one that is being committed: enough to keep
    // the workers busy while the committer flushes.
    static constexpr std::size_t kWindow = 8192;

    // Says that this file (a key) will be asked for, after those said before.
    void Expect(const std::string& key);

    // What a worker read of the file; null when none has begun to, or the reading threw: the caller
    // then reads it itself. Files are asked for in the order in which they were expected; those in
    // between that are not asked for are dropped. Waits for a worker that is at it.
    std::unique_ptr<vexa::FileReading> Take(const std::string& key);

private:
    struct State;
    std::shared_ptr<State> m_state;
};
