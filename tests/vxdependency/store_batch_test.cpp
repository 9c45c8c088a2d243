#include <gmock/gmock.h>

#include <latch>
#include <set>
#include <thread>

#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/vxdependency/store_support.h"
#include "vxdependency/store/WriteBatch.h"

namespace vexa::vxdependency::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using vexa::test::FullDisk;
using vexa::test::LogCapture;

constexpr int kMany = 50000;

// Room for the start of a file alone.
constexpr int kLittle = 4096;

std::string Level(int number) {
    return "levels/house_" + std::to_string(number) + ".scene";
}

using StoreBatchTest = StoreTest;

TEST_F(StoreBatchTest, OwnReadsSeeWhatIsPendingAndOthersTheLastCommit) {
    ASSERT_TRUE(m_store.AddDependency("k", "old", 3));
    StoreBatch batch(&m_store);
    EXPECT_TRUE(m_store.SetDependency("k", {"v", "w"}, 3));
    EXPECT_TRUE(m_store.SetTimeStamp("k", 3));
    EXPECT_TRUE(m_store.SetFile("k", {1, 2, 3, false}));
    EXPECT_THAT(Forward("k"), ElementsAre("v", "w"));
    EXPECT_THAT(Inverse("v"), ElementsAre("k"));
    CatalogueEntry entry;
    EXPECT_TRUE(m_store.FindFile("k", entry));
    std::jthread([&] {
        std::int64_t time = 0;
        EXPECT_THAT(Forward("k"), ElementsAre("old"));
        EXPECT_TRUE(m_store.GetTimeStamp("k", time));
        EXPECT_EQ(time, 0);
        EXPECT_FALSE(m_store.FindFile("k", entry));
        EXPECT_TRUE(m_store.FlushBatch());
        EXPECT_THAT(Forward("k"), ElementsAre("v", "w"));
        EXPECT_TRUE(m_store.FindFile("k", entry));
    }).join();
}

TEST_F(StoreBatchTest, WritesOfOtherThreadsFollowWhatIsPending) {
    StoreBatch batch(&m_store);
    EXPECT_TRUE(m_store.SetDependency("k", {"v"}, 3));
    std::jthread([&] { EXPECT_TRUE(m_store.AddDependency("k", "w", 3)); }).join();
    EXPECT_THAT(Forward("k"), ElementsAre("v", "w"));
    std::jthread([&] {
        StoreBatch other(&m_store);  // does not wait for the first to end
        EXPECT_TRUE(m_store.AddDependency("k", "x", 3));
        EXPECT_THAT(Forward("k"), ElementsAre("v", "w", "x"));
    }).join();
    EXPECT_TRUE(batch.End());
    EXPECT_THAT(Inverse("x"), ElementsAre("k"));
}

TEST_F(StoreBatchTest, ThreadsAtOnceLoseNothing) {
    std::latch start(4);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            std::optional<StoreBatch> batch;
            if (thread % 2 == 0) batch.emplace(&m_store);
            start.arrive_and_wait();
            for (int i = 0; i < 25; ++i) {
                EXPECT_TRUE(m_store.AddDependency(Level(thread * 25 + i), "hot", 3));
                EXPECT_TRUE(m_store.BatchCheckpoint());
                Inverse("hot");
            }
        });
    }
    threads.clear();
    const List dependents = Inverse("hot");
    EXPECT_THAT(std::set(dependents.begin(), dependents.end()), SizeIs(100));
    EXPECT_THAT(dependents, SizeIs(100));
}

TEST_F(StoreBatchTest, FailedFlushDropsEverythingAndLaterBatchesWork) {
    ASSERT_TRUE(m_store.AddDependency("k", "old", 3));
    LogCapture log;
    StoreBatch batch(&m_store);
    EXPECT_TRUE(m_store.RenameKey("k", "l"));
    EXPECT_TRUE(m_store.SetFile("k", {}));
    {
        const FullDisk full(kLittle);
        EXPECT_FALSE(m_store.FlushBatch());
    }
    EXPECT_THAT(m_store.GetWriteError(), HasSubstr(Directory().Path()));
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr(Directory().Path())));
    EXPECT_THAT(Forward("k"), ElementsAre("old"));
    EXPECT_THAT(Inverse("old"), ElementsAre("k"));
    CatalogueEntry entry;
    EXPECT_FALSE(m_store.FindFile("k", entry));
    EXPECT_TRUE(m_store.AddDependency("k", "new", 3));
    EXPECT_TRUE(batch.End());
    EXPECT_THAT(Forward("k"), ElementsAre("old", "new"));
}

// Otherwise the stamp would call up to date what was never stored.
TEST_F(StoreBatchTest, FlushThatFailsForAnotherThreadFailsTheRestOfTheFile) {
    LogCapture log;
    StoreBatch batch(&m_store);
    EXPECT_TRUE(m_store.SetDependency("k", {"v"}, 3));
    std::jthread([&] {
        const FullDisk full(kLittle);
        EXPECT_FALSE(m_store.AddDependency("other", "v", 3));
    }).join();
    EXPECT_FALSE(m_store.SetTimeStamp("k", 3));
    EXPECT_FALSE(m_store.BatchCheckpoint());
    EXPECT_TRUE(m_store.SetTimeStamp("k", 4));
    EXPECT_TRUE(batch.End());
    EXPECT_THAT(Inverse("v"), IsEmpty());
}

TEST_F(StoreBatchTest, HotListsTakeTimeInProportion) {
    StoreBatch batch(&m_store);
    for (int i = 0; i < kMany; ++i) ASSERT_TRUE(m_store.AddDependency(Level(i), "hot", 3));
    ASSERT_TRUE(m_store.FlushBatch());
    for (int i = kMany; i-- > 0;) ASSERT_TRUE(m_store.RenameValue(Level(i), "hot", "new"));
    ASSERT_TRUE(batch.End());
    EXPECT_THAT(Inverse("hot"), IsEmpty());
    EXPECT_THAT(Inverse("new"), SizeIs(kMany));
    EXPECT_THAT(Forward(Level(7)), ElementsAre("new"));
}

class BatchLimits : public ::testing::Test {
protected:
    BatchLimits() {
        const std::string& path = m_directory.Path();
        EXPECT_TRUE(
            m_database.OpenDatabase(path.c_str(), static_cast<unsigned>(path.size()), false))
            << m_database.GetError();
    }
    bool IsStored(const std::string& key) {
        std::string value;
        return ReadRecord(m_database, IdOf(key), value, ReadTransaction(m_database)) == 0;
    }
    bool IsStoredByCheckpoint(WriteBatch& batch, const std::string& key, std::size_t size = 1) {
        EXPECT_TRUE(batch.Set(key, {std::string(size, 'v')}, 3));
        EXPECT_TRUE(batch.Checkpoint());
        return IsStored(key);
    }

    vexa::test::TempDir m_directory;
    VXDatabase m_database;
    WriteBatch::Clock::time_point m_now;
};

TEST_F(BatchLimits, FlushesAfterTimeAndSize) {
    WriteBatch batch(m_database, {10s, 100000, [this] { return m_now; }});
    batch.Begin();
    batch.Begin();
    const struct {
        const char* key;
        std::chrono::seconds later;
        std::size_t size;
        bool stored;
    } steps[] = {{"at once", 0s, 1, false},   {"early", 9s, 1, false},
                 {"in time", 1s, 1, true},    {"early again", 9s, 1, false},
                 {"large", 0s, 120000, true}, {"small", 0s, 1, false}};
    for (const auto& [key, later, size, stored] : steps) {
        m_now += later;
        EXPECT_EQ(IsStoredByCheckpoint(batch, key, size), stored) << key;
    }
    EXPECT_TRUE(batch.End());
    EXPECT_FALSE(IsStored("small")) << "an inner level is no end";
    EXPECT_TRUE(batch.End());
    EXPECT_TRUE(IsStored("small"));
    EXPECT_FALSE(batch.End());
}

TEST_F(BatchLimits, RestsTenTimesAsLongAsItFlushed) {
    // Each look at the clock takes a second, so a flush does.
    WriteBatch batch(m_database, {0s, 100000000, [this] { return m_now += 1s; }});
    batch.Begin();
    EXPECT_TRUE(IsStoredByCheckpoint(batch, "a"));
    for (int second = 1; second < 10; ++second) {
        EXPECT_FALSE(IsStoredByCheckpoint(batch, "b")) << second;
    }
    EXPECT_TRUE(IsStoredByCheckpoint(batch, "b"));
    EXPECT_TRUE(batch.End());
}

}  // namespace
}  // namespace vexa::vxdependency::test
