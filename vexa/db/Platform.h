#pragma once

#include <lmdb.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <system_error>

// What the database needs of the operating system beside lock files.
namespace vexa {

// Holds `mutex` while the process forks, so that the child finds it free. To be called once.
void HoldWhileForking(std::mutex& mutex);
// How often the process has forked off on the way from where HoldWhileForking was called to itself.
unsigned ForkDepth();

// True when `path` names the file that is open as `file`.
bool IsSameFile(mdb_filehandle_t file, const std::string& path);

// Makes sure that the first `size` bytes of a file have room on the disk; makes the file if need
// be.
std::error_code ReserveFile(const std::string& path, std::size_t size);

// Makes the names in a directory durable.
std::error_code SyncDirectory(const std::string& path);

}  // namespace vexa
