#include "vexa/io/FileSystemWatcher.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "vexa/common/Log.h"
#include "vexa/io/ChangeQueue.h"
#include "vexa/io/WatchBackend.h"
#include "vexa/threading/ThreadName.h"

namespace vexa::vxio {

namespace {

using Clock = IWatchBackend::Clock;

// How long the collecting thread waits when nothing happens.
constexpr std::chrono::milliseconds kRound(100);
// After an unexpected error, so that it does not fill the log.
constexpr std::chrono::seconds kAfterError(1);

}  // namespace

struct FileSystemWatcher::State {
    std::vector<std::string> directories;
    Backend wanted = Backend::Automatic;
    std::atomic<Backend> inUse{Backend::Automatic};
    std::atomic<bool> armed{false};
    ChangeQueue queue;
    std::thread collector;

    std::mutex guard;  // all that follows
    std::condition_variable changed;
    std::unique_ptr<IWatchBackend> backend;  // replaced by the collector alone
    bool stopping = false;
    std::uint64_t asked = 0;     // calls of CatchUp so far
    std::uint64_t caughtUp = 0;  // those for which everything is in the queue

    std::string ArmWith(std::unique_ptr<IWatchBackend> made);
    bool ArmNotifications();
    bool ArmPolling();
    void Run();
    void Round(std::uint64_t& begun, Clock::time_point& begunAt);
    void PollInstead();
};

FileSystemWatcher::FileSystemWatcher() : m_state(std::make_unique<State>()) {}

FileSystemWatcher::~FileSystemWatcher() {
    if (!m_state->collector.joinable()) return;
    {
        const std::lock_guard lock(m_state->guard);
        m_state->stopping = true;
        m_state->backend->Wake();
    }
    m_state->collector.join();
}

void FileSystemWatcher::WatchDirectory(const std::string& directory) {
    m_state->directories.push_back(directory);
}

const std::vector<std::string>& FileSystemWatcher::Directories() const {
    return m_state->directories;
}

void FileSystemWatcher::UseBackend(Backend backend) {
    m_state->wanted = backend;
}

bool FileSystemWatcher::IsArmed() const {
    return m_state->armed;
}

FileSystemWatcher::Backend FileSystemWatcher::BackendInUse() const {
    return m_state->inUse;
}

bool FileSystemWatcher::Arm() {
    State& state = *m_state;
    if (state.armed) return true;
    const bool armed = (state.wanted != Backend::Polling && state.ArmNotifications()) ||
                       (state.wanted != Backend::Notifications && state.ArmPolling());
    if (!armed) return false;
    state.armed = true;
    state.collector = std::thread([&state] { state.Run(); });
    return true;
}

// "" or why a directory cannot be watched.
std::string FileSystemWatcher::State::ArmWith(std::unique_ptr<IWatchBackend> made) {
    for (const std::string& directory : directories) {
        const std::string error = made->Arm(directory);
        if (!error.empty()) return error;
    }
    const std::lock_guard lock(guard);
    backend = std::move(made);
    return "";
}

bool FileSystemWatcher::State::ArmNotifications() {
    std::string error;
    std::unique_ptr<IWatchBackend> made = MakeNotificationBackend(queue, error);
    if (made) error = ArmWith(std::move(made));
    inUse = Backend::Notifications;
    if (error.empty()) return true;
    if (wanted == Backend::Notifications) {
        LogError("Changes on disk are not followed: %s", error.c_str());
    } else {
        LogWarning("The tree is walked again and again instead of waiting for notifications: %s",
                   error.c_str());
    }
    return false;
}

bool FileSystemWatcher::State::ArmPolling() {
    const std::string error = ArmWith(MakePollingBackend(queue));
    inUse = Backend::Polling;
    if (error.empty()) return true;
    LogError("Changes on disk are not followed: %s", error.c_str());
    return false;
}

void FileSystemWatcher::State::Run() {
    SetThreadName("FileWatcher");
    std::uint64_t begun = 0;
    Clock::time_point begunAt;
    while (true) {
        try {
            Round(begun, begunAt);
        } catch (const std::exception& error) {
            LogError("Changes on disk could not be collected: %s", error.what());
            queue.Lose(error.what());
            std::unique_lock lock(guard);
            changed.wait_for(lock, kAfterError, [this] { return stopping; });
        }
        const std::lock_guard lock(guard);
        if (stopping) return;
    }
}

// Collects once. `begun` is the last call of CatchUp for which everything was looked at, and
// `begunAt` a moment after that.
void FileSystemWatcher::State::Round(std::uint64_t& begun, Clock::time_point& begunAt) {
    std::uint64_t wantedNow = 0;
    bool waitedFor = false;
    {
        const std::lock_guard lock(guard);
        wantedNow = asked;
        waitedFor = asked != caughtUp;
    }
    const bool everything = wantedNow != begun;
    backend->Collect(waitedFor ? kRound / 10 : kRound, everything);
    if (!backend->Failure().empty()) PollInstead();
    if (everything) {
        begun = wantedNow;
        begunAt = Clock::now();
    }
    if (!waitedFor || !backend->IsSettled(begunAt)) return;
    queue.Release();
    const std::lock_guard lock(guard);
    caughtUp = begun;
    changed.notify_all();
}

void FileSystemWatcher::State::PollInstead() {
    const std::string reason = backend->Failure();
    LogError("%s; from now on the tree is walked again and again instead", reason.c_str());
    if (!ArmPolling()) throw std::runtime_error(reason);
    queue.Lose(reason);
}

void FileSystemWatcher::ReadChanges(std::vector<DirectoryChangeParam>& changes) {
    m_state->queue.Take(changes);
}

std::string FileSystemWatcher::TakeLoss() {
    return m_state->queue.TakeLoss();
}

bool FileSystemWatcher::CatchUp(std::chrono::milliseconds timeout) {
    if (!m_state->armed) return false;
    std::unique_lock lock(m_state->guard);
    const std::uint64_t mine = ++m_state->asked;
    m_state->backend->Wake();
    return m_state->changed.wait_for(lock, timeout,
                                     [this, mine] { return m_state->caughtUp >= mine; });
}

}  // namespace vexa::vxio
