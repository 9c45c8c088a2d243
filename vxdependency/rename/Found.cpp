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
    Shorten(0);
    companions.clear();
    m_rooted.known = false;
    m_strategy = 0;
}

bool Found::Add(std::string_view key, bool loose) {
    if (key.empty()) return false;
    if (m_spare.empty()) m_spare.emplace_back();
    m_candidates.push_back({std::move(m_spare.back()), m_strategy, false});
    m_spare.pop_back();
    m_candidates.back().key = key;
    m_notes.push_back({loose, false});
    return true;
}

bool Found::Exists(std::size_t index) {
    ReferenceCandidate& candidate = m_candidates[index];
    if (!std::exchange(m_notes[index].looked, true)) {
        candidate.exists = Files().FileExists(candidate.key);
    }
    return candidate.exists;
}

const std::string* Found::RootedKey(const std::string& name) {
    if (!m_rooted.known || m_rooted.name != name) {
        m_rooted.known = true;
        m_rooted.looked = false;
        m_rooted.name = name;
        m_rooted.valid = Files().KeyOfReference(name, m_rooted.key);
    }
    return m_rooted.valid ? &m_rooted.key : nullptr;
}

bool Found::RootedExists(const std::string& name) {
    const std::string* const key = RootedKey(name);
    if (!key) return false;
    if (!std::exchange(m_rooted.looked, true)) m_rooted.exists = Files().FileExists(*key);
    return m_rooted.exists;
}

// Two candidates often are two spellings of one key, and most attribute values are no path at all:
// each key costs one look, not one per spelling.
void Found::Resolve(const std::string& name) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_candidates.size(); ++i) {
        if (!Settle(i) || IsWithin(kept, m_candidates[i].key)) continue;
        if (kept != i) {
            std::swap(m_candidates[kept], m_candidates[i]);
            m_notes[kept] = m_notes[i];
        }
        Exists(kept++);
    }
    Shorten(kept);
    const std::string* const key = RootedKey(name);
    if (!key || key->size() > MAX_PATH || IsWithin(kept, *key)) return;
    m_strategy = 0;
    Add(*key);
    m_candidates.back().exists = RootedExists(name);
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

void Found::Shorten(std::size_t count) {
    for (; m_candidates.size() > count; m_candidates.pop_back()) {
        m_spare.push_back(std::move(m_candidates.back().key));
    }
    m_notes.resize(count);
}

}  // namespace vexa::strategies
