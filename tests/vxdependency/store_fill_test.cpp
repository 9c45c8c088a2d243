#include <gmock/gmock.h>

#include <map>
#include <set>
#include <thread>

#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/vxdependency/store_support.h"
#include "vxdependency/store/FillWriter.h"
#include "vxdependency/store/StoreFill.h"

namespace vexa::vxdependency::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using vexa::test::ChildProcess;
using vexa::test::FullDisk;
using vexa::test::LogCapture;

using Records = std::map<std::string, std::string>;
using Tables = std::pair<Records, Records>;

const std::string kDirectory = "/project/res/";

// A tree of so many files.
class Tree final : public IFileNames {
public:
    explicit Tree(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) m_keys.push_back("d/" + std::to_string(i) + ".xml");
        std::ranges::sort(m_keys);
    }
    std::size_t Size() const override { return m_keys.size(); }
    std::uint32_t Find(std::string_view key) const override {
        return static_cast<std::uint32_t>(std::ranges::find(m_keys, key) - m_keys.begin());
    }
    std::string_view KeyOf(std::uint32_t file) const override { return m_keys[file]; }
    std::int64_t WriteTime(std::uint32_t file) const override { return 1000 + file; }
    std::int64_t WriteTimeNs(std::uint32_t file) const override {
        return WriteTime(file) * 1'000'000'000 + 5;
    }
    std::uint64_t SizeOf(std::uint32_t file) const override { return file; }

private:
    std::vector<std::string> m_keys;
};

// What is read of a file: some of each kind.
struct Reading {
    GeneralDependency::List list;
    Findings findings;
    bool stamped;
    bool failed;
};

Reading ReadingOf(const Tree& tree, std::uint32_t file) {
    Reading reading{{}, {}, file % 5 != 0, file % 7 == 0};
    for (std::uint32_t i = 0; reading.stamped && i < file % 4; ++i) {
        reading.list.emplace_back(
            tree.KeyOf(file * 7 / (i + 1) % static_cast<std::uint32_t>(tree.Size())));
    }
    if (file % 6 == 1) reading.list.push_back("not/there" + std::to_string(file % 4));
    if (file % 9 == 1) reading.findings = {{{3, 1, "rule", "text"}}, {file / 9, 77}};
    const auto rest = std::ranges::unique(reading.list);
    reading.list.erase(rest.begin(), rest.end());
    return reading;
}

class StoreFillTest : public StoreTest {
protected:
    Tables AllRecords() {
        Tables tables;
        const ReadTransaction transaction(m_store.Database());
        for (auto [table, records] : {std::pair(DatabaseTable::Dependency, &tables.first),
                                      std::pair(DatabaseTable::Catalogue, &tables.second)}) {
            const auto take = [records = records](std::string_view key, std::string_view value) {
                records->emplace(key, value);
                return true;
            };
            EXPECT_TRUE(m_store.Database().ForEach(table, "", take, transaction));
        }
        return tables;
    }

    void StoreOneByOne(const Tree& tree, std::uint32_t begin, std::uint32_t end) {
        for (std::uint32_t i = begin; i < end; ++i) {
            const std::string key(tree.KeyOf(i));
            const Reading reading = ReadingOf(tree, i);
            StoreBatch batch(&m_store);
            if (!reading.list.empty()) m_store.SetDependency(key, reading.list, 3);
            if (reading.stamped) m_store.SetTimeStamp(kDirectory + key, tree.WriteTime(i));
            m_store.SetFile(key, {tree.WriteTimeNs(i), tree.SizeOf(i),
                                  static_cast<std::uint32_t>(reading.list.size()), reading.failed});
            m_store.SetFindings(key, reading.findings);
        }
    }

    // Adds files in parts, the last ones first.
    void Add(const Tree& tree, StoreFill& fill, std::uint32_t begin, std::uint32_t end) {
        constexpr std::uint32_t kPart = 100;
        for (std::uint32_t part = (end - 1) / kPart * kPart; part + kPart > begin; part -= kPart) {
            FilledFiles run;
            run.position = part;
            for (std::uint32_t i = std::max(begin, part); i < std::min(end, part + kPart); ++i) {
                Append(tree, fill, i, run);
            }
            m_store.AddToFill(std::move(run));
            if (part == 0) break;
        }
    }

private:
    static void Append(const Tree& tree, StoreFill& fill, std::uint32_t file, FilledFiles& run) {
        Reading reading = ReadingOf(tree, file);
        run.files.push_back({file, static_cast<std::uint32_t>(reading.list.size()), reading.stamped,
                             reading.failed});
        for (const std::string& entry : reading.list) {
            std::uint32_t number = 0;
            while (number < tree.Size() && tree.KeyOf(number) != entry) ++number;
            run.references.push_back(number < tree.Size() ? number : fill.NumberOf(entry));
        }
        if (!reading.findings.IsEmpty()) run.findings.emplace_back(file, reading.findings);
    }
};

// In one transaction or many, in one round or two, or when another thread has stored some of it.
TEST_F(StoreFillTest, StoresTheBytesOfOneByOneWriting) {
    constexpr std::uint32_t kFiles = 700;
    const Tree tree(kFiles);
    StoreOneByOne(tree, 0, kFiles);
    const Tables expected = AllRecords();
    ASSERT_THAT(expected.second, SizeIs(::testing::Gt(kFiles)));
    const struct {
        const char* what;
        std::size_t bytesPerCommit;
        std::uint32_t firstRound;
        std::uint32_t stored;
    } cases[] = {{"at once", 0, kFiles, 0},
                 {"many transactions", 2000, kFiles, 0},
                 {"two rounds", 5000, 300, 0},
                 {"some are stored", 3000, kFiles, 300}};
    for (const auto& [what, bytesPerCommit, firstRound, stored] : cases) {
        SCOPED_TRACE(what);
        ASSERT_TRUE(m_store.Clear());
        StoreOneByOne(tree, 0, stored);
        StoreBatch batch(&m_store);
        StoreFill fill(tree, kDirectory, bytesPerCommit);
        ASSERT_TRUE(m_store.OpenFill(fill));
        Add(tree, fill, 0, firstRound);
        EXPECT_TRUE(m_store.FlushBatch());
        if (firstRound < kFiles) Add(tree, fill, firstRound, kFiles);
        EXPECT_TRUE(m_store.CloseFill());
        EXPECT_TRUE(batch.End());
        const Tables tables = AllRecords();
        EXPECT_TRUE(tables.first == expected.first);
        EXPECT_TRUE(tables.second == expected.second);
    }
}

// Of so many files some share an id, as a list and a stamp.
TEST_F(StoreFillTest, TextsOfOneIdAreStoredInTheOrderOfTheFiles) {
    constexpr std::uint32_t kFiles = 90000;
    const Tree tree(kFiles);
    FilledFiles run;
    std::set<RecordId> ids;
    StoreBatch batch(&m_store);
    for (std::uint32_t i = 0; i < kFiles; ++i) {
        const std::string key(tree.KeyOf(i));
        const std::uint32_t target = (i + 1) % kFiles;
        m_store.SetDependency(key, List{std::string(tree.KeyOf(target))}, 3);
        m_store.SetTimeStamp(kDirectory + key, tree.WriteTime(i));
        run.files.push_back({i, 1, true, false});
        run.references.push_back(target);
        ids.insert({IdOf(key), IdOf(InverseText(key)), IdOf(StampText(kDirectory + key))});
    }
    ASSERT_LT(ids.size(), 3 * kFiles) << "no records are shared";
    ASSERT_TRUE(batch.End());
    const Records expected = AllRecords().first;
    ASSERT_TRUE(m_store.Clear());
    StoreBatch second(&m_store);
    StoreFill fill(tree, kDirectory, 1 << 20);
    ASSERT_TRUE(m_store.OpenFill(fill));
    m_store.AddToFill(std::move(run));
    ASSERT_TRUE(m_store.CloseFill());
    EXPECT_TRUE(AllRecords().first == expected);
}

TEST_F(StoreFillTest, AThreadThatStoresAFileWaitsForAFillOnlyIfItKnewAnotherState) {
    const Tree tree(50);
    StoreBatch batch(&m_store);
    StoreFill fill(tree, kDirectory);
    ASSERT_TRUE(m_store.OpenFill(fill));
    Add(tree, fill, 0, 50);
    const auto store = [&](std::uint32_t file, std::int64_t later, const List& seenBefore) {
        const std::string key(tree.KeyOf(file));
        const CatalogueEntry state{tree.WriteTimeNs(file) + later, tree.SizeOf(file), 1, false};
        std::jthread([&] {
            StoreBatch own(&m_store);
            EXPECT_TRUE(m_store.FlushOtherBatch(key, state));
            EXPECT_EQ(Forward(key), seenBefore);
            EXPECT_TRUE(m_store.SetDependency(key, List{"new"}, 3));
            EXPECT_TRUE(m_store.SetFile(key, state));
            EXPECT_TRUE(m_store.SetFile(std::string(tree.KeyOf(7)), {})) << "the name of a target";
        }).join();
    };
    store(3, 0, {});
    store(6, 1, ReadingOf(tree, 6).list);
    EXPECT_TRUE(m_store.CloseFill());
    EXPECT_THAT(Forward(std::string(tree.KeyOf(3))), ElementsAre("new"));
    EXPECT_THAT(Forward(std::string(tree.KeyOf(6))), ElementsAre("new"));
    EXPECT_EQ(Forward(std::string(tree.KeyOf(7))), ReadingOf(tree, 7).list);
}

// Rather an empty store than one that lacks some of the lists.
TEST_F(StoreFillTest, AFillThatFailsLeavesAnEmptyStore) {
    const Tree tree(5000);
    LogCapture log;
    StoreBatch batch(&m_store);
    StoreFill fill(tree, kDirectory, 20000);
    ASSERT_TRUE(m_store.OpenFill(fill));
    Add(tree, fill, 0, 2000);
    {
        const FullDisk full(100000);
        EXPECT_FALSE(m_store.CloseFill());
    }
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr(Directory().Path())));
    const Tables tables = AllRecords();
    EXPECT_THAT(tables.first, IsEmpty());
    EXPECT_THAT(tables.second, SizeIs(1)) << "the layout version";
    EXPECT_TRUE(m_store.SetDependency("k", List{"v"}, 3));
    EXPECT_TRUE(batch.End());
}

TEST_F(StoreFillTest, AFillThatWasKilledIsDroppedAndOneThatGoesOnIsNot) {
    const vexa::test::TempDir directory;
    const std::string& path = directory.Path();
    const auto open = [&path](VXDatabase& database) {
        return database.OpenDatabase(path.c_str(), static_cast<unsigned>(path.size()), false);
    };
    const auto write = [](FillWriter& writer, char key) {
        return writer.Write(DatabaseTable::Dependency, {&key, 1}, std::string(100, 'v'));
    };
    ChildProcess killed([&] {
        VXDatabase database;
        if (!open(database)) return 1;
        FillWriter writer(database, 1);
        if (!writer.Begin() || !write(writer, 'a') || !write(writer, 'b')) return 1;
        ::kill(::getpid(), SIGKILL);
        return 1;
    });
    ASSERT_EQ(killed.Wait(), -SIGKILL);
    VXDatabase database;
    ASSERT_TRUE(open(database)) << database.GetError();
    std::string value;
    const auto isStored = [&](char key) {
        return database.Get(&key, 1, value, ReadTransaction(database)) == 0;
    };
    EXPECT_TRUE(isStored('b')) << "each write was committed";
    bool dropped = false;
    EXPECT_TRUE(DropHalfFill(database, dropped));
    EXPECT_TRUE(dropped);
    EXPECT_FALSE(isStored('a'));

    std::jthread waiting;
    {
        FillWriter writer(database, 1);
        ASSERT_TRUE(writer.Begin() && write(writer, 'c'));
        waiting = std::jthread([&] {
            EXPECT_TRUE(DropHalfFill(database, dropped));
            EXPECT_FALSE(dropped) << "it waits until the fill is whole";
        });
        ASSERT_TRUE(write(writer, 'd') && writer.End());
    }
    waiting.join();
    EXPECT_TRUE(isStored('c') && isStored('d'));
}

}  // namespace
}  // namespace vexa::vxdependency::test
