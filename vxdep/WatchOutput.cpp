#include "vxdep/WatchOutput.h"

#include <fmt/format.h>

#include "vxdep/Console.h"
#include "vxdep/Json.h"

namespace vxdep {

namespace {

constexpr std::chrono::seconds kRepeat(5);
constexpr std::chrono::minutes kStalled(1);

const char* NameOf(AppliedChange::Kind kind) {
    static const char* const kNames[] = {"added", "removed", "modified", "moved"};
    return kNames[static_cast<int>(kind)];
}

// A scan gives no pulse of its own.
const char* NameOf(FollowState state, std::int64_t beat) {
    static const char* const kNames[] = {"idle", "paused", "scanning", "rescanning", "watching"};
    const auto age =
        std::chrono::system_clock::now().time_since_epoch() - std::chrono::milliseconds(beat);
    const bool stalled = state == FollowState::Watching && beat != 0 && age > kStalled;
    return stalled ? "stalled" : kNames[static_cast<int>(state)];
}

std::string AsText(const AppliedChange& change) {
    const std::string from = change.oldPath.empty() ? "" : change.oldPath + " -> ";
    return fmt::format("{:<9}{}{}  {}", NameOf(change.kind), from, change.path, change.references);
}

std::string AsJson(const AppliedChange& change) {
    const std::string from = change.oldPath.empty() ? "" : ",\"from\":" + JsonText(change.oldPath);
    return fmt::format(R"({{"change":"{}","path":{}{},"references":{}}})", NameOf(change.kind),
                       JsonText(change.path), from, change.references);
}

}  // namespace

void WatchOutput::Change(const AppliedChange& change) {
    Print(m_json ? AsJson(change) : AsText(change));
}

void WatchOutput::InStep(const std::string& text) {
    Print(m_json ? "{\"inStep\":" + JsonText(text) + "}" : text);
}

void WatchOutput::Heartbeat(FollowState state, int progress, std::int64_t beat) {
    const auto now = std::chrono::steady_clock::now();
    const std::string name = NameOf(state, beat);
    const bool isNew = name != m_state;
    if (!isNew && (!m_json || now < m_told + kRepeat)) return;
    m_state = name;
    m_told = now;
    if (m_json) {
        Print(fmt::format(R"({{"state":"{}","progress":{},"beat":{}}})", name, progress, beat));
    } else {
        Console::Instance().Note(name);
    }
}

void WatchOutput::End() {
    if (m_json && HasReader()) Print(R"({"state":"ended"})");
}

// Whoever reads a pipe gets each line when it is printed.
void WatchOutput::Print(const std::string& line) {
    m_output.Line(line);
    m_output.Finish();
}

}  // namespace vxdep
