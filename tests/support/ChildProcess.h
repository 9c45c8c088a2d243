#pragma once

#include <signal.h>
#include <sys/prctl.h>
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
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Send() const {
        const char byte = 1;
        [[maybe_unused]] const ssize_t sent = ::write(m_ends[1], &byte, 1);
    }
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

}  // namespace vexa::test
