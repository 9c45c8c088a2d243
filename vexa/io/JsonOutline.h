#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/common/FileService.h"
#include "vexa/io/JsonData.h"
#include "vexa/util/TextPosition.h"

namespace vexa::vxio {

// The values of a JSON document in one list, each in front of what it holds: for those who go
// through all of them. A file is read in a third of the time that JsonData takes, and an outline
// that is used again allocates nothing. One thread at a time.
class JsonOutline {
public:
    struct Entry {
        // Of a string, as it is now; "" for other values.
        std::string_view Text() const { return value ? value->text() : text; }

        // Of the member that this is or, in an array, of the one that holds the array.
        std::string_view name;
        std::string_view text;
        ujson::value* value = nullptr;  // in an outline of values
        std::uint32_t parent = 0;       // the list that holds it
        std::uint32_t end = 0;          // behind what it holds
        bool isNamed = false;           // false for what no member holds
        bool isMember = false;          // false in an array
        bool isString = false;
        bool isArray = false;
    };

    // Reads a file as JsonData::Load does, refusing what that refuses. False when it fails, and the
    // outline is empty.
    bool Load(const std::string& path);
    // Outlines a value and all below, which must outlive it. Strings may be given other texts.
    void Outline(ujson::value& root);
    // Empties it.
    void Clear();

    // The first one is the root; none when nothing is loaded.
    const std::vector<Entry>& Entries() const { return m_entries; }

    // Why the last Load failed; "" if it did not.
    const std::string& GetError() const;

    // Where the text of a string begins in the bytes of the file that was loaded, behind its quote,
    // and the line, from 1, on which an offset stands.
    std::size_t OffsetOf(const Entry& text) const;
    std::size_t LineOf(std::size_t offset) const;

private:
    class Builder;

    bool Parse();
    bool Fail(std::string reason);

    FilePtr m_file;      // as it was read
    std::string m_text;  // a copy, in which texts and names are decoded where they stand
    std::vector<Entry> m_entries;
    mutable std::string m_error;
    mutable bool m_refused = false;            // the error is still to be found
    mutable std::optional<LineIndex> m_lines;  // made when somebody asks for one
};

}  // namespace vexa::vxio
