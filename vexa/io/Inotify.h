#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "vexa/os/PosixFile.h"

struct inotify_event;

namespace vexa::vxio {

// The kernel's queue of notifications. All operations but Wake are for one thread at a time.
class Inotify {
public:
    // Null, with `error` set for a person, when the system has none to give.
    static std::unique_ptr<Inotify> Open(std::string& error);

    // Watches a folder, not through a link. Its number, which is that of the watch on the same
    // folder if there is one already; -1 with errno.
    int Add(const std::string& path);
    void Remove(int watch);

    // Waits until there is something to read, Wake was called, or the time is over.
    void Wait(std::chrono::milliseconds patience);
    void Wake();

    // Hands over every event that was in the queue at the time of the call. The number handed over.
    std::size_t Read(const std::function<void(const inotify_event&, std::string_view)>& handle);

private:
    Inotify(int queue, int wake) : m_queue(queue), m_wake(wake) {}
    std::size_t ReadOnce(const std::function<void(const inotify_event&, std::string_view)>& handle,
                         std::size_t& bytes);

    os::Descriptor m_queue;
    os::Descriptor m_wake;
};

}  // namespace vexa::vxio
