#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace vexa::vxio {

class ChangeQueue;

// A way to learn what happens below some directories. All operations but Wake are called by one
// thread at a time.
class IWatchBackend {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~IWatchBackend() = default;

    // Begins to follow a directory; from its return on every change is seen. "" or, for a person,
    // why that cannot be.
    virtual std::string Arm(const std::string& directory) = 0;

    // Puts into the queue what has happened, waiting for something at most as long as `patience`.
    // With `everything` it does not wait, and looks at all that had happened before the call.
    virtual void Collect(std::chrono::milliseconds patience, bool everything) = 0;

    // Whether all that was seen before a moment is in the queue, nothing held back.
    virtual bool IsSettled(Clock::time_point before) const = 0;

    // Why it cannot go on, for a person; "" as long as it can.
    virtual const std::string& Failure() const = 0;

    // Ends a wait of Collect. Any thread may call.
    virtual void Wake() = 0;
};

// Null, with `error` set, when the system notifies of nothing.
std::unique_ptr<IWatchBackend> MakeNotificationBackend(ChangeQueue& queue, std::string& error);
std::unique_ptr<IWatchBackend> MakePollingBackend(ChangeQueue& queue);

}  // namespace vexa::vxio
