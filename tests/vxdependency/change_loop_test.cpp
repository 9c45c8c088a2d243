#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/AppliedChange.h"
#include "vxdependency/scanner/ChangeBatch.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/scanner/RescanPlan.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace fs = std::filesystem;

namespace vexa::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using vxdependency::Direction;
using vxdependency::GeneralDependency;
using vxdependency::GraphReader;
using List = std::vector<std::string>;

constexpr const char* kRules =
    R"({"xml": {"name_list": [{"element": "a", "attribute": "f", "strategy": 2}]}})";

std::string Naming(const std::string& key) {
    return "<s><a f=\"" + key + "\"/></s>";
}

class ChangeLoopTest : public testing::Test {
protected:
    ChangeLoopTest() {
        project.Touch("t.png", "d/u.png");
        project.Write("one.xml", Naming("t.png"));
        project.Write("two.xml", Naming("d/u.png"));
    }
    // Watches without a thread: each Step is what the thread would do next.
    void Watch() {
        ASSERT_TRUE(Scanner().Watcher().Arm());
        Scan();
        while (Scanner().IsScanning()) std::this_thread::yield();  // it ends after saying so
        Scanner().RegisterUpdateDependencyUIFunction([this](bool busy) { ui.push_back(busy); });
        Scanner().RegisterChangeFunction([this](const AppliedChange& change) {
            static const char* const kMarks[] = {"+", "-", "*", ""};
            const std::string from = change.oldPath.empty() ? "" : change.oldPath + ">";
            told.push_back(kMarks[static_cast<int>(change.kind)] + from + change.path);
        });
    }
    List Step() {
        EXPECT_TRUE(Scanner().Watcher().CatchUp(std::chrono::minutes(1)));
        Scanner().ProcessStep();
        return std::exchange(told, {});
    }
    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    DependencyScanner& Scanner() { return *Manager().GetScanner(); }
    List Users(const std::string& key) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, Direction::Inverse);
    }
    void Move(const std::string& from, const std::string& to) {
        fs::create_directories(fs::path(project.Resource(to)).parent_path());
        fs::rename(project.Resource(from), project.Resource(to));
    }

    Project project{kRules};
    List told;
    std::vector<bool> ui;
};

TEST_F(ChangeLoopTest, TakesOverWhatWasAddedModifiedAndRemoved) {
    Watch();
    EXPECT_THAT(Step(), IsEmpty());
    project.Write("new/deep/three.xml", Naming("later.png"));
    project.Write("one.xml", Naming("d/u.png") + " ");
    EXPECT_THAT(Step(), ElementsAre("+new/deep/three.xml", "*one.xml"));
    EXPECT_THAT(Users("d/u.png"), ElementsAre("one.xml", "two.xml"));
    EXPECT_THAT(Users("later.png"), IsEmpty());
    project.Touch("later.png");
    EXPECT_THAT(Step(), ElementsAre("+later.png"));
    EXPECT_THAT(Users("later.png"), ElementsAre("new/deep/three.xml"));
    project.Remove("new");
    project.Remove("d/u.png");
    EXPECT_THAT(Step(), ElementsAre("-d/u.png", "-new/deep/three.xml"));
    EXPECT_THAT(Users("later.png"), IsEmpty());
    EXPECT_THAT(Users("d/u.png"), IsEmpty());
    EXPECT_THAT(ui, IsEmpty());
}

TEST_F(ChangeLoopTest, AMoveRewritesWhatRefersToIt) {
    Watch();
    Move("t.png", "v.png");
    EXPECT_THAT(Step(), ElementsAre("t.png>v.png"));
    EXPECT_EQ(project.Read("one.xml"), Naming("v.png"));
    EXPECT_THAT(Users("v.png"), ElementsAre("one.xml"));
    EXPECT_THAT(Step(), ElementsAre("*one.xml")) << "its own writing renames nothing";

    project.Write("two.xml", Naming("d/u.png") + " ");
    Move("d", "e/d");
    Step();
    EXPECT_EQ(project.Read("two.xml"), Naming("e/d/u.png") + " ") << "changed just before";

    Move("v.png", "w.png");
    Move("w.png", "e/x.png");
    Step();
    EXPECT_EQ(project.Read("one.xml"), Naming("e/x.png")) << "moved twice";
    EXPECT_THAT(ui, ElementsAre(true, false, true, false, true, false));
}

TEST_F(ChangeLoopTest, OnlyAnAdjacentRemovalAndAdditionOfOneNameIsAMove) {
    Watch();
    project.Remove("t.png");
    project.Touch("other.png");
    Step();
    EXPECT_EQ(project.Read("one.xml"), Naming("t.png")) << "another name";
    project.Touch("e/u.png");
    project.Remove("d/u.png");
    Step();
    EXPECT_EQ(project.Read("two.xml"), Naming("d/u.png")) << "added first";
    project.Write("two.xml", Naming("other.png"));
    Step();
    project.Remove("other.png");
    project.Touch("d/other.png");
    Step();
    EXPECT_EQ(project.Read("two.xml"), Naming("d/other.png"));
}

TEST_F(ChangeLoopTest, SavingByRenamingTheOldFileAwayIsNoMove) {
    Watch();
    Move("t.png", "t.png~");
    project.Write("t.png", "saved");
    Step();
    EXPECT_EQ(project.Read("one.xml"), Naming("t.png"));
    project.Write("t.tmp", "saved again");
    Move("t.tmp", "t.png");
    EXPECT_THAT(Step(), ElementsAre("*t.png"));
    EXPECT_THAT(Users("t.png"), ElementsAre("one.xml"));
}

TEST_F(ChangeLoopTest, ARenameOfOurOwnIsNotMadeTwice) {
    Watch();
    SignalWait<CDependencyManager::FileRenamed> renamed;
    ASSERT_TRUE(Manager().SyncRename(project.Resource("t.png"), project.Resource("v.png")));
    renamed.Until(1);
    const auto written = fs::last_write_time(project.Resource("one.xml"));
    Step();
    Step();
    vxThread<0>::Handle.run_pending();
    EXPECT_EQ(renamed.Count(), 1);
    EXPECT_EQ(fs::last_write_time(project.Resource("one.xml")), written);
    EXPECT_THAT(Users("v.png"), ElementsAre("one.xml"));
}

TEST_F(ChangeLoopTest, WhatHappensWhileWatchingIsOffIsFoundButNotFollowed) {
    Watch();
    Manager().DoWatch(false);
    Move("t.png", "v.png");
    project.Write("three.xml", Naming("v.png"));
    EXPECT_FALSE(Scanner().WaitUntilCaughtUp(std::chrono::minutes(1)));
    Manager().DoWatch(true);
    EXPECT_THAT(Step(), ElementsAre("-t.png", "+three.xml", "+v.png"));
    EXPECT_EQ(project.Read("one.xml"), Naming("t.png"));
    EXPECT_THAT(Users("v.png"), ElementsAre("three.xml"));
    EXPECT_THAT(ui, ElementsAre(true, false, true, false));
    EXPECT_EQ(Manager().GetScanProgress(), 100);
    Move("v.png", "t.png");
    Step();
    EXPECT_EQ(project.Read("three.xml"), Naming("t.png")) << "from then on all is followed";
}

// The graph as it is, and as a new store would have it.
std::pair<std::string, std::string> GraphAndFreshGraph() {
    const auto graph = [] {
        std::string text;
        GraphReader(GeneralDependency::Instance())
            .ForEach(Direction::Forward, [&text](const std::string& key, const List& edges) {
                text += key + ":";
                for (const std::string& edge : edges) text += " " + edge;
                text += "\n";
            });
        return text;
    };
    const std::string kept = graph();
    GeneralDependency::Instance()->Clear();
    vxThread<0>::Handle.run_pending();  // the ends of earlier scans
    Scan();
    return {kept, graph()};
}

TEST_F(ChangeLoopTest, LoopScanQueriesAndRenamesMayRunAtOnce) {
    for (int i = 0; i < 40; ++i) {
        project.Write("s/" + std::to_string(i) + ".xml", Naming("t.png"));
    }
    const LogCapture log;  // there is much to tell of files that are gone again
    Manager().RegisterUpdateDependencyUIFunction([](bool) {});
    Manager().BeginScan();
    Manager().BeginMonitor();
    std::atomic<bool> stop{false};
    const auto until = [&stop](auto work) {
        return std::thread([&stop, work] {
            for (unsigned i = 0; !stop; ++i) work(i);
        });
    };
    std::thread threads[] = {
        until([this](unsigned i) { Manager().GetDependency("t.png", i % 2 == 0); }),
        until([this](unsigned i) {
            Manager().GetDependency("s/" + std::to_string(i % 40) + ".xml", false);
        }),
        until([this](unsigned i) {
            const std::string names[] = {project.Resource("d/u.png"), project.Resource("v.png")};
            Manager().SyncRename(names[i % 2], names[(i + 1) % 2]);
        }),
    };
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) {
        const std::string file = "s/" + std::to_string(random() % 40) + ".xml";
        if (i % 50 == 0) Manager().BeginScan();
        if (i % 40 == 20) Manager().DoWatch(i % 80 == 60);
        if (i % 20 == 7) Move("t.png", "e/t.png");
        if (i % 20 == 17) Move("e/t.png", "t.png");
        random() % 4 == 0 ? project.Remove(file)
                          : void(project.Write(file, Naming(i % 2 == 0 ? "t.png" : "d/u.png")));
    }
    Manager().DoWatch(true);
    stop = true;
    for (std::thread& thread : threads) thread.join();
    ASSERT_TRUE(Scanner().WaitUntilCaughtUp(std::chrono::minutes(2)));
    const auto [kept, fresh] = GraphAndFreshGraph();
    EXPECT_EQ(kept, fresh);
}

TEST_F(ChangeLoopTest, FollowsWhatABatchSaysThroughItsRenames) {
    using vxio::DirectoryChangeParam;
    const std::string root = InterfaceBox::Instance().GetResourceRoot();
    const auto sorted = [&root](const std::vector<std::pair<int, std::string>>& changes) {
        std::vector<DirectoryChangeParam> batch;
        for (const auto& [action, name] : changes) batch.push_back({action, root, name, ""});
        return SortChanges(batch);
    };
    const ChangeBatch batch = sorted({{2, "a\\x"},
                                      {2, "b"},
                                      {3, "a"},
                                      {4, "c"},
                                      {0, "c\\y"},
                                      {3, "c\\x"},
                                      {4, "z"},
                                      {3, "lonely"}});
    EXPECT_THAT(batch.touched, ElementsAre("b", "lonely"));
    EXPECT_THAT(batch.oldNames, ElementsAre("a", "c/x"));
    EXPECT_THAT(batch.newNames, ElementsAre("c", "z"));
    EXPECT_THAT(batch.moved, ElementsAre("a", "c", "c/x", "c/y", "z"));
}

TEST(RescanPlan, WaitsLongerEachTimeUntilAllIsCalm) {
    RescanPlan plan;
    std::int64_t now = 0;
    const auto waited = [&] {
        const std::int64_t since = now;
        for (plan.Want("overflow"); !plan.IsDue(now);) ++now;
        plan.Begin();
        plan.End(now);
        return now - since;
    };
    for (const std::int64_t delay : {0, 1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000}) {
        EXPECT_EQ(waited(), delay);
    }
    now += 1'000'000;
    EXPECT_EQ(waited(), 0);
    EXPECT_EQ(waited(), RescanPlan::kFirstDelay);
}

}  // namespace
}  // namespace vexa::test
