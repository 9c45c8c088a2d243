#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "vexa/io/Inotify.h"

namespace vexa::vxio {

namespace {

// IN_MODIFY is there for truncate(), which closes nothing.
constexpr std::uint32_t kWanted = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY |
                                  IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF |
                                  IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK;

std::string WhyNotOpened(int error) {
    const std::string text = std::string("inotify: ") + std::strerror(error);
    if (error != EMFILE) return text;
    return text + " (raise fs.inotify.max_user_instances, or the limit of open files, ulimit -n)";
}

}  // namespace

std::unique_ptr<Inotify> Inotify::Open(std::string& error) {
    os::Descriptor queue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!queue.IsOpen()) {
        error = WhyNotOpened(errno);
        return nullptr;
    }
    os::Descriptor wake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!wake.IsOpen()) {
        error = WhyNotOpened(errno);
        return nullptr;
    }
    return std::unique_ptr<Inotify>(new Inotify(queue.Detach(), wake.Detach()));
}

int Inotify::Add(const std::string& path) {
    return ::inotify_add_watch(m_queue.Number(), path.c_str(), kWanted);
}

// Fails for a folder that is gone, which has taken its watch along.
void Inotify::Remove(int watch) {
    ::inotify_rm_watch(m_queue.Number(), watch);
}

void Inotify::Wait(std::chrono::milliseconds patience) {
    pollfd files[] = {{m_queue.Number(), POLLIN, 0}, {m_wake.Number(), POLLIN, 0}};
    ::poll(files, 2, static_cast<int>(patience.count()));
    eventfd_t ignored = 0;
    ::eventfd_read(m_wake.Number(), &ignored);
}

void Inotify::Wake() {
    ::eventfd_write(m_wake.Number(), 1);
}

std::size_t Inotify::Read(
    const std::function<void(const inotify_event&, std::string_view)>& handle) {
    int waiting = 0;
    if (::ioctl(m_queue.Number(), FIONREAD, &waiting) != 0) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
    std::size_t events = 0;
    for (std::size_t bytes = 0; bytes < static_cast<std::size_t>(waiting);) {
        const std::size_t read = ReadOnce(handle, bytes);
        if (read == 0) break;
        events += read;
    }
    return events;
}

std::size_t Inotify::ReadOnce(
    const std::function<void(const inotify_event&, std::string_view)>& handle, std::size_t& bytes) {
    alignas(inotify_event) char buffer[65536];
    const ssize_t length = ::read(m_queue.Number(), buffer, sizeof buffer);
    if (length < 0 && errno != EAGAIN && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
    std::size_t events = 0;
    for (ssize_t at = 0; at < length; ++events) {
        const auto& event = *reinterpret_cast<const inotify_event*>(buffer + at);
        const char* const name = buffer + at + sizeof event;
        handle(event, event.len == 0 ? std::string_view() : std::string_view(name));
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    if (length > 0) bytes += static_cast<std::size_t>(length);
    return events;
}

}  // namespace vexa::vxio
