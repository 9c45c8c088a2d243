#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vexa/Export.h"
#include "vexa/lua/AutoRef.h"
#include "vexa/lua/RefCounted.h"

// The values that native operations hand to scripts in a box: immutable, reference-counted, shared
// between any number of scripts and threads.
namespace vexa::binding {

class VX_API Object : public RefCounted {
public:
    static constexpr char kTypeName[] = "boxed value";

    // What scripts call the type in messages.
    virtual const char* TypeName() const = 0;
    // What tostring gives.
    virtual std::string Text() const = 0;
    // What the operator # gives: bytes of a text, entries of a list.
    virtual std::size_t Length() const = 0;
};

// A text; prints as "String(text)".
class VX_API Str final : public Object {
public:
    static constexpr char kTypeName[] = "String";

    explicit Str(std::string value) : m_value(std::move(value)) {}

    const std::string& Value() const { return m_value; }

    const char* TypeName() const override { return kTypeName; }
    std::string Text() const override { return "String(" + m_value + ")"; }
    std::size_t Length() const override { return m_value.size(); }

private:
    std::string m_value;
};

// A list; prints as "Tuple(0x" and its address as 12 hexadecimal digits and ")".
class VX_API Tuple final : public Object {
public:
    static constexpr char kTypeName[] = "Tuple";

    explicit Tuple(std::vector<AutoRef<Object>> entries = {}) : m_entries(std::move(entries)) {}
    // A tuple of one string per entry, in the order of the list.
    static AutoRef<Object> Of(std::vector<std::string> list);

    // The entry at an index that counts from 0 and is less than Length.
    const AutoRef<Object>& At(std::size_t index) const { return m_entries[index]; }

    const char* TypeName() const override { return kTypeName; }
    std::string Text() const override;
    std::size_t Length() const override { return m_entries.size(); }

private:
    std::vector<AutoRef<Object>> m_entries;
};

}  // namespace vexa::binding
