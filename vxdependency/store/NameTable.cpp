#include "vxdependency/store/NameTable.h"

#include <xxhash.h>

#include <algorithm>
#include <array>

#include "vexa/common/Prefetch.h"

namespace vexa::vxdependency {
namespace {

// So many look-ups wait for the memory together.
constexpr std::size_t kTogether = 16;

constexpr std::size_t kFirstSlots = 1024;

constexpr std::uint64_t TagOf(std::uint64_t hash) {
    return hash & ~std::uint64_t{UINT32_MAX};
}

constexpr NameTable::Number NumberIn(std::uint64_t slot) {
    return static_cast<NameTable::Number>(slot) - 1;
}

}  // namespace

std::uint64_t NameTable::HashOf(std::string_view name) {
    return XXH3_64bits(name.data(), name.size());
}

void NameTable::NumbersOf(std::span<const std::string_view> names, Number* numbers) {
    std::array<std::uint64_t, kTogether> hashes;
    while (!names.empty()) {
        const std::size_t count = std::min(names.size(), kTogether);
        while (2 * (m_names.size() + count) > m_slots.size()) Grow();
        for (std::size_t i = 0; i < count; ++i) {
            hashes[i] = HashOf(names[i]);
            Prefetch(&m_slots[PlaceOf(hashes[i])]);
        }
        // What is in the first slot most often is it.
        for (std::size_t i = 0; i < count; ++i) {
            const Slot slot = m_slots[PlaceOf(hashes[i])];
            if (slot != 0) Prefetch(&m_names[NumberIn(slot)]);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const Slot slot = m_slots[PlaceOf(hashes[i])];
            if (slot != 0) PrefetchText(m_names[NumberIn(slot)]);
        }
        for (std::size_t i = 0; i < count; ++i) numbers[i] = Find(names[i], hashes[i]);
        names = names.subspan(count);
        numbers += count;
    }
}

NameTable::Number NameTable::NumberOf(std::string_view name) {
    Number number = 0;
    NumbersOf({&name, 1}, &number);
    return number;
}

NameTable::Number NameTable::Find(std::string_view name, std::uint64_t hash) {
    std::size_t place = PlaceOf(hash);
    for (; m_slots[place] != 0; place = (place + 1) & (m_slots.size() - 1)) {
        const Slot slot = m_slots[place];
        if (TagOf(slot) == TagOf(hash) && m_names[NumberIn(slot)] == name) return NumberIn(slot);
    }
    return Enter(name, hash, place);
}

NameTable::Number NameTable::Enter(std::string_view name, std::uint64_t hash, std::size_t place) {
    const auto number = static_cast<Number>(m_names.size());
    char* const room = static_cast<char*>(m_room.allocate(name.size(), 1));
    name.copy(room, name.size());
    m_names.emplace_back(room, name.size());
    m_slots[place] = TagOf(hash) | (std::uint64_t{number} + 1);
    return number;
}

void NameTable::Grow() {
    m_slots.assign(std::max(2 * m_slots.size(), kFirstSlots), 0);
    for (Number number = 0; number < m_names.size(); ++number) {
        const std::uint64_t hash = HashOf(m_names[number]);
        std::size_t place = PlaceOf(hash);
        while (m_slots[place] != 0) place = (place + 1) & (m_slots.size() - 1);
        m_slots[place] = TagOf(hash) | (std::uint64_t{number} + 1);
    }
}

}  // namespace vexa::vxdependency
