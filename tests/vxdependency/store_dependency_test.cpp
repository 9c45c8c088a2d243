#include <gmock/gmock.h>

#include <random>

#include "tests/support/LogCapture.h"
#include "tests/vxdependency/store_model.h"
#include "tests/vxdependency/store_support.h"

namespace vexa::vxdependency::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vexa::test::LogCapture;

// The rest of their rules is StoreModel's.
TEST_F(StoreTest, RulesOfSingleOperations) {
    EXPECT_TRUE(m_store.AddDependency("k", "v", 3));
    EXPECT_TRUE(m_store.AddDependency("k", "v", 3));
    EXPECT_EQ(Bytes("k"), "v#");
    EXPECT_EQ(Bytes("v#"), "k#");

    std::int64_t time = 5;
    EXPECT_TRUE(m_store.SetTimeStamp("a\\b.png", -7));
    EXPECT_TRUE(m_store.GetTimeStamp("a\\b.png", time));
    EXPECT_EQ(time, 5);
    EXPECT_TRUE(m_store.GetTimeStamp("a/b.png", time));
    EXPECT_EQ(time, -7);
    EXPECT_TRUE(m_store.EraseTimeStamp("a\\b.png"));
    EXPECT_EQ(Bytes("a/b.png!"), std::nullopt);
}

TEST_F(StoreTest, CatalogueIsARangeOfKeys) {
    for (const char* key : {"fx/a", "fx/b/c", "fx0", "fw", "fx"}) {
        EXPECT_TRUE(m_store.SetFile(key, {1, 2, 3, true}));
    }
    EXPECT_TRUE(m_store.EraseFile("fw"));
    EXPECT_TRUE(m_store.EraseFile("fw"));
    EXPECT_TRUE(m_store.SetMeta("configuration", "text"));
    const auto keys = [this](const std::string& prefix, std::size_t atMost) {
        List found;
        m_store.ForEachFile(prefix, [&](std::string_view key, const CatalogueEntry& entry) {
            EXPECT_EQ(entry, (CatalogueEntry{1, 2, 3, true}));
            found.emplace_back(key);
            return found.size() < atMost;
        });
        return found;
    };
    EXPECT_THAT(keys("fx/", 9), ElementsAre("fx/a", "fx/b/c"));
    EXPECT_THAT(keys("", 9), ElementsAre("fx", "fx/a", "fx/b/c", "fx0"));
    EXPECT_THAT(keys("", 1), ElementsAre("fx"));
    std::string text;
    EXPECT_TRUE(m_store.GetMeta("configuration", text));
    EXPECT_EQ(text, "text");
    EXPECT_FALSE(m_store.GetMeta("other", text));
}

// Keys that are suffixes of one another, hold separators, are empty, and name records of other
// keys ("b#" is where the inverse list of "b" is, "a!" the stamp of "a").
class RandomSteps : public StoreTest {
protected:
    static constexpr std::int64_t kStampThatIsAList = 0x2361236161626123;  // "#abaa#a#"

    const std::string& Key() {
        static const List keys = {"a", "b", "ab", "bab", "", "b#", "a#b", "a!", "#", "c/a"};
        return keys[Number(keys.size())];
    }
    std::size_t Number(std::size_t below) { return m_random() % below; }
    List Values() {
        List values(Number(4));
        for (std::string& value : values) value = Key();
        return values;
    }

    // Does one random thing to store and model and compares what both say.
    void Step() {
        const std::size_t kind = Number(12);
        const std::string key = Key();
        const List values = Values();
        const std::string first = Key();
        const std::string second = Key();
        const auto mode = static_cast<signed char>(Number(4));
        const std::int64_t time = Number(2) == 0 ? kStampThatIsAList : 12345;
        SCOPED_TRACE("step kind " + std::to_string(kind) + " key '" + key + "' mode " +
                     std::to_string(mode) + " values " + ::testing::PrintToString(values) + " '" +
                     first + "' '" + second + "'");
        const auto apply = [&](auto& lists) -> bool {
            if (kind == 0) return lists.EraseForward(key);
            if (kind == 1) return lists.SetDependency(key, values, mode);
            if (kind == 2) return lists.RemoveDependency(key, values, mode);
            if (kind == 3) return lists.RemoveDependency(key, mode);
            if (kind == 4) return lists.RemoveInverseDependency(key, first);
            if (kind == 5) return lists.RenameKey(key, first);
            if (kind == 6) return lists.RenameValue(key, first, second);
            if (kind == 7) return lists.EraseInverseEntry(key, first);
            if (kind == 8) return lists.SetTimeStamp(key, time);
            return lists.AddDependency(key, values, mode);  // more often: most others take away
        };
        if (kind == 11) return SameReads(key);
        ASSERT_EQ(apply(m_store), apply(m_model));
    }
    void SameReads(const std::string& key) {
        List forward;
        List inverse;
        std::int64_t time = -1;
        ASSERT_TRUE(m_store.GetAllDependency(key, forward, inverse));
        ASSERT_EQ(forward, m_model.Get(key));
        ASSERT_EQ(inverse, m_model.Get(key + "#"));
        ASSERT_TRUE(m_store.GetTimeStamp(key, time));
        ASSERT_EQ(time, m_model.GetTimeStamp(key));
    }
    void SameBytes() {
        std::map<std::string, std::string> stored;
        const auto take = [&](std::string_view id, std::string_view value) {
            stored.emplace(id, value);
            return true;
        };
        ASSERT_TRUE(m_store.Database().ForEach(DatabaseTable::Dependency, {}, take,
                                               ReadTransaction(m_store.Database())));
        std::map<std::string, std::string> expected;
        for (const auto& [text, value] : m_model.records) {
            const RecordId id = IdOf(text);
            expected.emplace(std::string(reinterpret_cast<const char*>(&id), sizeof id), value);
        }
        ASSERT_EQ(stored, expected);
    }

    std::mt19937 m_random{20240229};
    StoreModel m_model;
    LogCapture m_log;  // values that are no list are reported
};

TEST_F(RandomSteps, OneByOneGiveTheModelsBytes) {
    for (int i = 0; i < 300; ++i) {
        ASSERT_NO_FATAL_FAILURE(Step()) << i;
        ASSERT_NO_FATAL_FAILURE(SameBytes()) << i;
        if (i % 50 == 0) {
            m_store.Close();
            ASSERT_TRUE(m_store.Open());
        }
    }
}

TEST_F(RandomSteps, BatchesGiveTheModelsBytes) {
    for (int round = 0; round < 60; ++round) {
        StoreBatch batch(&m_store);
        const std::size_t steps = Number(60);
        for (std::size_t i = 0; i < steps; ++i) {
            ASSERT_NO_FATAL_FAILURE(Step()) << round << "." << i;
            if (Number(20) == 0) {
                ASSERT_TRUE(m_store.FlushBatch());
            }
            if (Number(150) == 0) {
                ASSERT_TRUE(m_store.Clear());
                m_model.records.clear();
            }
        }
        ASSERT_TRUE(batch.End());
        ASSERT_NO_FATAL_FAILURE(SameBytes()) << round;
    }
}

TEST_F(StoreTest, ValueThatIsNoListIsReportedAndReadAsEmpty) {
    LogCapture log;
    ASSERT_TRUE(m_store.SetTimeStamp("x", 1));  // the forward list of "x!" has the same record
    EXPECT_THAT(Forward("x!"), IsEmpty());
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr("x!")));
}

// A store whose working directory is the fixture's own and which is not open.
class StoreOpening : public StoreTest {
protected:
    StoreOpening() {
        EXPECT_TRUE(m_store.AddDependency("old", "v", 3));
        m_store.Close();
    }
    ~StoreOpening() override { EXPECT_TRUE(m_store.IsOpen()); }
    void Reopen(const std::string& reason, const std::string& movedTo) {
        ASSERT_TRUE(m_store.Open()) << m_store.GetOpenError();
        EXPECT_THAT(Forward("old"), IsEmpty());
        EXPECT_TRUE(m_store.AddDependency("new", "v", 3));
        EXPECT_TRUE(Directory().Exists("temp/gen_dep/" + movedTo));
        EXPECT_THAT(m_log.TakeTexts(),
                    ElementsAre(AllOf(HasSubstr(Directory().Path() + "/temp/gen_dep: "),
                                      HasSubstr(reason), HasSubstr(movedTo))));
        m_store.Close();
        ASSERT_TRUE(m_store.Open());
        EXPECT_THAT(Forward("new"), ElementsAre("v")) << "the new store is kept";
    }
    LogCapture m_log;
};

TEST_F(StoreOpening, DamagedStoreIsMovedAside) {
    for (const char* movedTo : {"data.mdb.damaged-1", "data.mdb.damaged-2"}) {
        Directory().Write("temp/gen_dep/data.mdb", std::string(20000, 'x'));
        Reopen("damaged", movedTo);
        m_store.Close();
    }
    m_store.Open();
}

TEST_F(StoreOpening, OtherLayoutIsMovedAside) {
    const auto setVersion = [this](const std::optional<std::string>& version) {
        VXDatabase& database = m_store.Database();
        const std::string directory = Directory().Path("temp/gen_dep");
        ASSERT_TRUE(database.OpenDatabase(directory.c_str(), 999, false)) << database.GetError();
        MDB_txn* const transaction = database.TransBegin();
        ASSERT_TRUE(WriteCatalogueRecord(database, "v", version, transaction));
        ASSERT_TRUE(database.TransCommit(transaction));
        database.Close();
    };
    setVersion(std::string("\x09\0\0\0", 4));
    Reopen("layout 9", "data.mdb.layout-9-1");
    m_store.Close();
    setVersion(std::nullopt);
    Reopen("layout 0", "data.mdb.layout-0-1");
}

TEST_F(StoreOpening, OpeningsAreCounted) {
    ASSERT_TRUE(m_store.Open() && m_store.Open());
    m_store.Close();
    EXPECT_THAT(Forward("old"), ElementsAre("v"));
    m_store.Close();
    List list;
    EXPECT_FALSE(m_store.IsOpen() || m_store.GetDependency("old", list));
    ASSERT_TRUE(m_store.Open());
}

TEST_F(StoreOpening, ReasonNamesTheDirectory) {
    std::filesystem::remove_all(Directory().Path("temp"));
    Directory().Write("temp", "in the way");
    EXPECT_FALSE(m_store.Open());
    EXPECT_THAT(m_store.GetOpenError(), HasSubstr(Directory().Path() + "/temp/gen_dep: "));
    std::filesystem::remove(Directory().Path("temp"));
    EXPECT_TRUE(m_store.Open());
}

}  // namespace
}  // namespace vexa::vxdependency::test
