#include "vexa/journal/FileStates.h"

#include <functional>

namespace vexa {

// Not by the bits that choose the bucket in the part's table.
FileStates::Part& FileStates::PartOf(const std::string& path) {
    return m_parts[(std::hash<std::string>()(path) >> 32) % m_parts.size()];
}

std::optional<FileState> FileStates::Find(const std::string& path) {
    Part& part = PartOf(path);
    const std::lock_guard lock(part.guard);
    const auto found = part.states.find(path);
    return found == part.states.end() ? std::nullopt : std::optional(found->second);
}

void FileStates::Keep(const std::string& path, const FileState& state, std::uint64_t age) {
    Part& part = PartOf(path);
    const std::lock_guard lock(part.guard);
    if (age == m_age) part.states.emplace(path, state);
}

void FileStates::ForgetAll() {
    ++m_age;
    for (Part& part : m_parts) {
        const std::lock_guard lock(part.guard);
        part.states.clear();
    }
}

}  // namespace vexa
