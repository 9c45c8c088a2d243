#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/Findings.h"

namespace vexa::vxdependency {

// The files of a tree by number, from 0, in the byte order of their keys.
class IFileNames {
public:
    virtual std::size_t Size() const = 0;
    // The number of a key; Size() for one that is not there.
    virtual std::uint32_t Find(std::string_view key) const = 0;
    virtual std::string_view KeyOf(std::uint32_t file) const = 0;
    virtual std::int64_t WriteTime(std::uint32_t file) const = 0;  // whole seconds, as in stamps
    virtual std::int64_t WriteTimeNs(std::uint32_t file) const = 0;
    virtual std::uint64_t SizeOf(std::uint32_t file) const = 0;

protected:
    ~IFileNames() = default;
};

// A file as it is to be stored.
struct FilledFile {
    std::uint32_t number = 0;
    std::uint32_t references = 0;  // entries of its list
    bool stamped = false;          // with a time stamp: its type is read, and it could be
    bool failed = false;
};

// Files that one thread has read in a row.
struct FilledFiles {
    std::size_t position = 0;  // of the first one, in the order in which all are to be stored
    std::vector<FilledFile> files;
    std::vector<std::uint32_t> references;  // the numbers of their entries, file by file
    std::vector<std::pair<std::uint32_t, Findings>> findings;  // by the number of the file
};

// What is read of a whole tree into a store that knows nothing of it, to be written at once.
//
// A store of a million files has 3.5 million records, in the order of their ids: any part of the
// tree is spread over all of its pages, so that writing part by part writes each page many times.
// Kept here, all of it fits into memory: an entry is the number of a file, 4 bytes, and a list is
// made to text when it is written. The bytes stored are those that StoreBatch would store, file by
// file in the order of their positions.
//
// NumberOf may be called by any thread; the rest is serialised by who owns it (see WriteBatch).
class StoreFill {
public:
    // `directory` is what makes a key absolute, "/" included. The files must outlive the object.
    // `bytesPerCommit` is for FillWriter; 0 stands for what suits the number of files.
    StoreFill(const IFileNames& files, std::string directory, std::size_t bytesPerCommit = 0);
    StoreFill(const StoreFill&) = delete;
    StoreFill& operator=(const StoreFill&) = delete;

    // The number of an entry that names none of the files.
    std::uint32_t NumberOf(const std::string& entry);

    void Add(FilledFiles run);
    bool IsEmpty() const { return m_runs.empty(); }
    std::size_t FileCount() const;
    // Whether the files that are to be added have this one in this state.
    bool Holds(const std::string& key, const CatalogueEntry& state) const;
    // The memory in use, about.
    std::size_t Bytes() const { return m_bytes; }

    // Writes what was added, and drops it. Files that somebody else has stored are left out:
    // whoever did so has looked at them later, or at the same state. False when it could not be
    // written; the store is then emptied (see FillWriter).
    bool Write(VXDatabase& database);

private:
    const IFileNames& m_files;
    const std::string m_directory;
    const std::size_t m_bytesPerCommit;

    std::mutex m_entriesMutex;
    std::deque<std::string> m_entries;  // that are no files
    std::unordered_map<std::string_view, std::uint32_t> m_entryNumbers;

    std::vector<FilledFiles> m_runs;
    std::size_t m_bytes = 0;
};

}  // namespace vexa::vxdependency
