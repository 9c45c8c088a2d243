#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/os/LargePages.h"
#include "vxdependency/scanner/FileInfoData.h"
#include "vxdependency/store/StoreFill.h"

// How a file stands to what the store knows of it.
enum class FileChange : std::uint8_t {
    Unknown,  // met by an earlier walk: what that found out does not count any more
    None,     // the store is up to date about it
    Changed,
    Stored,  // it had changed, and was read and stored
};

// The files that one walk met, numbered in the byte order of their keys. A tree has up to a million
// of them: 21 bytes each, and the text of the key.
//
// Filled by one thread; then any thread may read, and change the entries of files that are its own.
class FileTable final : public vexa::vxdependency::IFileNames {
public:
    using Number = std::uint32_t;

    // Makes room for so many files, whose keys have so many bytes. std::length_error when that is
    // more than the table can number.
    void Reserve(std::size_t files, std::size_t bytes);
    // Adds a file, whose key must come after those that are there. `folder` is a key, "" for the
    // root; `isRead` says that files of its type are.
    Number Add(std::string_view folder, std::string_view name, std::int64_t writeTimeNs,
               std::uint64_t size, bool isRead);

    std::size_t Size() const override { return m_files.size(); }
    Number Find(std::string_view key) const override;
    std::string_view KeyOf(Number file) const override;
    std::int64_t WriteTime(Number file) const override {
        return WholeSeconds(m_files[file].writeTimeNs);
    }
    std::int64_t WriteTimeNs(Number file) const override { return m_files[file].writeTimeNs; }
    std::uint64_t SizeOf(Number file) const override { return m_files[file].size; }
    // The whole record, with the path as walked below `root`.
    FileInfoData InfoOf(Number file, const std::string& root) const;

    bool IsRead(Number file) const { return m_files[file].isRead; }
    FileChange Change(Number file) const { return m_changes[file]; }
    void SetChange(Number file, FileChange change) { m_changes[file] = change; }

private:
    struct File {
        std::int64_t writeTimeNs;
        std::uint64_t size : 63;
        std::uint64_t isRead : 1;
    };

    vexa::os::LargeTable<File> m_files;
    vexa::os::LargeTable<FileChange> m_changes;
    // Looked up at random, by the million: apart from the rest, they fit in a cache.
    vexa::os::LargeTable<std::uint32_t> m_keyEnds;
    std::basic_string<char, std::char_traits<char>, vexa::os::LargePages<char>> m_keys;
};
