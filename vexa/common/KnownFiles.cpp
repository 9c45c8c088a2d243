#include "vexa/common/KnownFiles.h"

#include <xxhash.h>

#include <utility>

namespace vexa {

namespace {

thread_local const KnownFiles* t_inUse = nullptr;

std::uint64_t HashOf(std::string_view key) {
    return XXH3_64bits(key.data(), key.size());
}

}  // namespace

KnownFiles::KnownFiles(Answer otherwise) : m_otherwise(otherwise) {
    // Fuller than it is by default: it is as large as the tree.
    constexpr float kFull = 0.8F;
    m_files.max_load_factor(kFull);
}

void KnownFiles::Add(std::string_view key, std::uint32_t number) {
    m_files.emplace(HashOf(key), number);
}

std::uint32_t KnownFiles::NumberOf(std::string_view key) const {
    const auto found = m_files.find(HashOf(key));
    return found == m_files.end() ? kNoNumber : found->second;
}

void KnownFiles::AddUnknown(std::string_view key) {
    m_unknown.insert(HashOf(key));
}

KnownFiles::Answer KnownFiles::Find(std::string_view key) const {
    if (m_files.count(HashOf(key)) != 0) return Answer::Yes;
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
