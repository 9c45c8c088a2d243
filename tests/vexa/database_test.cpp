#include <gmock/gmock.h>
#include <lmdb.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"
#include "vexa/db/VXDatabase.h"
#include "vexa/db/WriterLock.h"

namespace vexa {
namespace {

using namespace std::chrono_literals;
using test::ChildProcess;
using test::FullDisk;
using test::Signal;
using test::TempDir;
using testing::HasSubstr;

class Database : public VXDatabase {
public:
    explicit Database(const std::string& directory, bool readOnly = false) {
        OpenDatabase(directory.c_str(), static_cast<unsigned>(directory.size()), readOnly);
    }
    int Put(const std::string& key, const std::string& value, MDB_txn* transaction,
            DatabaseTable table = DatabaseTable::Dependency) {
        return Add(key.data(), static_cast<unsigned>(key.size()), value.data(), value.size(),
                   transaction, table);
    }
    int Find(const std::string& key, std::string& value, MDB_txn* transaction) {
        return Get(key.data(), static_cast<unsigned>(key.size()), value, transaction);
    }
    // A transaction for itself each.
    bool Store(const std::string& key, const std::string& value) {
        MDB_txn* transaction = TransBegin();
        const bool added = Put(key, value, transaction) == 0;
        return TransCommit(transaction) && added;
    }
    bool StoreMany(int begin, int end, const std::string& value) {
        MDB_txn* transaction = TransBegin();
        for (int i = begin; i < end; ++i) Put(std::to_string(i), value, transaction);
        return TransCommit(transaction);
    }
    // "" when there is none, or on failure.
    std::string Load(const std::string& key) {
        std::string value;
        MDB_txn* transaction = TransBeginRead();
        Find(key, value, transaction);
        TransAbort(transaction);
        return value;
    }
};

class DatabaseTest : public testing::Test {
protected:
    ~DatabaseTest() override { SetWriterPatience(30s); }

    TempDir m_directory;
    const std::string& m_path = m_directory.Path();
};

// Two records that every transaction of a writer changes together.
bool StorePair(Database& database, int number) {
    MDB_txn* transaction = database.TransBegin();
    database.Put("first", std::to_string(number), transaction);
    database.Put("second", std::to_string(number), transaction);
    return database.TransCommit(transaction);
}

// The number of the pair; -1 when the two differ.
int LoadPair(Database& database) {
    std::string first = "0";
    std::string second = "0";
    MDB_txn* transaction = database.TransBeginRead();
    const bool read = database.Find("first", first, transaction) != VXDatabase::kFailed &&
                      database.Find("second", second, transaction) != VXDatabase::kFailed;
    database.TransAbort(transaction);
    return read && first == second ? std::stoi(first) : -1;
}

// Looks at the pair until `isLast` of its number; false when it was torn or went back in time.
bool WatchPair(Database& database, const std::function<bool(int)>& isLast) {
    for (int before = 0; !isLast(before);) {
        const int now = LoadPair(database);
        if (now < before) return false;
        before = now;
    }
    return true;
}

TEST_F(DatabaseTest, ResultsOfRecordOperations) {
    Database database(m_path);
    MDB_txn* write = database.TransBegin();
    EXPECT_EQ(database.Put("key", "value", write), 0);
    EXPECT_EQ(database.Put("empty", "", write), 0);
    EXPECT_EQ(database.Put("", "value", write), VXDatabase::kFailed);
    EXPECT_EQ(database.Put(std::string(512, 'k'), "value", write), VXDatabase::kFailed);
    EXPECT_THAT(database.GetError(), HasSubstr(m_path));
    EXPECT_EQ(database.Put("key", "value", nullptr), VXDatabase::kFailed);
    EXPECT_EQ(database.Put("key", "other", write, DatabaseTable::Catalogue), 0);
    EXPECT_TRUE(database.TransCommit(write));
    write = database.TransBegin();
    EXPECT_TRUE(database.Clear(DatabaseTable::Catalogue, write));
    EXPECT_FALSE(database.Remove("absent", 6, write));
    EXPECT_TRUE(database.TransCommit(write));
    write = database.TransBegin();
    EXPECT_TRUE(database.Remove("key", 3, write));
    database.TransAbort(write);

    MDB_txn* read = database.TransBeginRead();
    std::string value = "before";
    EXPECT_EQ(database.Find("absent", value, read), -30798);
    EXPECT_EQ(database.Find("key", value, nullptr), VXDatabase::kFailed);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(database.Find("empty", value, read), 0);
    EXPECT_EQ(value, "");
    for (const auto& [length, expected] :
         std::map<unsigned, std::string>{{0, "12345678"}, {3, "val45678"}, {8, "value678"}}) {
        std::string buffer = "12345678";
        EXPECT_EQ(database.Get("key", 3, buffer.data(), length, read), 0);
        EXPECT_EQ(buffer, expected);
    }
    EXPECT_EQ(database.Put("key", "value", read), VXDatabase::kFailed);
    EXPECT_TRUE(database.TransCommit(read));
}

TEST_F(DatabaseTest, OpeningsCount) {
    auto first = std::make_unique<Database>(m_path);
    Database second(m_directory.Path("."));
    ASSERT_TRUE(second.OpenDatabase(m_path.c_str(), 1000, true));
    first.reset();
    second.Close();
    EXPECT_TRUE(second.Store("key", "value"));
    const std::string other = m_directory.MakeDir("other");
    EXPECT_FALSE(second.OpenDatabase(other.c_str(), 1000, false));
    EXPECT_THAT(second.GetError(), HasSubstr("cannot be opened while " + m_path + " is open"));
    second.Close();
    second.Close();
    EXPECT_FALSE(second.IsOpen());
    EXPECT_TRUE(!second.TransBegin() && !second.TransBeginRead());
    EXPECT_THAT(second.GetError(), HasSubstr("no database is open"));
    EXPECT_EQ(Database(m_path).Load("key"), "value");
}

TEST_F(DatabaseTest, RefusedOpeningsSayWhyAndMakeNothing) {
    VXDatabase database;
    const std::string empty = m_directory.MakeDir("empty");
    for (const auto& [path, error] : std::map<std::string, std::string>{
             {m_directory.Path("missing"), "No such file or directory"},
             {empty, "holds no database"}}) {
        EXPECT_FALSE(database.OpenDatabase(path.c_str(), 1000, true));
        EXPECT_EQ(database.GetError(), path + ": " + error);
        EXPECT_FALSE(database.IsDamaged());
    }
    EXPECT_TRUE(std::filesystem::is_empty(empty));

    ASSERT_TRUE(Database(m_path).Store("key", "value"));
    Database reader(m_path, true);
    EXPECT_EQ(reader.Load("key"), "value");
    EXPECT_EQ(reader.TransBegin(), nullptr);
    EXPECT_THAT(reader.GetError(), HasSubstr("reading only"));
    EXPECT_FALSE(Database(m_path).IsOpen()) << "LMDB forbids a second, writing opening";
}

TEST_F(DatabaseTest, DirectoryThatWasReplacedIsAnotherDatabase) {
    const std::string path = m_directory.MakeDir("store");
    Database before(path);
    ASSERT_TRUE(before.Store("key", "before"));
    std::filesystem::rename(path, m_directory.Path("aside"));
    m_directory.MakeDir("store");
    EXPECT_EQ(Database(path).Load("key"), "");
    EXPECT_EQ(before.Load("key"), "before");
}

TEST_F(DatabaseTest, EndedTransactionsAreIgnored) {
    Database database(m_path);
    MDB_txn* ended = database.TransBegin();
    EXPECT_EQ(database.TransBegin(), nullptr) << "the thread has one already";
    for (MDB_txn* twice : {ended, ended}) database.TransAbort(twice);
    std::thread([&] {
        // LMDB has one address for all write transactions.
        MDB_txn* live = database.TransBegin();
        ASSERT_EQ(live, ended);
        std::thread([&] { EXPECT_FALSE(database.TransCommit(ended)); }).join();
        EXPECT_EQ(database.Put("key", "value", live), 0);
        EXPECT_TRUE(database.TransCommit(live));
    }).join();
    EXPECT_EQ(database.Load("key"), "value");
}

TEST_F(DatabaseTest, CloseEndsWhatIsLeft) {
    Database database(m_path);
    ASSERT_TRUE(database.Store("key", "value"));
    MDB_txn* read = database.TransBeginRead();
    MDB_txn* write = database.TransBegin();
    ASSERT_EQ(database.Put("key", "lost", write), 0);
    database.Close();
    std::string value;
    EXPECT_EQ(database.Find("key", value, read), VXDatabase::kFailed);
    EXPECT_FALSE(database.TransCommit(write));
    ASSERT_TRUE(database.OpenDatabase(m_path.c_str(), 1000, false));
    database.TransAbort(read);
    EXPECT_EQ(database.Load("key"), "value");
}

TEST_F(DatabaseTest, CloseWaitsForAnotherThreadsWriter) {
    Database database(m_path);
    std::promise<void> writing;
    std::thread writer([&] {
        MDB_txn* transaction = database.TransBegin();
        writing.set_value();
        for (int i = 0; i < 1000; ++i) database.Put(std::to_string(i), "value", transaction);
        EXPECT_TRUE(database.TransCommit(transaction));
    });
    writing.get_future().wait();
    database.Close();
    writer.join();
    EXPECT_EQ(Database(m_path).Load("999"), "value");
}

TEST_F(DatabaseTest, CloseUnderReadersMakesThemFail) {
    for (int round = 0; round < 30; ++round) {
        Database database(m_path);
        ASSERT_TRUE(database.Store("key", "value"));
        std::vector<std::jthread> threads;
        std::atomic<int> reads = 0;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                while (MDB_txn* transaction = database.TransBeginRead()) {
                    std::string value = "value";
                    database.Find("key", value, transaction);
                    EXPECT_EQ(value, "value");
                    database.TransAbort(transaction);
                    ++reads;
                }
            });
        while (reads < 20) std::this_thread::yield();
        database.Close();
    }
}

TEST_F(DatabaseTest, ReadersOfThreadsAndProcessesSeeWholeTransactionsInOrder) {
    Signal started;
    const auto watch = [&] {
        Database database(m_path);
        started.Send();
        return WatchPair(database, [](int number) { return number == 300; }) ? 0 : 1;
    };
    const auto reopen = [&] {
        for (int i = 0; i < 30; ++i)
            if (!Database(m_path).Store("key", "value")) return 1;
        return 0;
    };
    ChildProcess processes[] = {ChildProcess(watch), ChildProcess(watch), ChildProcess(reopen)};
    started.Wait(2);
    Database keeper(m_path);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back([&](const std::stop_token& stop) {
            ASSERT_TRUE(WatchPair(keeper, [&](int) { return stop.stop_requested(); }));
        });
    threads.emplace_back([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) ASSERT_GE(LoadPair(*std::make_unique<Database>(m_path)), 0);
    });
    for (int i = 1; i <= 300; ++i) ASSERT_TRUE(StorePair(keeper, i));
    for (ChildProcess& process : processes) EXPECT_EQ(process.Wait(), 0);
}

TEST_F(DatabaseTest, WaitingWriterNamesTheHolder) {
    Signal holds, released;
    ChildProcess holder([&] {
        Database database(m_path);
        MDB_txn* transaction = database.TransBegin();
        holds.Send();
        released.Wait();
        return database.TransCommit(transaction) ? 0 : 1;
    });
    holds.Wait();
    Database database(m_path);
    SetWriterPatience(100ms);
    EXPECT_EQ(database.TransBegin(), nullptr);
    std::string program;
    std::getline(std::ifstream("/proc/self/comm"), program);
    EXPECT_EQ(database.GetError(), m_path + ": in use by " + program + " (process " +
                                       std::to_string(holder.Id()) + ") for more than 0.1 seconds");
    MDB_txn* read = database.TransBeginRead();
    EXPECT_NE(read, nullptr) << "readers wait for nobody";
    database.TransAbort(read);
    released.Send();
    EXPECT_EQ(holder.Wait(), 0);

    MDB_txn* own = database.TransBegin();
    ASSERT_NE(own, nullptr);
    std::thread([&] {
        EXPECT_EQ(database.GetError(), "");
        EXPECT_EQ(database.TransBegin(), nullptr);
        EXPECT_THAT(database.GetError(), HasSubstr("(process " + std::to_string(getpid()) + ")"));
    }).join();
    database.TransAbort(own);
}

TEST_F(DatabaseTest, WritersInALoopLetOthersPass) {
    SetWriterPatience(3s);
    Signal signal;
    ChildProcess other([&] {
        Database database(m_path);
        // Time goes by inside the transaction, hardly any between two of them.
        while (database.StoreMany(0, 3000, "value")) signal.Send();
        return 1;
    });
    signal.Wait();
    Database database(m_path);
    std::jthread thread([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) ASSERT_TRUE(database.Store("thread", "value"));
    });
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(database.Store("key", "value")) << database.GetError();
}

TEST_F(DatabaseTest, NothingOpenIsUsableInAForkedChild) {
    Database database(m_path);
    ASSERT_TRUE(database.Store("key", "value"));
    MDB_txn* read = database.TransBeginRead();
    MDB_txn* write = database.TransBegin();
    ASSERT_EQ(database.Put("key", "later", write), 0);
    ChildProcess child([&] {
        std::string value;
        if (database.TransBeginRead() != nullptr || database.IsOpen()) return 1;
        if (database.Find("key", value, read) != VXDatabase::kFailed) return 2;
        if (database.TransCommit(write)) return 3;
        database.TransAbort(write);
        database.Close();
        return Database(m_path).Load("key") == "value" ? 0 : 4;
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_TRUE(database.TransCommit(write));
    database.TransAbort(read);
    EXPECT_EQ(database.Load("key"), "later");
}

TEST_F(DatabaseTest, DamageIsTold) {
    const std::string path = m_directory.MakeDir("store");
    {
        Database database(path);
        for (const int from : {0, 500, 1000, 1500})
            ASSERT_TRUE(database.StoreMany(from, from + 500, std::string(300, 'v')));
        // The end is a value; the roots come to lie in reused pages before it.
        ASSERT_TRUE(database.Store("big", std::string(100000, 'v')));
        for (int i = 0; i < 4; ++i) ASSERT_TRUE(database.Store("small", "value"));
    }
    const std::string sound = m_directory.Read("store/data.mdb");
    const auto patched = [&](std::size_t at, const std::string& bytes) {
        return std::string(sound).replace(at, bytes.size(), bytes);
    };
    const struct {
        const char* name;
        std::string data;
        const char* words;
    } cases[] = {
        {"empty", "", "its end is missing"},
        {"zeros", std::string(sound.size(), '\0'), "it is no database file"},
        {"one head", sound.substr(0, 4096), "its end is missing"},
        {"last page gone", sound.substr(0, sound.size() - 4096), "its end is missing"},
        {"other version", patched(20, "\x09"), "of another version"},
        {"page size 0", patched(40, std::string(4, '\0')), "its head is inconsistent"},
        {"body zero", sound.substr(0, 8192) + std::string(sound.size() - 8192, '\0'),
         "a page is inconsistent"},
    };
    for (const auto& [name, data, words] : cases) {
        SCOPED_TRACE(name);
        m_directory.Write("store/data.mdb", data);
        for (const bool readOnly : {true, false}) {
            Database database(path, readOnly);
            EXPECT_TRUE(!database.IsOpen() && database.IsDamaged());
            EXPECT_THAT(database.GetError(), HasSubstr(path + ": data.mdb is damaged: "));
            EXPECT_THAT(database.GetError(), HasSubstr(words));
        }
        EXPECT_EQ(m_directory.Read("store/data.mdb"), data);
    }
    m_directory.Write("store/data.mdb", sound);
    EXPECT_EQ(Database(path).Load("1999"), std::string(300, 'v'));
}

// How far the data file reaches by its own account.
std::size_t DeclaredSize(const std::string& directory) {
    MDB_env* environment = nullptr;
    MDB_envinfo info = {};
    MDB_stat pages = {};
    mdb_env_create(&environment);
    EXPECT_EQ(mdb_env_open(environment, directory.c_str(), MDB_RDONLY, 0664), 0);
    mdb_env_info(environment, &info);
    mdb_env_stat(environment, &pages);
    mdb_env_close(environment);
    return (info.me_last_pgno + 1) * pages.ms_psize;
}

// Pages that were taken and freed in one transaction count as part of the file but are not in it.
TEST_F(DatabaseTest, ShortFileIsSoundWhenItsEndIsFree) {
    const auto isShort = [&] {
        return std::filesystem::file_size(m_directory.Path("data.mdb")) < DeclaredSize(m_path);
    };
    int tries = 0;
    do {
        Database database(m_path);
        MDB_txn* transaction = database.TransBegin();
        ASSERT_EQ(database.Put("key", "value", transaction), 0);
        ASSERT_EQ(database.Put("big", std::string(300000, 'x'), transaction), 0);
        ASSERT_TRUE(database.Remove("big", 3, transaction));
        ASSERT_TRUE(database.TransCommit(transaction));
        ASSERT_LT(++tries, 10);
    } while (!isShort());
    EXPECT_EQ(Database(m_path).Load("key"), "value");
}

TEST_F(DatabaseTest, DeniedAccessIsNoDamage) {
    ASSERT_TRUE(Database(m_path).Store("key", "value"));
    const std::string bare = m_directory.MakeDir("bare");
    std::filesystem::permissions(
        bare, std::filesystem::perms::owner_read | std::filesystem::perms::others_exec);
    const int result = test::RunWithoutRights([&] {
        for (const std::string& path : {m_path, bare}) {
            Database database(path);
            if (database.IsOpen() || database.IsDamaged()) return 1;
            if (database.GetError().find("Permission denied") == std::string::npos) return 2;
        }
        return 0;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(DatabaseTest, FullDiskLeavesNoHalfNewDatabase) {
    for (const rlim_t size : {1 << 10, 66 << 10}) {
        const std::string fresh = m_directory.MakeDir(std::to_string(size));
        ChildProcess creating([&] {
            const FullDisk full(size);
            Database unlucky(fresh);
            return unlucky.IsDamaged() || (!unlucky.IsOpen() && unlucky.GetError().empty()) ? 1 : 0;
        });
        EXPECT_EQ(creating.Wait(), 0);
        EXPECT_TRUE(Database(fresh).IsOpen());
    }
}

TEST_F(DatabaseTest, OpensInALimitedAddressSpace) {
    ASSERT_TRUE(Database(m_path).Store("key", "value"));
    ChildProcess child([&] {
        unsigned long long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t size = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (2ULL << 30);
        const rlimit limit = {size, size};
        ::setrlimit(RLIMIT_AS, &limit);
        Database database(m_path);
        return database.Load("key") == "value" && database.Store("key", "later") ? 0 : 1;
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(Database(m_path).Load("key"), "later");
}

}  // namespace
}  // namespace vexa
