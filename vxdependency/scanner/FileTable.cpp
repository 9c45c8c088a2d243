#include "vxdependency/scanner/FileTable.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

void FileTable::Reserve(std::size_t files, std::size_t bytes) {
    constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max() / 2;
    if (files > kMost || bytes > kMost) {
        throw std::length_error(
            "there are more files below the resource root than can be numbered");
    }
    m_files.reserve(files);
    m_changes.reserve(files);
    m_keyEnds.reserve(files);
    m_keys.reserve(bytes);
}

FileTable::Number FileTable::Add(std::string_view folder, std::string_view name,
                                 std::int64_t writeTimeNs, std::uint64_t size, bool isRead) {
    if (!folder.empty()) m_keys.append(folder).push_back('/');
    m_keys.append(name);
    m_keyEnds.push_back(static_cast<std::uint32_t>(m_keys.size()));
    m_files.push_back({writeTimeNs, size, isRead});
    m_changes.push_back(FileChange::Unknown);
    return static_cast<Number>(m_files.size() - 1);
}

std::string_view FileTable::KeyOf(Number file) const {
    const std::uint32_t begin = file == 0 ? 0 : m_keyEnds[file - 1];
    return {m_keys.data() + begin, m_keyEnds[file] - begin};
}

FileInfoData FileTable::InfoOf(Number file, const std::string& root) const {
    FileInfoData info;
    info.path = root + '\\';
    info.path += KeyOf(file);
    std::replace(info.path.begin() + static_cast<std::ptrdiff_t>(root.size()), info.path.end(), '/',
                 '\\');
    info.timestamp = WriteTime(file);
    return info;
}

FileTable::Number FileTable::Find(std::string_view key) const {
    const auto keyOf = [this](const File& file) {
        return KeyOf(static_cast<Number>(&file - m_files.data()));
    };
    const auto found = std::ranges::lower_bound(m_files, key, {}, keyOf);
    const bool there = found != m_files.end() && keyOf(*found) == key;
    return static_cast<Number>(there ? found - m_files.begin() : std::ssize(m_files));
}
