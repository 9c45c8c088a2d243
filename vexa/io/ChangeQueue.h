#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "vexa/io/FileSystemWatcher.h"

namespace vexa::vxio {

// An entry below a watched directory.
struct WatchedPlace {
    std::string directory;
    std::string name;  // relative to the directory, "\" between segments; "" is the directory

    WatchedPlace Below(const std::string& entry) const {
        return {directory, name.empty() ? entry : name + "\\" + entry};
    }
    // As the system takes it.
    std::string Path() const;

    friend bool operator==(const WatchedPlace&, const WatchedPlace&) = default;
};

// The changes that nobody has read yet, merged as far as no reader can tell. Any thread may call.
class ChangeQueue {
public:
    using Clock = std::chrono::steady_clock;

    // Renames are held back for so long, with what follows them.
    static constexpr std::chrono::milliseconds kHoldRenames{200};
    // What nobody reads is given up when it has grown so long.
    static constexpr std::size_t kLimit = 1'000'000;

    // `action` is Added, Removed or Modified.
    void Push(std::int32_t action, const WatchedPlace& place);
    void PushRename(const WatchedPlace& from, const WatchedPlace& to,
                    Clock::time_point now = Clock::now());
    // Says that changes may be missing. Of several reasons the first is kept.
    void Lose(const std::string& reason);

    // Holds nothing back any more of what waits now.
    void Release();
    void Take(std::vector<DirectoryChangeParam>& out, Clock::time_point now = Clock::now());
    std::string TakeLoss();

private:
    struct Waiting {
        std::int32_t action;
        WatchedPlace place;
        Clock::time_point due;  // not to be read before
    };

    void Append(std::int32_t action, const WatchedPlace& place, Clock::time_point due);
    bool JoinRenames(const WatchedPlace& from, const WatchedPlace& to);
    void LoseWithGuard(const std::string& reason);

    std::mutex m_guard;
    std::deque<Waiting> m_waiting;
    // The paths that were told to be there, with no removal or rename after that.
    std::unordered_set<std::string> m_told;
    std::string m_loss;
};

}  // namespace vexa::vxio
