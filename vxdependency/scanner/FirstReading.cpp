#include "vxdependency/scanner/FirstReading.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "vexa/threading/JobSystem.h"
#include "vexa/threading/StepGate.h"
#include "vxdependency/generators/SpareTexts.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/store/GeneralDependency.h"

using vexa::CDependencyManager;
using vexa::FileReading;
using vexa::vxdependency::FilledFile;
using vexa::vxdependency::FilledFiles;
using vexa::vxdependency::GeneralDependency;
using vexa::vxdependency::StoreFill;

namespace {

// Files are taken and given away in handfuls, so that threads seldom meet.
constexpr std::size_t kHandful = 64;

unsigned WorkerCount() {
    return std::max(std::thread::hardware_concurrency(), 1U) - 1;
}

std::unique_ptr<FileReading> Read(const std::string& key) {
    try {
        return CDependencyManager::GetSingletonPtr()->ReadReferences(key);
    } catch (const std::exception&) {
        return nullptr;  // who reads it again meets the exception again, and it is told then
    }
}

}  // namespace

// Shared with the workers: a job may come late, and one that sleeps at a shut gate never goes.
struct FirstReading::State {
    FileTable* files;
    const vexa::KnownFiles* known;
    StoreFill* fill;
    vexa::StepGate* gate;
    std::uint64_t renames;
    std::vector<Item> items;
    std::function<bool()> running;
    std::function<void(std::string_view)> stored;

    std::atomic<std::int64_t> read{0};
    std::atomic<std::int64_t> done{0};

    std::mutex mutex;  // of the three that follow
    std::condition_variable changed;
    std::size_t next = 0;
    unsigned busy = 0;
    bool stopped = false;

    // A part of the items, for one thread; empty at the end.
    std::pair<std::size_t, std::size_t> Begin() {
        const std::lock_guard lock(mutex);
        const std::size_t begin = stopped || !running() ? items.size() : next;
        next = std::min(begin + kHandful, items.size());
        if (begin < next) ++busy;
        return {begin, next};
    }

    // Nobody waits for ever for a thread that met an exception.
    struct Busy {
        explicit Busy(State& state) : owner(state) {}
        ~Busy() {
            const std::lock_guard lock(owner.mutex);
            --owner.busy;
            owner.changed.notify_all();
        }
        State& owner;
    };

    void Stop() {
        const std::lock_guard lock(mutex);
        stopped = true;
    }

    // Reads a part and gives it to the store; false when none is left.
    bool Step() {
        const vexa::StepGate::Pass pass(*gate);
        const auto [begin, end] = Begin();
        if (begin == end) return false;
        const Busy busyUntilGiven(*this);
        const vexa::KnownFiles::Use use(*known);
        Give(ReadPart(begin, end));
        return true;
    }

    FilledFiles ReadPart(std::size_t begin, std::size_t end) {
        FilledFiles part;
        part.position = begin;
        part.files.reserve(end - begin);
        for (std::size_t i = begin; i < end && running(); ++i) {
            const Item item = items[i];
            if (!item.isRead) {
                part.files.push_back({item.file});
            } else if (auto reading = Read(std::string(files->KeyOf(item.file)))) {
                Append(item.file, *reading, part);
            }
        }
        part.references.shrink_to_fit();
        return part;
    }

    void Append(std::uint32_t file, FileReading& reading, FilledFiles& part) {
        part.files.push_back({file, static_cast<std::uint32_t>(reading.list.size()),
                              !reading.preliminary, !reading.readable});
        for (const std::string& entry : reading.list) {
            const std::uint32_t number = known->NumberOf(entry);
            part.references.push_back(number == vexa::KnownFiles::kNoNumber ? fill->NumberOf(entry)
                                                                            : number);
        }
        vexa::GiveBackTexts(reading.list);
        if (!reading.findings.IsEmpty())
            part.findings.emplace_back(file, std::move(reading.findings));
    }

    // Under the mutex that renames hold: what was read before one may not be true after it.
    void Give(FilledFiles part) {
        std::vector<FilledFile> given = part.files;
        {
            const std::lock_guard lock(vexa::ManagerMutex());
            if (CDependencyManager::CountRenames() != renames) return Stop();
            GeneralDependency::Instance()->AddToFill(std::move(part));
            for (const FilledFile& file : given) files->SetChange(file.number, FileChange::Stored);
        }
        for (const FilledFile& file : given) {
            if (!files->IsRead(file.number)) continue;
            ++read;
            stored(files->KeyOf(file.number));
        }
        done += static_cast<std::int64_t>(given.size());
    }
};

FirstReading::FirstReading(FileTable& files, const vexa::KnownFiles& known, StoreFill& fill,
                           std::vector<Item> items, std::uint64_t renames, vexa::StepGate& gate)
    : m_state(std::make_shared<State>()) {
    m_state->files = &files;
    m_state->known = &known;
    m_state->fill = &fill;
    m_state->gate = &gate;
    m_state->renames = renames;
    m_state->items = std::move(items);
}

FirstReading::~FirstReading() {
    std::unique_lock lock(m_state->mutex);
    m_state->stopped = true;
    m_state->changed.wait(lock, [this] { return m_state->busy == 0; });
}

void FirstReading::Run(const std::function<bool()>& running,
                       const std::function<bool(std::int64_t)>& progress,
                       const std::function<void(std::string_view)>& stored) {
    m_state->running = running;
    m_state->stored = stored;
    const std::size_t parts = m_state->items.size() / kHandful;
    for (std::size_t i = 0; i < std::min<std::size_t>(WorkerCount(), parts); ++i) {
        constexpr unsigned char kAnyWorker = 255;
        vexa::job_release(vexa::run(
            [state = m_state] {
                while (state->Step()) continue;
            },
            vexa::JobPriority::High, kAnyWorker, "FirstReading"));
    }
    while (m_state->Step()) {
        if (!progress(m_state->done)) m_state->Stop();
    }
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait(lock, [this] { return m_state->busy == 0; });
    lock.unlock();
    progress(m_state->done);
}

std::int64_t FirstReading::FilesRead() const {
    return m_state->read;
}
