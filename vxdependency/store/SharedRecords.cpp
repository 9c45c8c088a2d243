#include "vxdependency/store/SharedRecords.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {
namespace {

using List = SharedRecords::List;

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
        return std::hash<std::string_view>()(text);
    }
};
using Names = std::unordered_set<std::string, TextHash, std::equal_to<>>;

// The kinds of record that a file has.
enum class Kind : std::uint8_t { Forward, Inverse, Stamp };

// Calls `visit` with the ids of a file's records, and their kinds.
class RecordsOfFile {
public:
    template <class Visit>
    void ForEach(std::string_view file, const Visit& visit) {
        m_text.assign(file);
        visit(IdOf(m_text), Kind::Forward);
        m_text += '#';
        visit(IdOf(m_text), Kind::Inverse);
        m_text.assign(m_root).append(1, '/').append(file).append(1, '!');
        visit(IdOf(m_text), Kind::Stamp);
    }

private:
    const std::string& m_root = InterfaceBox::Instance().GetResourceRoot();
    std::string m_text;
};

// The records of some files, and what shares one with them.
class RecordsOfFiles {
public:
    explicit RecordsOfFiles(const List& keys) : m_keys(keys) {
        for (std::uint32_t i = 0; i < keys.size(); ++i) {
            m_of.ForEach(keys[i], [&](RecordId id, Kind kind) {
                m_records.push_back({id, i, kind});
            });
        }
        std::ranges::sort(m_records, {}, &Record::id);
    }

    void Meet(std::string_view file) {
        m_of.ForEach(file, [&](RecordId id, Kind kind) {
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
        Kind kind;
    };

    void Share(const Record& record, std::string_view file, Kind kind) {
        if (record.kind == Kind::Inverse) resources.insert(m_keys[record.file]);
        if (kind == Kind::Inverse) resources.emplace(file);
        if (kind == Kind::Forward) lists.emplace(file);
    }

    const List& m_keys;
    RecordsOfFile m_of;
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
