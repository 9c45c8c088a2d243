#include "vxdependency/store/StoreFill.h"

#include <algorithm>
#include <future>

#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/FillRecords.h"
#include "vxdependency/store/FillWriter.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {
namespace {

// What LMDB may keep of one transaction: for a small tree little, so that a scan needs less than
// 400 bytes a file in all; for a large one more, since each commit waits for the disk.
std::size_t BytesPerCommit(std::size_t files) {
    constexpr std::size_t kPerFile = 40;
    return std::clamp(kPerFile * files, std::size_t{4} << 20, std::size_t{64} << 20);
}

bool IsEmpty(VXDatabase& database, DatabaseTable table, std::string_view prefix,
             MDB_txn* transaction) {
    bool empty = true;
    const auto visit = [&](std::string_view key, std::string_view) {
        empty = !key.starts_with(prefix);
        return false;
    };
    return database.ForEach(table, prefix, visit, transaction) && empty;
}

// One writing of a fill.
class Filling {
public:
    Filling(VXDatabase& database, const std::vector<FilledFiles>& runs, const IFileNames& keys,
            const std::vector<std::string_view>& entries, const std::string& directory,
            std::size_t bytesPerCommit)
        : m_database(database),
          m_runs(runs),
          m_keys(keys),
          m_entries(entries),
          m_directory(directory),
          m_writer(database, bytesPerCommit) {}

    bool Write(std::size_t count) {
        if (!m_writer.Begin()) return false;
        m_isNew = IsEmpty(m_database, DatabaseTable::Dependency, "", m_writer.Transaction()) &&
                  IsEmpty(m_database, DatabaseTable::Catalogue, Catalogue::FileRecordKey(""),
                          m_writer.Transaction());
        m_files.reserve(count);
        CollectFiles();
        return WriteRecords() && WriteFiles() && WriteFindings() && m_writer.End();
    }

private:
    void CollectFiles();
    bool IsKnown(std::uint32_t file);
    bool WriteRecords();
    bool WritePart(const FillRecords& records, std::size_t begin,
                   const FillRecords::Values& values);
    bool WriteRecord(const FillRecords& records, std::size_t begin, std::size_t end,
                     std::string_view value);
    bool ChangeRecord(const FillRecords& records, std::size_t begin, std::size_t end);
    bool WriteFiles();
    bool WriteFindings();

    VXDatabase& m_database;
    const std::vector<FilledFiles>& m_runs;
    const IFileNames& m_keys;
    const std::vector<std::string_view>& m_entries;
    const std::string& m_directory;
    FillWriter m_writer;
    bool m_isNew = false;
    std::vector<FillRecords::File> m_files;
    std::vector<std::pair<std::uint32_t, const Findings*>> m_findings;
};

// The files that are to be stored, in their order.
void Filling::CollectFiles() {
    for (const FilledFiles& run : m_runs) {
        const std::uint32_t* references = run.references.data();
        auto findings = run.findings.begin();
        for (const FilledFile& file : run.files) {
            const bool known = IsKnown(file.number);
            if (!known) m_files.push_back({&file, references});
            references += file.references;
            if (findings == run.findings.end() || findings->first != file.number) continue;
            if (!known) m_findings.emplace_back(file.number, &findings->second);
            ++findings;
        }
    }
}

// Whether the store has the file, and not just its name as that of a target (see NoteTargets).
bool Filling::IsKnown(std::uint32_t file) {
    if (m_isNew) return false;
    std::string value;
    const std::string key = Catalogue::FileRecordKey(std::string(m_keys.KeyOf(file)));
    const int status = ReadCatalogueRecord(m_database, key, value, m_writer.Transaction());
    return status == 0 && value != Catalogue::Encode({});
}

// While some are written, another thread makes the values of the next ones.
bool Filling::WriteRecords() {
    const FillRecords records(m_files, m_keys, m_entries, m_directory);
    const auto valuesFrom = [&records](std::size_t begin) {
        constexpr std::size_t kAhead = 1024;
        const std::size_t end = std::min(begin + kAhead, records.Count());
        return records.ValuesOf(begin, end == begin ? end : records.EndOfId(end - 1));
    };
    auto next = std::async(std::launch::async, valuesFrom, 0);
    for (std::size_t begin = 0; begin < records.Count();) {
        const FillRecords::Values values = next.get();
        const std::size_t end = begin + values.ends.size();
        next = std::async(std::launch::async, valuesFrom, end);
        if (!WritePart(records, begin, values)) return false;
        begin = end;
    }
    return true;
}

bool Filling::WritePart(const FillRecords& records, std::size_t begin,
                        const FillRecords::Values& values) {
    std::size_t from = 0;
    for (std::size_t i = 0, idEnd; i < values.ends.size(); i = idEnd) {
        idEnd = records.EndOfId(begin + i) - begin;
        const std::string_view value =
            std::string_view(values.bytes).substr(from, values.ends[i] - from);
        from = values.ends[idEnd - 1];
        if (!WriteRecord(records, begin + i, begin + idEnd, value)) return false;
    }
    return true;
}

bool Filling::WriteRecord(const FillRecords& records, std::size_t begin, std::size_t end,
                          std::string_view value) {
    const FillRecords::Record record = records.At(begin);
    const std::string_view id(reinterpret_cast<const char*>(&record.id), sizeof record.id);
    const bool shares = end - begin > 1;
    const bool extends = !m_isNew && record.kind == FillRecords::Kind::Inverse;
    if (shares || extends) return ChangeRecord(records, begin, end);
    return m_isNew ? m_writer.Append(DatabaseTable::Dependency, id, value)
                   : m_writer.Write(DatabaseTable::Dependency, id, value);
}

bool Filling::ChangeRecord(const FillRecords& records, std::size_t begin, std::size_t end) {
    std::size_t bytes = 0;
    const auto replay = [&](RecordState& state) {
        records.Replay(begin, end, state);
        bytes = state.Value().value_or("").size();
    };
    return vxdependency::ChangeRecord(m_database, {records.At(begin).id}, replay,
                                      m_writer.Transaction()) &&
           m_writer.Wrote(bytes);
}

bool Filling::WriteFiles() {
    std::ranges::sort(m_files, {}, [](const auto& file) { return file.filled->number; });
    std::string key;
    for (const FillRecords::File& file : m_files) {
        const std::uint32_t number = file.filled->number;
        key.assign(Catalogue::FileRecordKey("")).append(m_keys.KeyOf(number));
        const std::string entry =
            Catalogue::Encode({m_keys.WriteTimeNs(number), m_keys.SizeOf(number),
                               file.filled->references, file.filled->failed});
        if (!m_writer.Write(DatabaseTable::Catalogue, key, entry)) return false;
    }
    return true;
}

bool Filling::WriteFindings() {
    std::ranges::sort(m_findings, {}, &std::pair<std::uint32_t, const Findings*>::first);
    std::vector<std::pair<AwaitedId, std::uint32_t>> awaited;
    for (const auto& [number, findings] : m_findings) {
        const std::string key(m_keys.KeyOf(number));
        if (!m_writer.Write(DatabaseTable::Catalogue, Catalogue::FindingsRecordKey(key),
                            findings->Encode())) {
            return false;
        }
        for (const AwaitedId id : findings->awaited) awaited.emplace_back(InTableOrder(id), number);
    }
    std::ranges::sort(awaited);
    return std::ranges::all_of(awaited, [this](const auto& record) {
        const std::string key(m_keys.KeyOf(record.second));
        const AwaitedId id = InTableOrder(record.first);
        return m_writer.Write(DatabaseTable::Catalogue, Catalogue::AwaitedRecordKey(id, key), "");
    });
}

}  // namespace

StoreFill::StoreFill(const IFileNames& files, std::string directory, std::size_t bytesPerCommit)
    : m_files(files),
      m_directory(std::move(directory)),
      m_bytesPerCommit(bytesPerCommit != 0 ? bytesPerCommit : BytesPerCommit(files.Size())) {}

std::uint32_t StoreFill::NumberOf(const std::string& entry) {
    const std::lock_guard lock(m_entriesMutex);
    const auto found = m_entryNumbers.find(entry);
    if (found != m_entryNumbers.end()) return found->second;
    const auto number = static_cast<std::uint32_t>(m_files.Size() + m_entries.size());
    m_entries.push_back(entry);
    m_entryNumbers.emplace(m_entries.back(), number);
    return number;
}

void StoreFill::Add(FilledFiles run) {
    if (run.files.empty()) return;
    m_bytes +=
        run.files.size() * sizeof(FilledFile) + run.references.size() * sizeof(std::uint32_t);
    m_runs.push_back(std::move(run));
}

std::size_t StoreFill::FileCount() const {
    std::size_t count = 0;
    for (const FilledFiles& run : m_runs) count += run.files.size();
    return count;
}

bool StoreFill::Holds(const std::string& key, const CatalogueEntry& state) const {
    const std::uint32_t file = m_files.Find(key);
    return file < m_files.Size() && m_files.WriteTimeNs(file) == state.writeTimeNs &&
           m_files.SizeOf(file) == state.size;
}

bool StoreFill::Write(VXDatabase& database) {
    if (m_runs.empty()) return true;
    std::ranges::sort(m_runs, {}, &FilledFiles::position);
    std::vector<std::string_view> entries;
    {
        const std::lock_guard lock(m_entriesMutex);
        entries.assign(m_entries.begin(), m_entries.end());
    }
    Filling filling(database, m_runs, m_files, entries, m_directory, m_bytesPerCommit);
    const bool written = filling.Write(FileCount());
    m_runs = {};
    m_bytes = 0;
    return written;
}

}  // namespace vexa::vxdependency
