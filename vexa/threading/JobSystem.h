#pragma once

#include <cstdint>
#include <functional>

namespace vexa {

enum class JobPriority : int { Low = 0, Normal = 1, High = 2 };

using JobHandle = std::uint16_t;

// Runs `work` on a worker of the job system and returns at once. `worker` is the worker wanted, 255
// for any (the only value that has an effect here: the pool places jobs itself). `name` is shown by
// debuggers as the worker's thread name while the job runs, and in the log when the job throws
// (the exception goes no further). The handle must be given back with job_release; 0 is no handle.
// May be called from any thread. The system is never destroyed; jobs still running when the
// process ends are abandoned. Without a thread to be had (the process is at its limit) the caller
// runs the job before this returns.
JobHandle run(std::function<void()> work, JobPriority priority, unsigned char worker,
              const char* name);

// Gives a handle back; the job goes on.
void job_release(JobHandle handle);

// Waits until the job has ended. Must not be called by a job. The handle stays valid.
void job_wait(JobHandle handle);

}  // namespace vexa
