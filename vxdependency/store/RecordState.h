#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vxdependency/store/EntryList.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {

// What can be done to one record of the dependency table. All but Replace and Delete take its value
// as a list.
enum class RecordOperation : char {
    AddEntry,     // appends an entry that is not there; makes the record
    Keep,         // makes the record, if need be with an empty list
    RemoveEntry,  // by the first-match rule; a list that is empty then goes with its record
    EraseEntry,   // wherever it stands; likewise
    DropEmpty,    // deletes the record when its list is empty
    Replace,      // sets the value as a whole
    Delete,
};

// The list that a stored value holds. One that does not end in "#" is reported as the value of
// `name` and taken as empty.
std::string ListText(std::string stored, RecordName name);

// A record's value while operations are applied to it.
class RecordState {
public:
    // `stored` is empty when there is no record; the text of `name` must outlive the object.
    RecordState(RecordName name, std::optional<std::string> stored)
        : m_name(name), m_value(std::move(stored)) {}

    bool IsPresent() const { return m_list || m_value; }
    void Apply(RecordOperation operation, std::string_view text);
    std::optional<std::string> Value() const;

private:
    EntryList& List();
    void Set(std::optional<std::string> value);
    void DropEmpty();

    RecordName m_name;
    // One of them, or neither when there is no record.
    std::optional<std::string> m_value;
    std::optional<EntryList> m_list;
};

}  // namespace vexa::vxdependency
