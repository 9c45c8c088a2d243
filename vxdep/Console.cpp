#include "vxdep/Console.h"

#include <cstdio>

#include "vexa/common/Log.h"

namespace vxdep {

Console& Console::Instance() {
    static auto* const console = new Console();
    return *console;
}

void Console::SetQuiet(bool quiet) {
    const std::lock_guard lock(m_guard);
    m_quiet = quiet;
}

bool Console::IsQuiet() const {
    const std::lock_guard lock(m_guard);
    return m_quiet;
}

void Console::TakeLog() {
    vexa::SetLogSink([this](vexa::LogSeverity severity, const std::string& text) {
        if (severity == vexa::LogSeverity::Error) Error(text);
        if (severity == vexa::LogSeverity::Warning) Warning(text);
    });
}

void Console::Error(const std::string& text) {
    const std::lock_guard lock(m_guard);
    Print(text);
}

void Console::Warning(const std::string& text) {
    const std::lock_guard lock(m_guard);
    if (!m_quiet) Print("warning: " + text);
}

void Console::Note(const std::string& text) {
    const std::lock_guard lock(m_guard);
    if (!m_quiet) Print(text);
}

void Console::ShowStatus(const std::string& text) {
    const std::lock_guard lock(m_guard);
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    std::fflush(stderr);
    m_statusShown = true;
}

void Console::ClearStatus() {
    const std::lock_guard lock(m_guard);
    EraseStatus();
}

void Console::Print(const std::string& text) {
    EraseStatus();
    std::fprintf(stderr, "vxdep: %s\n", text.c_str());
}

void Console::EraseStatus() {
    if (!m_statusShown) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    m_statusShown = false;
}

}  // namespace vxdep
