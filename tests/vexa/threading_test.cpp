#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/LogCapture.h"
#include "vexa/threading/CommandQueue.h"
#include "vexa/threading/EachInParallel.h"
#include "vexa/threading/JobSystem.h"
#include "vexa/threading/StepGate.h"
#include "vexa/threading/ThreadName.h"

namespace vexa {
namespace {

using namespace std::chrono_literals;

using test::LogCapture;
using Texts = std::vector<std::string>;

constexpr int kUnusedThread = 17;  // no engine thread has this number

void Finish(const std::vector<JobHandle>& handles) {
    for (const JobHandle handle : handles) {
        job_wait(handle);
        job_release(handle);
    }
}

void RunAndWait(std::function<void()> work, const char* name) {
    Finish({run(std::move(work), JobPriority::Normal, 255, name)});
}

TEST(JobSystem, ShowsTheJobsNameAndLogsItsException) {
    LogCapture log;
    std::string name;
    RunAndWait([&] { name = GetThreadName(); }, "DependencyScan of all roots");
    EXPECT_EQ(name, "DependencyScan ");
    RunAndWait([] { throw std::runtime_error("no store"); }, "scan");
    RunAndWait([] { throw 1; }, "odd");
    RunAndWait([&] { name = GetThreadName(); }, "after");
    EXPECT_EQ(name, "after");
    EXPECT_EQ(log.TakeTexts(),
              (Texts{"Job scan failed: no store", "Job odd failed: unknown exception"}));
}

TEST(JobSystem, ReusesReleasedHandlesAndOutlivesTheirExhaustion) {
    LogCapture log;
    std::atomic<int> ran = 0;
    std::vector<JobHandle> handles;
    for (int i = 0; i < 65535; ++i)
        handles.push_back(run([&] { ++ran; }, JobPriority::Low, 255, "many"));
    EXPECT_EQ(std::set<JobHandle>(handles.begin(), handles.end()).size(), handles.size());
    EXPECT_EQ(run([&] { ++ran; }, JobPriority::Low, 255, "extra"), 0);
    for (int twice = 0; twice < 2; ++twice) job_release(handles[5]);
    EXPECT_EQ(run([&] { ++ran; }, JobPriority::Low, 255, "again"), handles[5]);
    EXPECT_EQ(run([&] { ++ran; }, JobPriority::Low, 255, "extra"), 0);
    Finish(handles);
    job_wait(0);
    job_release(0);
    RunAndWait([] {}, "all before it have begun");
    EXPECT_GE(ran, 65535);
    EXPECT_EQ(log.TakeTexts(), Texts(2, "Job extra runs without a handle: none are left"));
}

TEST(JobSystem, HigherPrioritiesGoFirst) {
    // As many blockers as there can be workers, so that everything after them has to wait.
    const unsigned workers = std::thread::hardware_concurrency();
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    for (unsigned i = 0; i < workers; ++i)
        job_release(run([gate] { gate.wait(); }, JobPriority::High, 255, "blocker"));

    std::mutex mutex;
    std::string order;
    std::vector<JobHandle> handles;
    for (int i = 0; i < 40; ++i) {
        const auto mark = [&, high = i >= 20] {
            std::lock_guard lock(mutex);
            order += high ? 'h' : 'l';
        };
        handles.push_back(run(mark, i < 20 ? JobPriority::Low : JobPriority::High, 255, "mark"));
    }
    open.set_value();
    Finish(handles);
    // Workers that took their jobs in order may still mark them out of order, one each at most.
    EXPECT_LE(order.find('l') == std::string::npos ? 99u : 20 - order.find('l'), workers);
}

TEST(CommandQueue, RunsWhatWasPostedInOrderAndSurvivesExceptions) {
    LogCapture log;
    CommandQueue& queue = CommandQueueOfThread(kUnusedThread);
    std::string calls;
    queue.post([&] {
        calls += 'a';
        queue.post([&] { calls += 'x'; });
    });
    queue.post([] { throw std::runtime_error("broken"); });
    queue.post([&] { calls += 'b'; });
    EXPECT_EQ(queue.run_pending(), 3u);
    EXPECT_EQ(calls, "ab") << "what a command posts comes with the next run";
    queue.post([&] { EXPECT_EQ(queue.run_pending(), 1u); });
    queue.post([&] { calls += 'y'; });
    EXPECT_EQ(queue.run_pending(), 2u);
    EXPECT_EQ(calls, "abxy") << "also when a command runs the queue";
    EXPECT_EQ(queue.wait_and_run(0ms), 0u);
    EXPECT_EQ(log.TakeTexts(), (Texts{"A posted command failed: broken"}));
}

TEST(CommandQueue, WakesItsOwner) {
    constexpr auto& editor = vxThread<0>::Handle;
    std::atomic<bool> stop = false;
    int ran = 0;
    std::thread poster([&] {
        for (int i = 0; i < 1000; ++i) editor.post([&ran] { ++ran; });
        editor.post([&] { stop = true; });
    });
    while (!stop) editor.wait_and_run(1h);
    poster.join();
    EXPECT_EQ(ran, 1000);
    EXPECT_EQ(CommandQueueOfThread(1).run_pending(), 0u);
}

TEST(EachInParallel, EachPieceIsDoneOnceUnlessOneThrows) {
    constexpr std::size_t kPieces = 10000;
    std::vector<std::atomic<int>> done(kPieces);
    const auto count = [&]() -> PieceOfWork { return [&](std::size_t piece) { ++done[piece]; }; };
    EXPECT_TRUE(EachInParallel(kPieces, count, nullptr));
    for (const std::atomic<int>& times : done) ASSERT_EQ(times, 1);
    // Others leave the calling thread a piece, after which it is asked.
    std::atomic<bool> asked = false;
    const auto wait = [&, caller = std::this_thread::get_id()]() -> PieceOfWork {
        return [&, caller](std::size_t) {
            if (std::this_thread::get_id() != caller) asked.wait(false);
        };
    };
    const auto stop = [&](std::size_t) {
        asked = true;
        asked.notify_all();
        return false;
    };
    EXPECT_FALSE(EachInParallel(kPieces, wait, stop));
    const auto fail = []() -> PieceOfWork {
        return [](std::size_t) { throw std::runtime_error("broken"); };
    };
    EXPECT_THROW(EachInParallel(kPieces, fail, nullptr), std::runtime_error);
}

TEST(StepGate, ShutWaitsForTheStepAndLetsNoOtherBegin) {
    static auto& gate = *new StepGate;  // threads sleep behind it until the process ends
    static std::atomic<bool> inside, late;
    std::promise<void> entered, leave;
    std::thread step([&] {
        const StepGate::Pass pass(gate);
        inside = true;
        entered.set_value();
        leave.get_future().wait();
        inside = false;
    });
    entered.get_future().wait();
    std::future<bool> shut = std::async(std::launch::async, [&] {
        gate.Shut();
        return inside.load();
    });
    EXPECT_EQ(shut.wait_for(20ms), std::future_status::timeout);
    leave.set_value();
    EXPECT_FALSE(shut.get());
    step.join();
    std::thread([] {
        const StepGate::Pass pass(gate);
        late = true;
    }).detach();
    gate.Shut();
    EXPECT_FALSE(late);
}

}  // namespace
}  // namespace vexa
