#include "vexa/threading/EachInParallel.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "vexa/threading/JobSystem.h"

namespace vexa {

namespace {

// Threads meet once for so many pieces.
constexpr std::size_t kHandful = 16;

// For fewer a worker would end before it had begun.
constexpr std::size_t kWorthAWorker = 64;

// Shared with the workers: a job may come when all is over.
class Work {
public:
    Work(std::size_t pieces, const std::function<PieceOfWork()>& join)
        : m_join(join), m_pieces(pieces) {}

    // Takes part until nothing is left. `goOn` is empty on workers.
    void TakePart(const std::function<bool(std::size_t)>& goOn) {
        if (!Enter()) return;
        try {
            DoPieces(goOn);
        } catch (...) {
            Stop(std::current_exception());
        }
        const std::lock_guard lock(m_mutex);
        --m_threads;
        m_left.notify_all();
    }

    bool Finish() {
        std::unique_lock lock(m_mutex);
        m_left.wait(lock, [this] { return m_threads == 0; });
        if (m_failure) std::rethrow_exception(m_failure);
        return !m_stopped;
    }

private:
    // False when what `join` refers to may be gone.
    bool Enter() {
        const std::lock_guard lock(m_mutex);
        if (m_next == m_pieces) return false;
        ++m_threads;
        return true;
    }

    void DoPieces(const std::function<bool(std::size_t)>& goOn) {
        const PieceOfWork work = m_join();
        while (true) {
            const std::size_t begin = Take();
            const std::size_t end = std::min(begin + kHandful, m_pieces);
            if (begin == end) return;
            for (std::size_t piece = begin; piece < end; ++piece) {
                work(piece);
                ++m_done;
                if (goOn && !goOn(m_done)) return Stop(nullptr);
            }
        }
    }

    std::size_t Take() {
        const std::lock_guard lock(m_mutex);
        const std::size_t begin = m_next;
        m_next = std::min(begin + kHandful, m_pieces);
        return begin;
    }

    void Stop(std::exception_ptr failure) {
        const std::lock_guard lock(m_mutex);
        m_next = m_pieces;
        m_stopped = true;
        if (!m_failure) m_failure = std::move(failure);
    }

    const std::function<PieceOfWork()>& m_join;
    const std::size_t m_pieces;
    std::atomic<std::size_t> m_done{0};

    std::mutex m_mutex;  // of what follows
    std::condition_variable m_left;
    std::size_t m_next = 0;
    unsigned m_threads = 0;
    bool m_stopped = false;
    std::exception_ptr m_failure;
};

std::size_t WorkersFor(std::size_t pieces) {
    const std::size_t cores = std::max(std::thread::hardware_concurrency(), 1U);
    return std::min(cores - 1, pieces / kWorthAWorker);
}

}  // namespace

bool EachInParallel(std::size_t pieces, const std::function<PieceOfWork()>& join,
                    const std::function<bool(std::size_t done)>& goOn) {
    const auto work = std::make_shared<Work>(pieces, join);
    for (std::size_t i = 0; i < WorkersFor(pieces); ++i) {
        constexpr unsigned char kAnyWorker = 255;
        job_release(run([work] { work->TakePart(nullptr); }, JobPriority::High, kAnyWorker,
                        "EachInParallel"));
    }
    work->TakePart(goOn);
    return work->Finish();
}

}  // namespace vexa
