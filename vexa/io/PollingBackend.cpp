#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <vector>

#include "vexa/common/Log.h"
#include "vexa/io/ChangeQueue.h"
#include "vexa/io/TreeSnapshot.h"
#include "vexa/io/WatchBackend.h"

namespace vexa::vxio {

namespace {

using namespace std::chrono_literals;

// Walks the tree again and again, and compares.
class PollingBackend final : public IWatchBackend {
public:
    explicit PollingBackend(ChangeQueue& queue) : m_queue(queue) {}

    std::string Arm(const std::string& directory) override {
        const Clock::time_point start = Clock::now();
        TreeSnapshot first(directory);
        const int error = first.Walk(first);
        if (error != 0) return directory + ": " + std::strerror(error);
        m_roots.push_back({directory, std::move(first), false});
        SetDue(start);
        return "";
    }

    void Collect(std::chrono::milliseconds patience, bool everything) override {
        if (!everything) {
            std::unique_lock lock(m_guard);
            m_woken.wait_for(lock, patience, [this] { return m_wake; });
            m_wake = false;
        }
        const Clock::time_point start = Clock::now();
        if (!everything && start < m_due) return;
        for (Root& root : m_roots) Poll(root);
        SetDue(start);
    }

    bool IsSettled(Clock::time_point) const override {
        return std::ranges::none_of(m_roots, &Root::away);
    }
    const std::string& Failure() const override { return m_failure; }

    void Wake() override {
        const std::lock_guard lock(m_guard);
        m_wake = true;
        m_woken.notify_all();
    }

private:
    struct Root {
        std::string directory;
        TreeSnapshot last;
        bool away;  // it could not be listed; what was in it is not taken for removed
    };

    void Poll(Root& root) {
        TreeSnapshot now(root.directory);
        const int error = now.Walk(root.last);
        if (error != 0 && !root.away) {
            LogError("%s: %s; changes below it are not followed until it is back",
                     root.directory.c_str(), std::strerror(error));
        }
        root.away = error != 0;
        if (root.away) return;
        now.TellChangesSince(std::move(root.last), m_queue);
        root.last = std::move(now);
    }

    void SetDue(Clock::time_point start) {
        const Clock::time_point now = Clock::now();
        m_due = now + std::max<Clock::duration>(1s, 10 * (now - start));
    }

    ChangeQueue& m_queue;
    std::vector<Root> m_roots;
    Clock::time_point m_due{};
    std::string m_failure;  // stays empty

    std::mutex m_guard;
    std::condition_variable m_woken;
    bool m_wake = false;
};

}  // namespace

std::unique_ptr<IWatchBackend> MakePollingBackend(ChangeQueue& queue) {
    return std::make_unique<PollingBackend>(queue);
}

}  // namespace vexa::vxio
