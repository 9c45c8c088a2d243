#include "vxdependency/store/EdgeReader.h"

#include <algorithm>

#include "vexa/common/Log.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/SharedRecords.h"

namespace vexa::vxdependency {
namespace {

constexpr std::size_t kLongList = 16384;

std::string RecordText(std::string_view key, Direction direction) {
    std::string text(key);
    if (direction == Direction::Inverse) text += '#';
    return text;
}

void ReportFailure(const VXDatabase& database) {
    LogError("the dependency graph cannot be read: %s", database.GetError().c_str());
}

}  // namespace

ListRecord::ListRecord(std::string_view listKey, Direction listDirection)
    : ListRecord(listKey, listDirection, IdOf(RecordText(listKey, listDirection))) {}

EdgeReader::EdgeReader(VXDatabase& database) : m_database(database), m_transaction(database) {
    if (m_transaction == nullptr) ReportFailure(database);
}

Direction Opposite(Direction direction) {
    return direction == Direction::Forward ? Direction::Inverse : Direction::Forward;
}

void EdgeReader::ForEachFile(const std::function<void(std::string_view)>& visit) const {
    const std::string from = Catalogue::FileRecordKey("");
    const auto visitRecord = [&](std::string_view key, std::string_view) {
        if (!key.starts_with(from)) return false;
        visit(key.substr(from.size()));
        return true;
    };
    if (m_transaction != nullptr &&
        !m_database.ForEach(DatabaseTable::Catalogue, from, visitRecord, m_transaction)) {
        ReportFailure(m_database);
    }
}

// A stamp may have taken a list's place. Of records that are shared the scan has told, and the
// check tells each.
void EdgeReader::ReportNoList(const ListRecord& record, std::string_view value) const {
    if (SharedIds(m_database, m_transaction).Contain(record.id)) return;
    const std::string text = RecordText(record.key, record.direction);
    ListText(std::string(value), {record.id, text});  // which says so
}

void EdgeReader::VisitList(const ListRecord& record,
                           const std::function<void(std::string_view)>& read) const {
    const auto readList = [&](std::string_view value) {
        EntryList::IsList(value) ? read(value) : ReportNoList(record, value);
    };
    const int status = VisitRecord(m_database, record.id, readList, m_transaction);
    if (status == VXDatabase::kFailed && m_transaction != nullptr) ReportFailure(m_database);
}

void EdgeReader::VisitLists(std::size_t count, const std::function<RecordId(std::size_t)>& idAt,
                            const std::function<ListRecord(std::size_t)>& recordAt,
                            const std::function<void(std::size_t, std::string_view)>& read) const {
    RecordId id = 0;
    const auto keyAt = [&](std::size_t i) {
        id = idAt(i);
        return std::string_view(reinterpret_cast<const char*>(&id), sizeof id);
    };
    const auto readList = [&](std::size_t i, std::string_view value) {
        EntryList::IsList(value) ? read(i, value) : ReportNoList(recordAt(i), value);
    };
    if (m_transaction != nullptr &&
        !m_database.GetEach(DatabaseTable::Dependency, count, keyAt, readList, m_transaction)) {
        ReportFailure(m_database);
    }
}

std::vector<std::string> EdgeReader::EdgesOf(const std::string& key, Direction direction) {
    std::vector<std::string> ends;
    VisitList({key, direction},
              [&](std::string_view list) { ends = ConfirmedOf(list, key, Opposite(direction)); });
    return ends;
}

// The entries of a list whose own lists hold `key`, sorted. They are asked in the order of the
// table: then what is looked at lies side by side.
std::vector<std::string> EdgeReader::ConfirmedOf(std::string_view list, std::string_view key,
                                                 Direction back) {
    std::vector<ListRecord> ends;
    ends.reserve(static_cast<std::size_t>(std::ranges::count(list, '#')));
    for (std::size_t end; (end = list.find('#')) != list.npos; list.remove_prefix(end + 1))
        ends.emplace_back(list.substr(0, end), back);
    std::ranges::sort(ends, StandsBefore, &ListRecord::id);
    std::erase_if(ends, [&](const ListRecord& end) { return !Confirms(end, key); });
    std::ranges::sort(ends, {}, &ListRecord::key);
    const auto repeated = std::ranges::unique(ends, {}, &ListRecord::key);
    ends.erase(repeated.begin(), repeated.end());
    std::vector<std::string> confirmed;
    confirmed.reserve(ends.size());
    for (const ListRecord& end : ends) confirmed.emplace_back(end.key);
    return confirmed;
}

// Whether a list holds an entry.
bool EdgeReader::Confirms(const ListRecord& record, std::string_view entry) {
    const auto known = m_longLists.find(record.id);
    if (known != m_longLists.end()) return known->second.Contains(entry);
    bool confirms = false;
    VisitList(record, [&](std::string_view list) {
        confirms = list.size() < kLongList
                       ? EntryList::Find(list, entry) != EntryList::npos
                       : m_longLists.emplace(record.id, EntryList(std::string(list)))
                             .first->second.Contains(entry);
    });
    return confirms;
}

}  // namespace vexa::vxdependency
