#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vexa/util/TextPosition.h"

namespace vexa {

namespace ujson {

class value;
// A member of an object; an object is the list of its members in file order, repeated names kept.
using member = std::pair<std::string, value>;
using object = std::vector<member>;
using array = std::vector<value>;

// A JSON value. Copies are deep. Not locked: a value belongs to one thread at a time.
class value {
public:
    enum class kind : std::uint8_t { Null, Boolean, Number, String, Array, Object };
    static constexpr std::size_t no_offset = (std::size_t{1} << 56) - 1;

    value() = default;
    explicit value(kind type);
    value(const value&);
    value& operator=(const value&);
    value(value&& other) noexcept
        : m_data(other.m_data), m_offset(other.m_offset), m_kind(other.m_kind) {
        other.m_kind = code(kind::Null);
        other.m_offset = no_offset;
    }
    value& operator=(value&& other) noexcept {
        value taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~value() {
        if (m_kind >= code(kind::String)) destroy();
    }

    kind type() const { return static_cast<kind>(m_kind); }
    bool is_object() const { return type() == kind::Object; }
    bool is_array() const { return type() == kind::Array; }
    bool is_string() const { return type() == kind::String; }

    // The members or elements; a list that is empty, and is not the value's, when the value is of
    // another kind.
    object& to_object();
    const object& to_object() const;
    array& to_array();
    const array& to_array() const;

    // The string's text, in UTF-8 unless the file held other bytes; `fallback` for other kinds.
    std::string to_string(const std::string& fallback) const;
    // The same in place, until the value changes; "" for other kinds.
    std::string_view text() const;
    bool to_bool(bool fallback) const;
    double to_double(double fallback) const;
    // The number cut to its integer part; `fallback` for other kinds and for numbers that do not
    // fit.
    std::int32_t to_int32(std::int32_t fallback) const;

    // Makes the value a string.
    void set_string(std::string text);

    // Where the value's text begins in the file's bytes (a string's at its opening quote);
    // no_offset for a value that was not read from a file.
    std::size_t offset() const { return m_offset; }

private:
    friend class value_builder;
    explicit value(bool flag);
    explicit value(double number);
    explicit value(std::string text);
    static constexpr std::uint64_t code(kind type) { return static_cast<std::uint64_t>(type); }
    void swap(value& other) noexcept;
    void destroy();  // not recursive: depth comes from input
    void dismantle();

    // A document can have tens of millions of values: a value takes two words, and is moved by
    // copying them. What is pointed to is the value's own.
    union {
        bool flag;
        double number;
        std::string* text;
        array* elements;
        object* members;
    } m_data{};
    std::uint64_t m_offset : 56 = no_offset;
    std::uint64_t m_kind : 8 = code(kind::Null);
};

// How a document is written where its source does not tell.
struct to_string_options {
    // The blanks by which a level is indented.
    unsigned indent = 2;
};

}  // namespace ujson

namespace vxio {

// A JSON document that keeps the bytes of its file. One thread at a time.
class JsonData {
public:
    JsonData();
    ~JsonData();
    JsonData(JsonData&&) noexcept;
    JsonData& operator=(JsonData&&) noexcept;

    // Reads a file through the file service. 0 when it parsed; -1 when it cannot be read or is not
    // JSON: GetError then says why, and the document is empty. Comments and a BOM are read over.
    // JSON is UTF-8 (RFC 8259): UTF-16 and UTF-32 are refused, while single bytes in a string that
    // are no UTF-8 are kept as they stand. Refused as well are NUL bytes, numbers beyond the range
    // of a double and documents of more than 32 Mi values.
    int Load(const std::string& path);
    int LoadText(std::string text);

    // Writes the document to a file, by a path in any form, at once and as a whole: a crash leaves
    // the old file or the new one. 0 when done; -1 when nothing is loaded or the file cannot be
    // written: GetError then names the file and says why, and the file is as it was. The file that
    // was loaded is not touched when nothing was changed, nor is one that has these bytes already.
    int Save(const std::string& path, const ujson::to_string_options& options = {});

    // The bytes that Save writes; "" when nothing is loaded. They are those that were read, except
    // for strings whose text was changed, as long as there is no other change: one then has
    // the quotes, backslashes and control characters escaped, and "/" where its old text escaped
    // each. Otherwise the document is written anew: with the source's byte order mark,
    // indentation, line ends, last line break and spellings of numbers, but without comments, and
    // indented no deeper than 64 levels.
    std::string ToText(const ujson::to_string_options& options = {}) const;

    // The absolute path of the file that was loaded; "" for a document from a text.
    const std::string& GetPath() const { return m_path; }

    // The root value; null when nothing is loaded.
    ujson::value* GetRoot();

    // Why the last Load, LoadText or Save failed, "line 3, column 7: missing a comma"; "" if it did
    // not.
    const std::string& GetError() const { return m_error; }

    // The bytes as they were read; offsets and lines are of these, also after a Save.
    const std::string& GetSource() const { return m_source; }

    // The line, from 1, on which an offset stands.
    std::size_t LineOf(std::size_t offset) const;

private:
    int Parse();
    int Fail(std::string reason);

    std::string m_source;
    std::string m_path;  // absolute, of the file that was loaded
    std::string m_error;
    std::unique_ptr<ujson::value> m_root;
    mutable std::optional<LineIndex> m_lines;  // made when somebody asks for one
};

}  // namespace vxio
}  // namespace vexa
