#pragma once

#include <cstdint>
#include <memory_resource>
#include <span>
#include <string_view>

#include "vexa/os/LargePages.h"

namespace vexa::vxdependency {

// Numbers names in the order in which they are met. A million names lie anywhere in memory, and
// waiting for it is all that a look-up costs: so several are looked up at once.
class NameTable {
public:
    using Number = std::uint32_t;

    // Sets the numbers of names, which are entered as far as they are new. As quick as it can be
    // with a dozen names or more.
    void NumbersOf(std::span<const std::string_view> names, Number* numbers);
    Number NumberOf(std::string_view name);

    // The names by their numbers; they live as long as the table.
    const os::LargeTable<std::string_view>& Names() const { return m_names; }

    // Frees what the numbers of names are found by; names may only be read then.
    void Close() { m_slots = {}; }

private:
    // 0 while it is free; else the upper half of the name's hash, and its number + 1.
    using Slot = std::uint64_t;

    static std::uint64_t HashOf(std::string_view name);
    std::size_t PlaceOf(std::uint64_t hash) const { return hash & (m_slots.size() - 1); }
    Number Find(std::string_view name, std::uint64_t hash);
    Number Enter(std::string_view name, std::uint64_t hash, std::size_t place);
    void Grow();

    std::pmr::monotonic_buffer_resource m_room;  // of the names
    os::LargeTable<std::string_view> m_names;
    os::LargeTable<Slot> m_slots;
};

}  // namespace vexa::vxdependency
