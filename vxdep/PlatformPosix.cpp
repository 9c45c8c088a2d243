#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

#include "vxdep/Platform.h"

namespace vxdep {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void Interrupt(int) {
    g_interrupted = 1;
}

}  // namespace

void PrepareStandardStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1) continue;
        // Opened against its direction, so that using it still fails.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", flags) == -1) std::abort();
    }
}

bool ReaderOfStandardOutputIsGone() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

bool StandardErrorIsTerminal() {
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) && terminal && std::string_view(terminal) != "dumb";
}

int TerminalWidth() {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

void CatchInterrupts() {
    for (const int number : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = Interrupt;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        sigaction(number, &action, nullptr);
    }
}

bool WasInterrupted() {
    return g_interrupted != 0;
}

}  // namespace vxdep
