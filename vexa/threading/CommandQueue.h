#pragma once

#include <chrono>
#include <functional>

#include "vexa/Export.h"

namespace vexa {

// Commands waiting for one thread. Never destroyed: other threads may post until the process ends.
// post may be called from any thread; the other operations from the thread that owns the queue.
class VX_API CommandQueue {
public:
    // Appends a command; it runs when the owner next runs its queue. Never blocks on the owner.
    void post(std::function<void()> command);

    // Runs the commands that wait now, in order, and returns their number. An exception of a
    // command is logged and does not keep the rest from running.
    std::size_t run_pending();

    // Waits until a command is there or the time is over, then runs what waits.
    std::size_t wait_and_run(std::chrono::milliseconds timeout);

    CommandQueue();

private:
    ~CommandQueue() = default;
    struct State;
    State* m_state;
};

VX_API CommandQueue& CommandQueueOfThread(int thread);

// The engine's numbered threads; number 0 is the editor thread.
template <int Thread>
struct vxThread {
    struct HandleType {
        void post(std::function<void()> command) const {
            CommandQueueOfThread(Thread).post(std::move(command));
        }
        std::size_t run_pending() const { return CommandQueueOfThread(Thread).run_pending(); }
        std::size_t wait_and_run(std::chrono::milliseconds timeout) const {
            return CommandQueueOfThread(Thread).wait_and_run(timeout);
        }
    };
    static constexpr HandleType Handle{};
};

}  // namespace vexa
