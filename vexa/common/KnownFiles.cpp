#include "vexa/common/KnownFiles.h"

#include <xxhash.h>

#include <bit>
#include <stdexcept>
#include <utility>

namespace vexa {

namespace {

// Half of the slots are empty, so that what is not there is found out in one or two looks, which
// mostly are at the same line of memory.
constexpr std::size_t kSlotsPerFile = 2;

thread_local const KnownFiles* t_inUse = nullptr;

std::uint64_t HashOf(std::string_view key) {
    return XXH3_64bits(key.data(), key.size());
}

}  // namespace

KnownFiles::KnownFiles(std::size_t capacity, Answer otherwise)
    : m_otherwise(otherwise),
      m_numberBits(static_cast<int>(std::bit_width(capacity))),
      m_slots(capacity * kSlotsPerFile + 1) {}  // one stays empty, where a search ends

std::size_t KnownFiles::SlotOf(std::uint64_t hash) const {
    // The upper bits of the hash give the place; the lower ones stand in the slot.
    std::size_t slot = (hash >> 32U) * m_slots.size() >> 32U;
    const std::uint64_t rest = hash << m_numberBits;
    while (m_slots[slot] != 0 && (m_slots[slot] ^ rest) >> m_numberBits != 0) {
        if (++slot == m_slots.size()) slot = 0;
    }
    return slot;
}

void KnownFiles::Add(std::string_view key) {
    if (++m_added > m_slots.size() / kSlotsPerFile)
        throw std::length_error("more files than room was made for");
    const std::uint64_t hash = HashOf(key);
    std::uint64_t& slot = m_slots[SlotOf(hash)];
    if (slot == 0) slot = hash << m_numberBits | m_added;
}

std::uint32_t KnownFiles::NumberOf(std::string_view key) const {
    const std::uint64_t slot = m_slots[SlotOf(HashOf(key))];
    const std::uint64_t number = slot & ((std::uint64_t{1} << m_numberBits) - 1);
    return static_cast<std::uint32_t>(number - 1);  // of an empty slot kNoNumber
}

void KnownFiles::AddUnknown(std::string_view key) {
    m_unknown.insert(HashOf(key));
}

KnownFiles::Answer KnownFiles::Find(std::string_view key) const {
    if (m_slots[SlotOf(HashOf(key))] != 0) return Answer::Yes;
    if (m_unknown.empty()) return m_otherwise;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = key.find('/', end + 1);
        if (m_unknown.count(HashOf(key.substr(0, end))) != 0) return Answer::AskDisk;
    }
    return m_otherwise;
}

KnownFiles::Use::Use(const KnownFiles& files) : m_before(std::exchange(t_inUse, &files)) {}

KnownFiles::Use::~Use() {
    t_inUse = m_before;
}

const KnownFiles* KnownFiles::OfThisThread() {
    return t_inUse;
}

}  // namespace vexa
