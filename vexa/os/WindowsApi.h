#pragma once

// The Windows services that the engine calls, under their own names. On Windows this is the
// system's header; elsewhere the same names are ours (WindowsApiPosix.cpp, MoveFilePosix.cpp,
// ShellPathsPosix.cpp), with the part of the documented behaviour
// (https://learn.microsoft.com/windows/win32/api/) that the engine relies on. Paths are absolute or
// relative to the working directory, with "/" or "\" between segments; they must not be null unless
// that is said. All functions may be called from any thread.
#if defined(_WIN32)
#include <io.h>
#include <shlwapi.h>
#include <windows.h>
#else

#include <cstdint>

using BOOL = int;
using DWORD = std::uint32_t;
using LPCSTR = const char*;
using LPSTR = char*;

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;
constexpr int MAX_PATH = 260;

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;

// Attributes of what is at `path`, INVALID_FILE_ATTRIBUTES when nothing is. A directory has the
// directory bit; anything without its owner's write bit also the read-only bit; a symbolic link
// what it leads to and the reparse bit. A file with no other bit is FILE_ATTRIBUTE_NORMAL.
DWORD GetFileAttributesA(LPCSTR path);

// The calling thread's code of its last failed GetFileAttributesA, MoveFileA or CopyFileA, as
// Windows numbers them; a call that succeeds leaves it as it is.
DWORD GetLastError();
void SetLastError(DWORD code);

// Moves a file or directory, a link as such. Nothing is ever replaced: ERROR_ALREADY_EXISTS when
// the target exists, the file itself included. ERROR_PATH_NOT_FOUND when the target's directory is
// missing, ERROR_FILE_NOT_FOUND when the source is. Across devices a file is copied with its
// permissions and times, synced, and then removed; a directory is not (ERROR_NOT_SAME_DEVICE).
// After a failure the source is in its place.
BOOL MoveFileA(LPCSTR from, LPCSTR to);

// Copies a regular file, through links, with its permissions and times; with failIfExists an
// existing target is ERROR_FILE_EXISTS, without it the target is replaced as a whole, through
// links. The target appears when the copy is complete; a copy that fails leaves what was there
// before.
BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists);

// TRUE if a directory is there, through links.
BOOL PathIsDirectoryA(LPCSTR path);

// FALSE for a path that begins with a separator or a drive letter and a colon; TRUE for null.
BOOL PathIsRelativeA(LPCSTR path);

// Joins `file` to `directory` into `out` (MAX_PATH + 1 bytes; it may be one of the arguments) and
// simplifies "." and "..". "\" is the separator that it writes on Windows, "/" elsewhere. Null,
// with `out` empty, when the result is longer than MAX_PATH or both are null. An absolute `file`
// replaces `directory`.
LPSTR PathCombineA(LPSTR out, LPCSTR directory, LPCSTR file);

// The way from `from` to `to` into `out` (MAX_PATH + 1 bytes), both absolute: "./x", "../x", "."
// for the directory itself; the attributes tell whether each is a directory. FALSE, with `out`
// empty, when there is no way or it is too long.
BOOL PathRelativePathToA(LPSTR out, LPCSTR from, DWORD fromAttributes, LPCSTR to,
                         DWORD toAttributes);

// Tests a path for existence (mode 0), writing (2), reading (4): 0 if granted, else -1 and errno.
int _access(const char* path, int mode);

#endif
