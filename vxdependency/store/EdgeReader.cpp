#include "vxdependency/store/EdgeReader.h"

#include <algorithm>

#include "vexa/common/Log.h"
#include "vxdependency/store/Catalogue.h"

namespace vexa::vxdependency {
namespace {

constexpr std::size_t kLongList = 16384;

std::string RecordText(const std::string& key, Direction direction) {
    return direction == Direction::Forward ? key : InverseText(key);
}

void ReportFailure(const VXDatabase& database) {
    LogError("the dependency graph cannot be read: %s", database.GetError().c_str());
}

}  // namespace

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

std::string EdgeReader::ListOf(const std::string& key, Direction direction) const {
    const std::string text = RecordText(key, direction);
    std::string value;
    const int status = ReadRecord(m_database, IdOf(text), value, m_transaction);
    if (status == 0) return ListText(std::move(value), {IdOf(text), text});
    if (status == VXDatabase::kFailed && m_transaction != nullptr) ReportFailure(m_database);
    return {};
}

std::vector<std::string> EdgeReader::EdgesOf(const std::string& key, Direction direction) {
    std::vector<std::string> ends;
    EntryList::Split(ListOf(key, direction), ends);
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    const Direction back = Opposite(direction);
    const auto unconfirmed = [&](const std::string& end) { return !Confirms(end, back, key); };
    ends.erase(std::remove_if(ends.begin(), ends.end(), unconfirmed), ends.end());
    return ends;
}

// Whether a list holds an entry.
bool EdgeReader::Confirms(const std::string& key, Direction direction, std::string_view entry) {
    if (!m_longLists.empty()) {
        const auto known = m_longLists.find(RecordText(key, direction));
        if (known != m_longLists.end()) return known->second.Contains(entry);
    }
    std::string list = ListOf(key, direction);
    if (list.size() < kLongList) return EntryList::Find(list, entry) != EntryList::npos;
    EntryList& kept =
        m_longLists.emplace(RecordText(key, direction), EntryList(std::move(list))).first->second;
    return kept.Contains(entry);
}

}  // namespace vexa::vxdependency
