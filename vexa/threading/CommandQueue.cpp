#include "vexa/threading/CommandQueue.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include "vexa/common/Log.h"

namespace vexa {
namespace {

using Command = std::function<void()>;

void RunCommand(const Command& command) {
    try {
        command();
    } catch (const std::exception& error) {
        LogError("A posted command failed: %s", error.what());
    } catch (...) {
        LogError("A posted command failed: unknown exception");
    }
}

}  // namespace

struct CommandQueue::State {
    std::mutex mutex;
    std::condition_variable posted;
    std::deque<Command> waiting;
    std::uint64_t taken = 0;  // commands ever taken out

    // The command to run next, if it is before the `end`-th ever posted.
    bool Take(std::uint64_t end, Command& command) {
        std::lock_guard lock(mutex);
        if (waiting.empty() || taken >= end) return false;
        command = std::move(waiting.front());
        waiting.pop_front();
        ++taken;
        return true;
    }

    std::uint64_t End() {
        std::lock_guard lock(mutex);
        return taken + waiting.size();
    }
};

CommandQueue::CommandQueue() : m_state(new State) {}

void CommandQueue::post(Command command) {
    std::lock_guard lock(m_state->mutex);
    m_state->waiting.push_back(std::move(command));
    m_state->posted.notify_one();
}

// Counting instead of swapping the queue out keeps the order when a command runs the queue itself.
std::size_t CommandQueue::run_pending() {
    const std::uint64_t end = m_state->End();
    std::size_t count = 0;
    for (Command command; m_state->Take(end, command); command = nullptr, ++count)
        RunCommand(command);
    return count;
}

std::size_t CommandQueue::wait_and_run(std::chrono::milliseconds timeout) {
    {
        std::unique_lock lock(m_state->mutex);
        m_state->posted.wait_for(lock, timeout, [this] { return !m_state->waiting.empty(); });
    }
    return run_pending();
}

CommandQueue& CommandQueueOfThread(int thread) {
    static std::mutex& mutex = *new std::mutex;
    static auto& queues = *new std::map<int, CommandQueue*>;
    std::lock_guard lock(mutex);
    CommandQueue*& queue = queues[thread];
    if (!queue) queue = new CommandQueue;
    return *queue;
}

}  // namespace vexa
