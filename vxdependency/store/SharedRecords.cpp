#include "vxdependency/store/SharedRecords.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <unordered_set>

#include "vexa/common/TextHash.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/FileRecords.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {
namespace {

using List = SharedRecords::List;

constexpr char kSharedIds[] = "shared";

using Names = std::unordered_set<std::string, TextHash, std::equal_to<>>;

// The records of some files, and what shares one with them.
class RecordsOfFiles {
public:
    explicit RecordsOfFiles(const List& keys) : m_keys(keys) {
        for (std::uint32_t i = 0; i < keys.size(); ++i) {
            m_of.ForEach(keys[i], [&](RecordId id, FileRecord kind) {
                m_records.push_back({id, i, kind});
            });
        }
        std::ranges::sort(m_records, {}, &Record::id);
    }

    void Meet(std::string_view file) {
        m_of.ForEach(file, [&](RecordId id, FileRecord kind) {
            for (const Record& record : std::ranges::equal_range(m_records, id, {}, &Record::id)) {
                if (record.kind != kind || m_keys[record.file] != file) Share(record, file, kind);
            }
        });
    }

    // The resources whose inverse list is concerned, and the files whose forward list is.
    Names resources;
    Names lists;

private:
    struct Record {
        RecordId id;
        std::uint32_t file;
        FileRecord kind;
    };

    void Share(const Record& record, std::string_view file, FileRecord kind) {
        if (record.kind == FileRecord::Inverse) resources.insert(m_keys[record.file]);
        if (kind == FileRecord::Inverse) resources.emplace(file);
        if (kind == FileRecord::Forward) lists.emplace(file);
    }

    const List& m_keys;
    FileRecords m_of;
    std::vector<Record> m_records;  // by id
};

// The files whose forward list shares its record.
Names WithSharedLists(const List& files) {
    Names shared;
    const auto take = [&shared](const std::string& text) {
        const bool isList = !text.starts_with('/') && !text.ends_with('#');
        if (isList) shared.insert(text);
    };
    for (const auto& [one, other] : FindCollisions(files)) {
        take(one);
        take(other);
    }
    return shared;
}

void FindUsers(const EdgeReader& store, const Names& resources, SharedRecords& found) {
    List files;
    store.ForEachFile([&files](std::string_view file) { files.emplace_back(file); });
    const Names shared = WithSharedLists(files);
    found.unreadLists.assign(shared.begin(), shared.end());
    for (const std::string& file : files) {
        if (shared.contains(file)) continue;
        store.VisitList({file, Direction::Forward}, [&](std::string_view list) {
            for (std::size_t end; (end = list.find('#')) != list.npos;
                 list.remove_prefix(end + 1)) {
                const auto resource = resources.find(list.substr(0, end));
                if (resource != resources.end()) found.users.emplace_back(*resource, file);
            }
        });
    }
}

}  // namespace

bool NoteSharedIds(GeneralDependency& store, std::vector<RecordId> ids) {
    std::ranges::sort(ids);
    const std::string bytes(reinterpret_cast<const char*>(ids.data()), ids.size() * sizeof ids[0]);
    return store.SetMeta(kSharedIds, bytes);
}

SharedIds::SharedIds(VXDatabase& database, MDB_txn* transaction) {
    const auto take = [this](std::string_view bytes) {
        m_ids.resize(bytes.size() / sizeof m_ids[0]);
        std::memcpy(m_ids.data(), bytes.data(), m_ids.size() * sizeof m_ids[0]);
    };
    VisitCatalogueRecord(database, Catalogue::MetaRecordKey(kSharedIds), take, transaction);
}

bool SharedIds::Contain(RecordId id) const {
    return std::ranges::binary_search(m_ids, id);
}

SharedRecords FindSharedRecords(GeneralDependency& store, const List& keys) {
    SharedRecords found;
    if (keys.empty() || !store.FlushOwnBatch()) return found;
    RecordsOfFiles records(keys);
    const EdgeReader reader(store.Database());
    reader.ForEachFile([&records](std::string_view file) { records.Meet(file); });
    found.lists.assign(records.lists.begin(), records.lists.end());
    if (!records.resources.empty()) FindUsers(reader, records.resources, found);
    return found;
}

}  // namespace vexa::vxdependency
