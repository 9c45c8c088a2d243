#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <system_error>
#include <utility>

namespace vexa::test {

// One-way messages between processes, a byte each. Made before the fork; both ends stay usable in
// both processes.
class Signal {
public:
    Signal() {
        if (::pipe(m_ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    }
    ~Signal() {
        for (const int end : m_ends) ::close(end);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Send() const { [[maybe_unused]] const ssize_t sent = ::write(m_ends[1], "!", 1); }
    // Waits for `count` messages.
    void Wait(int count = 1) const {
        char byte = 0;
        while (count > 0 && ::read(m_ends[0], &byte, 1) == 1) --count;
    }

private:
    int m_ends[2];
};

// A forked process that runs a function and exits with its result. Of the parent's threads it has
// only the calling one, so the function must not need the log or the job system.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& body) : m_process(::fork()) {
        if (m_process < 0) throw std::system_error(errno, std::generic_category(), "fork");
        if (m_process != 0) return;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::_exit(body());
    }
    ~ChildProcess() { Kill(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const { return m_process; }

    // The exit status, or the negative of the signal that ended it.
    int Wait() {
        int status = 0;
        if (m_process > 0) ::waitpid(std::exchange(m_process, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    // Ends it at once, as a crash would.
    void Kill() {
        if (m_process <= 0) return;
        ::kill(m_process, SIGKILL);
        Wait();
    }

private:
    pid_t m_process;
};

// The result of a function that a child runs without the rights of root, which may do everything.
inline int RunWithoutRights(const std::function<int()>& body) {
    return ChildProcess([&] {
               constexpr uid_t kNobody = 65534;
               return ::geteuid() == 0 && ::setuid(kNobody) != 0 ? 126 : body();
           })
        .Wait();
}

// For its life no file can be written beyond a size, as on a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t size) : m_handler(::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {size, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_handler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_before = {};
    void (*m_handler)(int);
};

}  // namespace vexa::test
