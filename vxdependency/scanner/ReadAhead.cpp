#include "vxdependency/scanner/ReadAhead.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "vexa/common/KnownFiles.h"
#include "vexa/threading/JobSystem.h"
#include "vexa/threading/StepGate.h"

namespace {

std::unique_ptr<vexa::FileReading> Read(const std::string& key) {
    try {
        return vexa::CDependencyManager::GetSingletonPtr()->ReadReferences(key);
    } catch (const std::exception&) {
        return nullptr;  // the committer reads it again, and its exception is the one that is told
    }
}

struct Slot {
    std::string key;
    bool begun = false;  // by a worker or by the committer; guarded by the state's mutex
    std::atomic<bool> done{false};
    std::unique_ptr<vexa::FileReading> reading;  // its reader's until it is done

    bool IsDone() const { return done.load(std::memory_order_acquire); }
    void Fill() {
        reading = Read(key);
        done.store(true, std::memory_order_release);
    }
};
using Slots = std::vector<std::shared_ptr<Slot>>;

// Files are taken in handfuls, so that committer and worker meet at the lock and wait for one
// another once for many files: waking a thread costs as much as reading a small file.
constexpr std::size_t kHandful = 16;

// A worker for a few files would end before it had begun.
constexpr std::size_t kWorthAWorker = 64;

unsigned WorkerCount() {
    static const unsigned count = std::max(std::thread::hardware_concurrency(), 2U) - 1;
    return count;
}

}  // namespace

// Shared with the workers: one that sleeps at a shut gate may outlive the scan.
struct ReadAhead::State {
    const vexa::KnownFiles* known;
    vexa::StepGate* gate;

    std::mutex mutex;  // all that follows
    std::condition_variable changed;
    std::deque<std::shared_ptr<Slot>> waiting;   // for a worker
    std::deque<std::shared_ptr<Slot>> expected;  // by the committer, in its order
    unsigned workers = 0;                        // jobs that run or are about to
    unsigned busy = 0;                           // handfuls that are being read
    bool stopped = false;

    // Takes the next files that nobody reads.
    Slots Begin(std::size_t count) {
        Slots slots;
        while (!waiting.empty() && slots.size() < count) {
            if (!std::exchange(waiting.front()->begun, true)) slots.push_back(waiting.front());
            waiting.pop_front();
        }
        return slots;
    }

    // The next files for a worker, or none when it is to end.
    Slots Next() {
        const std::lock_guard lock(mutex);
        Slots slots = Begin(stopped ? 0 : kHandful);
        if (slots.empty()) {
            --workers;
        } else {
            ++busy;
        }
        return slots;
    }

    void Done() {
        const std::lock_guard lock(mutex);
        --busy;
        changed.notify_all();
    }

    static void Work(const std::shared_ptr<State>& state) {
        while (true) {
            const vexa::StepGate::Pass pass(*state->gate);
            const Slots slots = state->Next();
            if (slots.empty()) return;
            const vexa::KnownFiles::Use use(*state->known);
            for (const std::shared_ptr<Slot>& slot : slots) slot->Fill();
            state->Done();
        }
    }
};

ReadAhead::ReadAhead(const vexa::KnownFiles& known, vexa::StepGate& gate)
    : m_state(std::make_shared<State>()) {
    m_state->known = &known;
    m_state->gate = &gate;
}

ReadAhead::~ReadAhead() {
    std::unique_lock lock(m_state->mutex);
    m_state->stopped = true;
    m_state->changed.wait(lock, [this] { return m_state->busy == 0; });
}

void ReadAhead::Expect(const std::string& key) {
    auto slot = std::make_shared<Slot>();
    slot->key = key;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->expected.push_back(slot);
        m_state->waiting.push_back(std::move(slot));
        if (m_state->workers >= WorkerCount() || m_state->waiting.size() < kWorthAWorker) return;
        ++m_state->workers;
    }
    constexpr unsigned char kAnyWorker = 255;
    vexa::job_release(vexa::run([state = m_state] { State::Work(state); }, vexa::JobPriority::High,
                                kAnyWorker, "ReadAhead"));
}

std::unique_ptr<vexa::FileReading> ReadAhead::Take(const std::string& key) {
    std::unique_lock lock(m_state->mutex);
    // What was expected before it is not asked for any more.
    auto& expected = m_state->expected;
    while (!expected.empty() && expected.front()->key != key) {
        expected.front()->begun = true;
        expected.pop_front();
    }
    if (expected.empty()) return nullptr;
    const std::shared_ptr<Slot> slot = std::move(expected.front());
    expected.pop_front();
    if (!std::exchange(slot->begun, true)) return nullptr;
    while (!slot->IsDone()) {
        const Slots next = m_state->Begin(1);
        if (next.empty()) {
            m_state->changed.wait(lock, [&slot] { return slot->IsDone(); });
            break;
        }
        lock.unlock();
        next.front()->Fill();
        lock.lock();
    }
    return std::move(slot->reading);
}
