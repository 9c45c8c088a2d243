#include "vexa/threading/JobSystem.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

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

// Jobs wait in queues, one per priority, for workers: a thread for each core, started when a job
// finds none idle.
class JobSystem {
public:
    static JobSystem& Instance() {
        static JobSystem& system = *new JobSystem;
        return system;
    }

    JobHandle Run(std::function<void()> work, JobPriority priority, const char* name) {
        auto job = std::make_shared<Job>(Job{std::move(work), name ? name : "", false});
        std::unique_lock lock(m_mutex);
        const bool taken = EnsureWorker();
        m_waiting.at(static_cast<std::size_t>(priority)).push_back(job);
        ++m_waitingCount;
        const JobHandle handle = m_handles.Add(job);
        if (handle == 0)
            LogWarning("Job %s runs without a handle: none are left", job->name.c_str());
        lock.unlock();
        m_came.notify_one();
        if (!taken) RunNext();
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
    // Sees to it that there is somebody for one job more. False when there is nobody at all: the
    // process is at its limit of threads.
    bool EnsureWorker() {
        if (m_idle > m_waitingCount || m_workers == m_mostWorkers) return true;
        try {
            std::thread([this] {
                while (true) RunNext();
            }).detach();
            ++m_workers;
        } catch (const std::system_error&) {
            // Those that are there take it when they have ended theirs.
        }
        return m_workers > 0;
    }

    void RunNext() {
        const std::shared_ptr<Job> job = TakeNext();
        RunWork(*job);
        std::lock_guard lock(m_mutex);
        job->done = true;
        m_ended.notify_all();
    }

    std::shared_ptr<Job> TakeNext() {
        std::unique_lock lock(m_mutex);
        ++m_idle;
        m_came.wait(lock, [this] { return m_waitingCount > 0; });
        --m_idle;
        auto queue = m_waiting.rbegin();
        while (queue->empty()) ++queue;
        std::shared_ptr<Job> job = std::move(queue->front());
        queue->pop_front();
        --m_waitingCount;
        return job;
    }

    const unsigned m_mostWorkers = std::max(std::thread::hardware_concurrency(), 1U);

    std::mutex m_mutex;  // all that follows
    std::condition_variable m_came;
    std::condition_variable m_ended;
    std::array<std::deque<std::shared_ptr<Job>>, 3> m_waiting;  // by priority, the lowest first
    std::size_t m_waitingCount = 0;
    std::size_t m_idle = 0;
    unsigned m_workers = 0;
    HandleTable m_handles;
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
