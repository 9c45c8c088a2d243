#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "vexa/common/Log.h"

namespace vexa::test {

// Takes the log's messages for its life.
class LogCapture {
public:
    using Message = std::pair<LogSeverity, std::string>;

    LogCapture() {
        FlushLog();
        SetLogSink([this](LogSeverity severity, const std::string& text) {
            const std::lock_guard lock(m_guard);
            m_messages.emplace_back(severity, text);
        });
    }
    ~LogCapture() {
        FlushLog();
        SetLogSink(nullptr);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // What was logged since the last call.
    std::vector<Message> Take() {
        FlushLog();
        const std::lock_guard lock(m_guard);
        return std::exchange(m_messages, {});
    }
    std::vector<std::string> TakeTexts() {
        std::vector<std::string> texts;
        for (Message& message : Take()) texts.push_back(std::move(message.second));
        return texts;
    }

private:
    std::mutex m_guard;
    std::vector<Message> m_messages;
};

}  // namespace vexa::test
