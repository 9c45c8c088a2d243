#include "vxdependency/store/RecordState.h"

#include <mutex>
#include <unordered_set>

#include "vexa/common/Log.h"

namespace vexa::vxdependency {

namespace {

// Whether a record is met for the first time in the life of the process. The export of a large
// graph meets the same ones again and again.
bool IsNews(const std::string& name) {
    static std::mutex guard;
    static auto* const met = new std::unordered_set<std::string>();  // threads outlive statics
    const std::lock_guard lock(guard);
    return met->insert(name).second;
}

}  // namespace

std::string ListText(std::string stored, RecordName record) {
    if (EntryList::IsList(stored)) return stored;
    const std::string name = record.ToString();
    if (IsNews(name)) {
        LogError(
            "dependency store: the value of %s is no list, as it does not end in \"#\"; it counts "
            "as empty",
            name.c_str());
    }
    return {};
}

void RecordState::Apply(RecordOperation operation, std::string_view text) {
    switch (operation) {
        case RecordOperation::AddEntry:
            List().Add(text);
            break;
        case RecordOperation::Keep:
            List();
            break;
        case RecordOperation::RemoveEntry:
            if (IsPresent()) List().RemoveFirstMatch(text);
            DropEmpty();
            break;
        case RecordOperation::EraseEntry:
            if (IsPresent()) List().Erase(text);
            DropEmpty();
            break;
        case RecordOperation::DropEmpty:
            DropEmpty();
            break;
        case RecordOperation::Replace:
            Set(std::string(text));
            break;
        case RecordOperation::Delete:
            Set(std::nullopt);
            break;
    }
}

std::optional<std::string> RecordState::Value() const {
    return m_list ? std::optional(m_list->Text()) : m_value;
}

EntryList& RecordState::List() {
    if (!m_list) {
        m_list.emplace(m_value ? ListText(*std::move(m_value), m_name) : std::string());
        m_value.reset();
    }
    return *m_list;
}

void RecordState::Set(std::optional<std::string> value) {
    m_list.reset();
    m_value = std::move(value);
}

void RecordState::DropEmpty() {
    if (IsPresent() && List().IsEmpty()) Set(std::nullopt);
}

}  // namespace vexa::vxdependency
