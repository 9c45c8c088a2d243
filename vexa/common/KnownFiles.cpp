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

void KnownFiles::Add(std::string_view key) {
    m_files.insert(HashOf(key));
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
