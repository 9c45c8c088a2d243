#pragma once

#include <mutex>
#include <string>

namespace vxdep {

// Standard error: messages, and below them a status line that is overwritten in place. Any thread
// may call. Never destroyed, since the library's log may speak until the process ends.
class Console {
public:
    static Console& Instance();

    // Leaves out everything but errors.
    void SetQuiet(bool quiet);
    bool IsQuiet() const;

    // Sends the library's warnings and errors here. Its informational messages are for the log of
    // an editor, and are dropped.
    void TakeLog();

    void Error(const std::string& text);
    void Warning(const std::string& text);
    void Note(const std::string& text);

    // Replaces the status line; messages clear it, and the next call draws it again.
    void ShowStatus(const std::string& text);
    void ClearStatus();

private:
    Console() = default;
    void Print(const std::string& text);
    void EraseStatus();

    mutable std::mutex m_guard;
    bool m_quiet = false;
    bool m_statusShown = false;
};

}  // namespace vxdep
