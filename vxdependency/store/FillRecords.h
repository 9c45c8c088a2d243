#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/os/LargePages.h"
#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordState.h"
#include "vxdependency/store/StoreFill.h"

namespace vexa::vxdependency {

// The records of the dependency table that files make, in the order of the table. What several
// texts of one id make of their record is told by replaying it in the order of the files.
class FillRecords {
public:
    enum class Kind : std::uint8_t { Forward, Stamp, Inverse };
    // A file that is stored, with its list.
    struct File {
        const FilledFile* filled;
        const std::uint32_t* references;
    };
    // A record; `index` is of a file, of Inverse the number of an entry.
    struct Record {
        RecordId id;
        Kind kind;
        std::uint32_t index;
    };

    // The files in the order in which they are stored; `names` are the keys and entries by number.
    // All must outlive the object.
    FillRecords(const std::vector<File>& files, const IFileNames& keys,
                const std::vector<std::string_view>& entries, const std::string& directory);

    std::size_t Count() const { return m_order.size(); }
    // The record at a place of the order.
    Record At(std::size_t place) const;
    // The end of the records that share the id of the one at `place`.
    std::size_t EndOfId(std::size_t place) const;

    // The values of some records in a row, those that share an id included; made ahead by one
    // thread for another that writes them.
    struct Values {
        std::string bytes;              // one behind the other
        std::vector<std::size_t> ends;  // in the bytes
    };
    Values ValuesOf(std::size_t begin, std::size_t end) const;
    // Does to a record what the records of its id, from `begin` to `end`, make of it. One thread at
    // a time.
    void Replay(std::size_t begin, std::size_t end, RecordState& state) const;
    // What the id of a record is made from.
    std::string TextOf(const Record& record) const;

private:
    class ListMaker;
    struct Step;

    std::string_view NameOf(std::uint32_t number) const;
    void ListUsers();
    void AddRecords();
    void Add(RecordId id, Kind kind, std::size_t index);
    void AppendSteps(const Record& record, std::vector<Step>& steps) const;
    static std::span<const std::uint32_t> ReferencesOf(const File& file);
    std::span<const std::uint32_t> UsersOf(std::uint32_t entry) const;
    std::uint32_t PlaceOf(std::uint32_t file) const;
    void AppendValue(const Record& record, ListMaker& lists, std::string& bytes) const;
    std::string ValueOf(const Record& record) const;

    const std::vector<File>& m_files;
    const IFileNames& m_keys;
    const std::vector<std::string_view>& m_entries;
    const std::string& m_directory;
    // The files that name an entry, by its number: those from m_firstUser[n] to m_firstUser[n + 1].
    os::LargeTable<std::uint32_t> m_firstUser;
    os::LargeTable<std::uint32_t> m_users;
    os::LargeTable<std::uint64_t> m_order;        // id as it sorts, kind, index
    mutable std::vector<std::uint32_t> m_places;  // of the files by number; made when asked for
};

}  // namespace vexa::vxdependency
