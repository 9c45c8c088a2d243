#include "vxdependency/scanner/ReadAhead.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vexa/common/KnownFiles.h"
#include "vexa/threading/JobSystem.h"
#include "vexa/threading/StepGate.h"

namespace {

struct Slot {
    std::string key;
    bool begun = false;  // by a worker or by the committer; guarded by the state's mutex
    std::atomic<bool> done{false};
    std::unique_ptr<vexa::FileReading> reading;  // the worker's until it is done
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

std::unique_ptr<vexa::FileReading> Read(const std::string& key) {
    try {
        return vexa::CDependencyManager::GetSingletonPtr()->ReadReferences(key);
    } catch (const std::exception&) {
        return nullptr;  // the committer reads it again, and its exception is the one that is told
    }
}

}  // namespace

// Shared with the workers: one that sleeps at a shut gate may outlive the scan.
struct ReadAhead::State {
    const vexa::KnownFiles* known;
    vexa::StepGate* gate;

    std::mutex mutex;  // all that follows
    std::condition_variable changed;
    std::deque<std::shared_ptr<Slot>> waiting;
    std::unordered_map<std::string, std::shared_ptr<Slot>> expected;
    unsigned workers = 0;  // jobs that run or are about to
    unsigned busy = 0;     // handfuls that are being read
    bool stopped = false;

    // The next files to read, or none when the worker is to end.
    Slots Next() {
        const std::lock_guard lock(mutex);
        Slots slots;
        while (!stopped && !waiting.empty() && slots.size() < kHandful) {
            if (!std::exchange(waiting.front()->begun, true)) slots.push_back(waiting.front());
            waiting.pop_front();
        }
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
            for (const std::shared_ptr<Slot>& slot : slots) {
                slot->reading = Read(slot->key);
                slot->done.store(true, std::memory_order_release);
            }
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
        m_state->expected[key] = slot;
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
    const auto found = m_state->expected.find(key);
    if (found == m_state->expected.end()) return nullptr;
    const std::shared_ptr<Slot> slot = std::move(found->second);
    m_state->expected.erase(found);
    if (!std::exchange(slot->begun, true)) return nullptr;
    const auto isDone = [&slot] { return slot->done.load(std::memory_order_acquire); };
    if (!isDone()) m_state->changed.wait(lock, isDone);
    return std::move(slot->reading);
}
