// What LMDB alone takes to store what a scan has stored: reads all records of a store into memory,
// then writes them to a new one in the order of their keys, in large transactions, and syncs it.
// Prints as JSON how long the writing took:
//
//   bench_lmdb STORE NEW_STORE      two folders; the new one is made

#include <sys/stat.h>

#include <chrono>
#include <string>
#include <vector>

#include "bench/Lmdb.h"

namespace bench {

namespace {

constexpr std::size_t kMapSize = std::size_t{64} << 30;

// Larger transactions make LMDB spill pages.
constexpr std::size_t kBatchBytes = std::size_t{128} << 20;

// The records of a table, one after the other in one text.
struct Table {
    struct Record {
        std::size_t keySize;
        std::size_t valueSize;
    };
    std::vector<Record> records;
    std::string bytes;
};

MDB_env* Open(const char* directory, unsigned flags) {
    MDB_env* environment = nullptr;
    Check(mdb_env_create(&environment), "mdb_env_create");
    Check(mdb_env_set_maxdbs(environment, 2), "mdb_env_set_maxdbs");
    Check(mdb_env_set_mapsize(environment, kMapSize), "mdb_env_set_mapsize");
    Check(mdb_env_open(environment, directory, flags, 0644), directory);
    return environment;
}

Table Read(MDB_env* environment, const char* name) {
    Table table;
    MDB_txn* transaction = nullptr;
    MDB_dbi dbi = 0;
    MDB_cursor* cursor = nullptr;
    Check(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &transaction), "mdb_txn_begin");
    Check(mdb_dbi_open(transaction, name, 0, &dbi), name);
    Check(mdb_cursor_open(transaction, dbi, &cursor), name);
    MDB_val key;
    MDB_val value;
    while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
        table.records.push_back({key.mv_size, value.mv_size});
        table.bytes.append(TextOf(key)).append(TextOf(value));
    }
    mdb_cursor_close(cursor);
    mdb_txn_abort(transaction);
    return table;
}

// Appends the records from one on, as many as a transaction takes; returns the one after.
std::size_t WriteBatch(MDB_env* environment, const char* name, const Table& table,
                       std::size_t first, std::size_t& offset) {
    MDB_txn* transaction = nullptr;
    MDB_dbi dbi = 0;
    MDB_cursor* cursor = nullptr;
    Check(mdb_txn_begin(environment, nullptr, 0, &transaction), "mdb_txn_begin");
    Check(mdb_dbi_open(transaction, name, MDB_CREATE, &dbi), name);
    Check(mdb_cursor_open(transaction, dbi, &cursor), name);
    const std::size_t end = offset + kBatchBytes;
    for (; first < table.records.size() && offset < end; ++first) {
        const auto [keySize, valueSize] = table.records[first];
        const std::string_view text = table.bytes;
        MDB_val key = ValueOf(text.substr(offset, keySize));
        MDB_val value = ValueOf(text.substr(offset + keySize, valueSize));
        Check(mdb_cursor_put(cursor, &key, &value, MDB_APPEND), "mdb_cursor_put");
        offset += keySize + valueSize;
    }
    mdb_cursor_close(cursor);
    Check(mdb_txn_commit(transaction), "mdb_txn_commit");
    return first;
}

void Write(MDB_env* environment, const char* name, const Table& table) {
    std::size_t offset = 0;
    for (std::size_t next = 0; next < table.records.size();)
        next = WriteBatch(environment, name, table, next, offset);
}

double SecondsToWrite(const char* directory, const std::vector<Table>& tables) {
    const auto start = std::chrono::steady_clock::now();
    MDB_env* const environment = Open(directory, MDB_NOSYNC);
    for (std::size_t i = 0; i < tables.size(); ++i) Write(environment, kTables[i], tables[i]);
    Check(mdb_env_sync(environment, 1), "mdb_env_sync");
    mdb_env_close(environment);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

}  // namespace bench

int main(int count, char** arguments) {
    if (count != 3 || mkdir(arguments[2], 0755) != 0) {
        std::fputs("usage: bench_lmdb STORE NEW_STORE\n", stderr);
        return 2;
    }
    MDB_env* const store = bench::Open(arguments[1], MDB_RDONLY);
    std::vector<bench::Table> tables;
    for (const char* name : bench::kTables) tables.push_back(bench::Read(store, name));
    mdb_env_close(store);
    const double seconds = bench::SecondsToWrite(arguments[2], tables);
    std::printf("{\"seconds\": %.6f, \"records\": %zu, \"bytes\": %zu}\n", seconds,
                tables[0].records.size() + tables[1].records.size(),
                tables[0].bytes.size() + tables[1].bytes.size());
    return 0;
}
