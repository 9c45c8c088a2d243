#include "vexa/common/Log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "vexa/threading/Fork.h"
#include "vexa/threading/ThreadName.h"

namespace vexa {
namespace {

struct Message {
    LogSeverity severity;
    std::string text;
};

const char* PrefixOf(LogSeverity severity) {
    switch (severity) {
        case LogSeverity::Warning:
            return "warning: ";
        case LogSeverity::Error:
            return "error: ";
        default:
            return "";
    }
}

spdlog::level::level_enum LevelOf(LogSeverity severity) {
    switch (severity) {
        case LogSeverity::Warning:
            return spdlog::level::warn;
        case LogSeverity::Error:
            return spdlog::level::err;
        default:
            return spdlog::level::info;
    }
}

// The queue and the thread that empties it. Never destroyed: threads that outlive `main` go on
// logging.
class LogQueue {
public:
    static LogQueue& Instance() {
        static std::atomic<LogQueue*>& instance = MakeInstance();
        return *instance.load();
    }

    void Push(Message message) {
        std::unique_lock lock(m_mutex);
        if (!EnsureThread()) {
            lock.unlock();
            Deliver(message);
            return;
        }
        m_waiting.push_back(std::move(message));
        ++m_pushed;
        m_changed.notify_all();
    }

    void Flush() {
        std::unique_lock lock(m_mutex);
        if (std::this_thread::get_id() == m_thread) return;  // exit() was called in a sink
        const std::uint64_t target = m_pushed;
        m_changed.wait(lock, [&] { return m_delivered >= target; });
    }

    void SetSink(LogSink sink) {
        std::lock_guard lock(m_sinkMutex);
        m_sink.swap(sink);
    }

private:
    // A forked child has no log thread, and its parent writes what was queued: it begins anew.
    static std::atomic<LogQueue*>& MakeInstance() {
        static std::atomic<LogQueue*> instance = new LogQueue;
        CallInForkedChild([] { instance = new LogQueue; });
        return instance;
    }

    LogQueue() : m_standard("vexa", std::make_shared<spdlog::sinks::stderr_sink_mt>()) {
        m_standard.set_pattern("%v");
        m_standard.flush_on(spdlog::level::trace);
    }

    // Without a thread to be had (the process is at its limit) messages are delivered by the
    // caller.
    bool EnsureThread() {
        if (m_thread != std::thread::id()) return true;
        try {
            std::thread thread([this] { Run(); });
            m_thread = thread.get_id();
            thread.detach();
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }

    [[noreturn]] void Run() {
        SetThreadName("vexa-log");
        while (true) {
            Deliver(Take());
            std::lock_guard lock(m_mutex);
            ++m_delivered;
            m_changed.notify_all();
        }
    }

    Message Take() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_waiting.empty(); });
        Message message = std::move(m_waiting.front());
        m_waiting.pop_front();
        return message;
    }

    // A message that its sink did not take still reaches somebody.
    void Deliver(const Message& message) {
        std::lock_guard lock(m_sinkMutex);
        try {
            if (m_sink) {
                m_sink(message.severity, message.text);
                return;
            }
        } catch (...) {
            m_standard.error("error: the log's sink threw an exception at this message:");
        }
        m_standard.log(LevelOf(message.severity), "{}{}", PrefixOf(message.severity), message.text);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Message> m_waiting;
    std::uint64_t m_pushed = 0;
    std::uint64_t m_delivered = 0;
    std::thread::id m_thread;

    std::mutex
        m_sinkMutex;  // held while a sink runs, so that SetSink returns when the old one is done
    LogSink m_sink;
    spdlog::logger m_standard;
};

std::atomic<int> g_level{0};

std::string Format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return format;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

void Push(LogSeverity severity, const char* format, va_list arguments) {
    LogQueue::Instance().Push({severity, Format(format, arguments)});
}

// Made when the library is loaded, so that it goes after every object that is made later and may
// log in its destructor.
struct FlushAtExit {
    ~FlushAtExit() { FlushLog(); }
};
const FlushAtExit g_flushAtExit;

}  // namespace

void Log(int level, const char* format, ...) {
    if (level > g_level.load(std::memory_order_relaxed)) return;
    va_list arguments;
    va_start(arguments, format);
    Push(LogSeverity::Info, format, arguments);
    va_end(arguments);
}

void LogWarning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Push(LogSeverity::Warning, format, arguments);
    va_end(arguments);
}

void LogError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Push(LogSeverity::Error, format, arguments);
    va_end(arguments);
}

void SetLogLevel(int level) {
    g_level = level;
}

void SetLogSink(LogSink sink) {
    LogQueue::Instance().SetSink(std::move(sink));
}

void FlushLog() {
    LogQueue::Instance().Flush();
}

}  // namespace vexa
