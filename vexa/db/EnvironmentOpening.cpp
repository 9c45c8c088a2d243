#include <boost/filesystem/operations.hpp>
#include <limits>
#include <optional>

#include "vexa/db/DataFile.h"
#include "vexa/db/Environment.h"

namespace vexa {
namespace {

namespace fs = boost::filesystem;

constexpr const char* kDataFile = "data.mdb";
constexpr const char* kReaderFile = "lock.mdb";
constexpr const char* kLockFile = "writer.lock";

// By DatabaseTable.
constexpr std::array<const char*, 2> kTableNames = {"dependency", "catalogue"};

// A read transaction that is kept for later holds its slot; this many fill 64 KiB.
constexpr unsigned kReaders = 1022;
constexpr std::size_t kReaderFileSize = 65536;

// The map takes address space, not memory or disk; 64 GiB hold far more than 10 million records.
// The smaller sizes are for processes whose address space is limited.
constexpr std::uint64_t kMegabyte = 1 << 20;
constexpr std::array<std::uint64_t, 5> kMapSizes = {
    65536 * kMegabyte, 16384 * kMegabyte, 4096 * kMegabyte, 1024 * kMegabyte, 256 * kMegabyte};

bool IsDamage(int code) {
    switch (code) {
        case MDB_INVALID:
        case MDB_VERSION_MISMATCH:
        case MDB_CORRUPTED:
        case MDB_PAGE_NOTFOUND:
        case MDB_INCOMPATIBLE:  // a table's name is that of a plain record
            return true;
        default:
            return false;
    }
}

}  // namespace

bool Environment::Open(bool readOnly, OpenError& error) {
    m_readOnly = readOnly;
    m_forkDepth = ForkDepth();
    m_open = OpenLockFile(error) && OpenData(error);
    if (!m_open) m_lockFile.Close();
    return m_open;
}

bool Environment::Failed(OpenError& error, const std::string& why) const {
    error.text = m_directory + ": " + why;
    return false;
}

bool Environment::Failed(OpenError& error, const char* what, int code) const {
    error.damaged = IsDamage(code);
    return Failed(error, std::string(what) + ": " + mdb_strerror(code));
}

bool Environment::OpenLockFile(OpenError& error) {
    const std::error_code failure = m_lockFile.Open(FilePath(kLockFile), m_readOnly);
    const bool hasNone = m_readOnly && failure == std::errc::no_such_file_or_directory;
    if (!failure || hasNone) return true;
    return Failed(error, "cannot open writer.lock: " + failure.message());
}

bool Environment::OpenData(OpenError& error) {
    std::optional<RegionLock> alone;
    if (m_lockFile.IsOpen()) alone.emplace(m_lockFile, LockRegion::Opening, WriterDeadline());
    if (alone && alone->Error())
        return Failed(error, "cannot lock writer.lock: " + alone->Error().message());

    boost::system::error_code ignored;
    const bool isNew = !fs::exists(FilePath(kDataFile), ignored);
    if (isNew && m_readOnly) return Failed(error, "holds no database");
    if (ExamineData(error) && ReserveReaderTable(error) && OpenLargestMap(error)) {
        int cleared = 0;
        mdb_reader_check(m_environment, &cleared);
        if (isNew) SyncDirectory(m_directory);
        return true;
    }
    // What a full disk left of a new file would pass for a damaged one.
    if (isNew) fs::remove(FilePath(kDataFile), ignored);
    return false;
}

bool Environment::ExamineData(OpenError& error) {
    const std::string path = FilePath(kDataFile);
    std::string damage = FindDamage(path);
    if (!damage.empty() && m_lockFile.IsOpen()) {
        std::string why;
        if (!m_writerLock.LockOutProcesses(WriterDeadline(), why)) return Failed(error, why);
        damage = FindDamage(path);
        m_writerLock.LetInProcesses();
    }
    if (damage.empty()) return true;
    error.damaged = true;
    return Failed(error, "data.mdb is damaged: " + damage);
}

// LMDB writes the table of readers through a map, where a full disk ends the process.
bool Environment::ReserveReaderTable(OpenError& error) {
    if (m_readOnly) return true;
    const std::error_code failure = ReserveFile(FilePath(kReaderFile), kReaderFileSize);
    return !failure || Failed(error, "cannot make lock.mdb: " + failure.message());
}

bool Environment::OpenLargestMap(OpenError& error) {
    boost::system::error_code missing;
    const std::uint64_t fileSize = fs::file_size(FilePath(kDataFile), missing);
    const std::uint64_t needed = missing ? 0 : fileSize;
    int code = ENOMEM;
    for (const std::uint64_t size : kMapSizes) {
        if (size > std::numeric_limits<std::size_t>::max()) continue;
        if (code != ENOMEM || size < needed) break;
        code = OpenMap(size);
    }
    return code == 0 || Failed(error, "cannot open data.mdb", code);
}

int Environment::OpenMap(std::uint64_t size) {
    int code = mdb_env_create(&m_environment);
    if (code == 0) code = mdb_env_set_mapsize(m_environment, static_cast<std::size_t>(size));
    if (code == 0) code = mdb_env_set_maxreaders(m_environment, kReaders);
    if (code == 0) code = mdb_env_set_maxdbs(m_environment, kTableNames.size());
    // Read transactions are kept for any thread, so their slots are not bound to one.
    const unsigned flags = MDB_NOTLS | (m_readOnly ? MDB_RDONLY : 0);
    if (code == 0) code = mdb_env_open(m_environment, m_directory.c_str(), flags, 0664);
    if (code != 0) CloseMap();
    return code;
}

bool Environment::OpenTables(OpenError& error) {
    // Not the mutex first: the thread may be writing, and another waiting for that with the mutex.
    if (m_hasTables) return true;
    const std::lock_guard lock(m_tablesMutex);
    if (m_hasTables) return true;
    int code = OpenTables(MDB_RDONLY, 0);
    if (code == MDB_NOTFOUND) {
        if (m_readOnly) return Failed(error, "holds no database of this kind");
        std::string why;
        if (!m_writerLock.Lock(why)) return Failed(error, why);
        code = OpenTables(0, MDB_CREATE);
        m_writerLock.Unlock();
    }
    m_hasTables = code == 0;
    return code == 0 || Failed(error, "cannot open the tables", code);
}

int Environment::OpenTables(unsigned transactionFlags, unsigned tableFlags) {
    MDB_txn* transaction = nullptr;
    int code = mdb_txn_begin(m_environment, nullptr, transactionFlags, &transaction);
    if (code != 0) return code;
    for (std::size_t i = 0; i < kTableNames.size() && code == 0; ++i)
        code = mdb_dbi_open(transaction, kTableNames[i], tableFlags, &m_tables[i]);
    if (code == 0) return mdb_txn_commit(transaction);  // also keeps handles opened for reading
    mdb_txn_abort(transaction);
    return code;
}

}  // namespace vexa
