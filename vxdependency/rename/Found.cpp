#include "vxdependency/rename/Found.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PathText.h"
#include "vexa/os/WindowsApi.h"

namespace vexa::strategies {

namespace {

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

}  // namespace

void Found::Clear() {
    m_count = 0;
    companions.clear();
    m_rooted.known = false;
    m_strategy = 0;
}

bool Found::Add(std::string_view key, bool loose) {
    if (key.empty()) return false;
    if (m_count == m_candidates.size()) {
        m_candidates.emplace_back();
        m_notes.emplace_back();
    }
    ReferenceCandidate& candidate = m_candidates[m_count];
    candidate.key = key;
    candidate.strategy = m_strategy;
    candidate.exists = false;
    m_notes[m_count++] = {loose, false};
    return true;
}

bool Found::Exists(std::size_t index) {
    ReferenceCandidate& candidate = m_candidates[index];
    if (!std::exchange(m_notes[index].looked, true)) {
        const bool isKey = !m_notes[index].loose && vxio::AnchorLength(candidate.key) == 0;
        candidate.exists =
            isKey ? Files().KeyExists(candidate.key) : Files().FileExists(candidate.key);
    }
    return candidate.exists;
}

const std::string* Found::RootedKey(const std::string& name) {
    const bool isLastKey =
        m_rooted.known && m_rooted.key == name && vxio::AnchorLength(name) == 0 && m_rooted.valid;
    if (isLastKey) {
        m_rooted.name = name;  // a strategy has dropped what stood in front
    } else if (!m_rooted.known || m_rooted.name != name) {
        m_rooted.known = true;
        m_rooted.looked = false;
        m_rooted.name = name;
        m_rooted.valid = Files().KeyOfReference(name, m_rooted.key);
    }
    return m_rooted.valid ? &m_rooted.key : nullptr;
}

const std::string* Found::PlainKey(const std::string& name) {
    const std::string* const key = RootedKey(name);
    if (!key || !name.ends_with(*key)) return nullptr;
    const auto front = name.end() - static_cast<std::ptrdiff_t>(key->size());
    return std::all_of(name.begin(), front, vxio::IsSeparator) ? key : nullptr;
}

bool Found::RootedExists(const std::string& name) {
    const std::string* const key = RootedKey(name);
    if (!key) return false;
    if (!std::exchange(m_rooted.looked, true)) m_rooted.exists = Files().KeyExists(*key);
    return m_rooted.exists;
}

// Two candidates often are two spellings of one key, and most attribute values are no path at all:
// each key costs one look, not one per spelling.
void Found::Resolve(const std::string& name) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_count; ++i) {
        if (!Settle(i) || IsWithin(kept, m_candidates[i].key)) continue;
        if (kept != i) {
            std::swap(m_candidates[kept], m_candidates[i]);
            m_notes[kept] = m_notes[i];
        }
        Exists(kept++);
    }
    m_count = kept;
    const std::string* const key = RootedKey(name);
    if (!key || key->size() > MAX_PATH || IsWithin(kept, *key)) return;
    m_strategy = 0;
    Add(*key);
    m_candidates[m_count - 1].exists = RootedExists(name);
}

// Makes a candidate the key that a reference with this text names; false when it names none. A key
// stays as it is, unless it looks like a path of the machine.
bool Found::Settle(std::size_t index) {
    std::string& key = m_candidates[index].key;
    if (m_notes[index].loose || vxio::AnchorLength(key) > 0) {
        m_notes[index].looked = false;
        if (!Files().KeyOfReference(std::string(key), key)) return false;
    }
    return key.size() <= MAX_PATH;
}

bool Found::IsWithin(std::size_t count, const std::string& key) const {
    return std::any_of(m_candidates.begin(),
                       m_candidates.begin() + static_cast<std::ptrdiff_t>(count),
                       [&key](const ReferenceCandidate& other) { return other.key == key; });
}

}  // namespace vexa::strategies
