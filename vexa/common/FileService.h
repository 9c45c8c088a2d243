#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "vexa/Export.h"

// The engine's file-system service: the one place that turns a path in any of its three forms into
// a file of the machine. The forms are
//   key             relative to the resource root R/res, "/" between segments: "fx/a.nfx"
//   generator form  a key with "\" between segments; at the top of the tree ".\name"
//   absolute form   R/res/ + key, or any other absolute path of the machine
namespace vexa {

// A file read as a whole. Owned by whoever read it, and given back with Release.
class IFile {
public:
    // The whole contents, followed by one NUL that does not count.
    virtual const char* GetText() const = 0;
    virtual const char* GetData() const = 0;
    virtual std::size_t GetSize() const = 0;
    virtual void Release() = 0;

protected:
    virtual ~IFile() = default;
};

struct FileRelease {
    void operator()(IFile* file) const { file->Release(); }
};
using FilePtr = std::unique_ptr<IFile, FileRelease>;

// What one look at the disk tells of a path.
struct FileState {
    bool exists = false;
    bool directory = false;
    std::int64_t writeTimeNs = 0;  // last write, nanoseconds since 1970-01-01 UTC
    std::uint64_t size = 0;        // bytes

    friend bool operator==(const FileState&, const FileState&) = default;
};

// All operations may be called from any thread. `path` is in any of the three forms; ".." in it is
// resolved by name. A relative path that leaves the resource root names nothing.
class IFileService {
public:
    virtual ~IFileService() = default;

    // Reads a whole file; null when it is not there, is a directory or cannot be read.
    virtual FilePtr ReadFile(const std::string& path) = 0;

    // True if a file (not a directory) is there; links are followed.
    virtual bool FileExists(const std::string& path) = 0;

    // The same of a key, which is no path of the machine: it need not be looked at whether it is.
    virtual bool KeyExists(const std::string& key) { return FileExists(key); }

    // State of a file or directory; links are followed. What cannot be looked at does not exist.
    virtual FileState GetState(const std::string& path) = 0;

    // The key of `path`: relative paths are taken from the resource root, absolute ones must lie
    // under it, by name or (looked up on the disk when the names differ) by another way that leads
    // to the resource root. The resource root itself has the key "". False, with `key` empty, when
    // the path leaves the resource root or holds a NUL.
    virtual bool MakeRelative(const std::string& path, std::string& key) = 0;

    // The key that the text of a reference names. As MakeRelative, except that a leading separator
    // does not make the text a path of the machine: it is dropped, unless the text is the absolute
    // form of something under the resource root. Goes by name alone. A text that names the resource
    // root itself has no key.
    virtual bool KeyOfReference(const std::string& text, std::string& key) = 0;

    // The absolute form of `path` for a call of the operating system. Absolute input is returned
    // with its separators made "/"; relative input likewise, joined to the resource root as it
    // stands (".." is not resolved).
    virtual std::string AbsolutePath(const std::string& path) = 0;

    // Writes the form of the path that the store uses (the key where there is one, else the path
    // with "/" separators) and a NUL to `buffer`. False, with "" in a buffer that holds a NUL, when
    // it does not fit.
    virtual bool NormalisePath(const char* path, char* buffer, std::size_t capacity) = 0;

    // Where on the disk the contents of `path` lie: an absolute path. False when they lie nowhere
    // there: `path` names nothing, or its contents are not on the disk (yet). Nothing need exist.
    virtual bool FindPlace(const std::string& path, std::string& place) = 0;

    // Makes `bytes` the contents of a file, at once and as a whole (see os::AtomicFile). A file of
    // the disk that has them already is not touched. False when
    // that cannot be; `error` then names the file and says why.
    virtual bool Save(const std::string& path, std::string_view bytes, std::string& error) = 0;

    // Moves a file or a directory, or copies a file; nothing is ever replaced. 0 when done,
    // otherwise the error as GetLastError numbers them, and nothing has changed.
    virtual std::uint32_t Move(const std::string& from, const std::string& to) = 0;
    virtual std::uint32_t Copy(const std::string& from, const std::string& to) = 0;
};

// Helpers on keys; no disk is touched.

// Makes "\" to "/", drops empty and "." segments and resolves "..". False, with `key` empty, when
// ".." leads above the root or the text holds a NUL. `text` and `key` may be one object.
VX_API bool NormaliseKey(const std::string& text, std::string& key);

// The form in which generators are handed a key: "fx\a.nfx", at the top of the tree ".\a.nfx"; ""
// stays "".
VX_API std::string GeneratorForm(const std::string& key);

}  // namespace vexa
