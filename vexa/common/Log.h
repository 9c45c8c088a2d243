#pragma once

#include <functional>
#include <string>

#include "vexa/Export.h"

// The engine log. Formats are printf's; a message is formatted on the calling thread and handed to
// a thread of the log's own, so that no sink ever runs under a lock of the caller. Messages keep
// the order in which they were logged. All functions may be called from any thread.
namespace vexa {

enum class LogSeverity { Info, Warning, Error };

// Logs an informational message. `level` is the verbosity: 0 is for everybody, larger numbers are
// for diagnosis and are dropped above the level set with SetLogLevel (0 by default).
VX_API void Log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
VX_API void LogWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));
VX_API void LogError(const char* format, ...) __attribute__((format(printf, 1, 2)));

VX_API void SetLogLevel(int level);

// Replaces the sink (standard error by default). The sink gets one message at a time, without a
// line end, on the log's thread; an empty function brings back standard error. It is used from the
// next message on that is taken from the queue; the sink before it is not in use any more when the
// call returns (flush first if it is to get what was logged so far). Must not be called from a
// sink. A message at which the sink throws goes to standard error. A process that is forked off
// begins with an empty queue and the standard sink.
using LogSink = std::function<void(LogSeverity, const std::string&)>;
VX_API void SetLogSink(LogSink sink);

// Returns when every message logged before the call has gone through the sink. Must not be called
// from a sink. Called automatically at process exit.
VX_API void FlushLog();

}  // namespace vexa
