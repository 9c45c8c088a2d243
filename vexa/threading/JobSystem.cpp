#include "vexa/threading/JobSystem.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vexa/Export.h"
#include "vexa/common/Log.h"
#include "vexa/threading/ThreadName.h"

namespace vexa {
namespace {

struct Job {
    std::function<void()> work;
    std::string name;
    bool done = false;  // guarded by the system's mutex
};

class ScopedThreadName {
public:
    explicit ScopedThreadName(const std::string& name) : m_before(GetThreadName()) {
        SetThreadName(name);
    }
    ~ScopedThreadName() { SetThreadName(m_before); }
    ScopedThreadName(const ScopedThreadName&) = delete;
    ScopedThreadName& operator=(const ScopedThreadName&) = delete;

private:
    std::string m_before;
};

void RunWork(Job& job) {
    const ScopedThreadName name(job.name);
    try {
        job.work();
    } catch (const std::exception& error) {
        LogError("Job %s failed: %s", job.name.c_str(), error.what());
    } catch (...) {
        LogError("Job %s failed: unknown exception", job.name.c_str());
    }
    job.work = nullptr;  // what the job holds is gone before anybody hears that it has ended
}

// The handles given out: a handle is an index into the table, index 0 is never used.
class HandleTable {
public:
    // 0 when all handles are taken.
    JobHandle Add(std::shared_ptr<Job> job) {
        if (!m_free.empty()) {
            const JobHandle handle = m_free.back();
            m_free.pop_back();
            m_jobs[handle] = std::move(job);
            return handle;
        }
        if (m_jobs.size() > std::numeric_limits<JobHandle>::max()) return 0;
        m_jobs.push_back(std::move(job));
        return static_cast<JobHandle>(m_jobs.size() - 1);
    }

    void Remove(JobHandle handle) {
        if (!Find(handle)) return;
        m_jobs[handle] = nullptr;
        m_free.push_back(handle);
    }

    std::shared_ptr<Job> Find(JobHandle handle) const {
        return handle < m_jobs.size() ? m_jobs[handle] : nullptr;
    }

private:
    std::vector<std::shared_ptr<Job>> m_jobs{1};
    std::vector<JobHandle> m_free;
};

// Jobs wait in queues of our own, one per priority; oneTBB is only asked for a worker per job. So
// the order among jobs is exact, and everything passed between threads goes through our mutex.
class JobSystem {
public:
    static JobSystem& Instance() {
        static JobSystem& system = *new JobSystem;
        return system;
    }

    JobHandle Run(std::function<void()> work, JobPriority priority, const char* name) {
        auto job = std::make_shared<Job>(Job{std::move(work), name ? name : "", false});
        std::lock_guard lock(m_mutex);
        m_waiting.at(static_cast<std::size_t>(priority)).push_back(job);
        m_arena.enqueue([] { Instance().RunNext(); });
        const JobHandle handle = m_handles.Add(job);
        if (handle == 0)
            LogWarning("Job %s runs without a handle: none are left", job->name.c_str());
        return handle;
    }

    void Release(JobHandle handle) {
        std::lock_guard lock(m_mutex);
        m_handles.Remove(handle);
    }

    void Wait(JobHandle handle) {
        std::unique_lock lock(m_mutex);
        const std::shared_ptr<Job> job = m_handles.Find(handle);
        m_ended.wait(lock, [&] { return !job || job->done; });
    }

private:
    void RunNext() {
        const std::shared_ptr<Job> job = TakeNext();
        RunWork(*job);
        std::lock_guard lock(m_mutex);
        job->done = true;
        m_ended.notify_all();
    }

    // Never finds the queues empty: as many workers are asked for as there are jobs.
    std::shared_ptr<Job> TakeNext() {
        std::lock_guard lock(m_mutex);
        auto queue = m_waiting.rbegin();
        while (queue->empty()) ++queue;
        std::shared_ptr<Job> job = std::move(queue->front());
        queue->pop_front();
        return job;
    }

    std::mutex m_mutex;
    std::condition_variable m_ended;
    std::array<std::deque<std::shared_ptr<Job>>, 3> m_waiting;  // by priority, the lowest first
    HandleTable m_handles;
    // A worker for each core. By default oneTBB leaves one core to the callers, so that on two
    // cores a long job would keep all others waiting.
    const int m_workers = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
    tbb::global_control m_limit{tbb::global_control::max_allowed_parallelism,
                                static_cast<std::size_t>(m_workers) + 1};
    tbb::task_arena m_arena{m_workers + 1, 1};
};

}  // namespace

JobHandle run(std::function<void()> work, JobPriority priority, unsigned char /*worker*/,
              const char* name) {
    return JobSystem::Instance().Run(std::move(work), priority, name);
}

void job_release(JobHandle handle) {
    JobSystem::Instance().Release(handle);
}

void job_wait(JobHandle handle) {
    JobSystem::Instance().Wait(handle);
}

}  // namespace vexa

#if defined(__SANITIZE_THREAD__)
// oneTBB's library is not instrumented, so the sanitizer does not see how it orders the accesses
// that oneTBB's own inline code makes to its recycled tasks. Only races with that code on top are
// left out.
extern "C" VX_API const char* __tsan_default_suppressions();
const char* __tsan_default_suppressions() {
    return "race_top:oneapi/tbb/\n";
}
#endif
