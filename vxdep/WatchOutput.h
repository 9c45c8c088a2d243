#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "vxdep/Output.h"
#include "vxdependency/scanner/AppliedChange.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

// What `vxdep watch` prints: a line for each event, sent at once. Changes go to standard output;
// the state too with JSON, else to standard error. For one thread.
class WatchOutput {
public:
    explicit WatchOutput(bool json) : m_json(json) {}

    void Change(const AppliedChange& change);
    // Says that the store knows all that happened before `text` was asked.
    void InStep(const std::string& text);
    // Tells the state when it is another than before, and with JSON every few seconds. `beat` is
    // the loop's last pulse, in milliseconds since 1970-01-01 UTC; a loop that has given none for
    // long counts as stalled.
    void Heartbeat(FollowState state, int progress, std::int64_t beat);
    void End();

    bool HasReader() const { return m_output.HasReader(); }

private:
    void Print(const std::string& line);

    const bool m_json;
    Output m_output;
    std::string m_state;
    std::chrono::steady_clock::time_point m_told;
};

}  // namespace vxdep
