#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vexa::os {

// A file that is saved as a whole: written beside its place, synced, and given the place at the
// end, so that a crash leaves the old file or the new one and never a part of one. An existing
// file's permissions, and its owner where we may, go over to the new one. A symbolic link stays and
// its target is replaced; of a hard link only this name is. A file that we may not write is not
// replaced, though its folder would allow it.
//
// To be used by one thread at a time. Operations report failure by false; GetError says why.
class AtomicFile {
public:
    AtomicFile() = default;
    ~AtomicFile() { Abandon(); }
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Begins a file at `path` (absolute) in place of one that was begun before. Its folder must
    // exist; nothing changes there that a walk would take for a resource.
    bool Open(const std::string& path);

    bool IsOpen() const { return m_handle != kNone; }

    // Appends. After a failure nothing is open any more and what was at the place is untouched.
    bool Write(const void* bytes, std::size_t size);

    // Puts the file in its place and makes that durable. On failure what was there before is still
    // there, except when it was just the folder that could not be synced.
    bool Commit();

    // Gives up; what was at the place is untouched.
    void Abandon();

    // "/abs/a.scn: cannot be saved: No space left on device"; "" as long as nothing has failed
    // since Open.
    const std::string& GetError() const { return m_error; }

private:
    static constexpr std::intptr_t kNone = -1;

    bool Begin();
    bool Close();
    bool Fail();

    std::string m_path;
    std::string m_target;  // what takes the new file: the path, through links
    std::string m_copy;    // the file beside it, while that has a name of its own
    std::string m_error;
    std::intptr_t m_handle = kNone;
};

// Saves `bytes` as the file at `path`. On failure `error` says why.
bool SaveFile(const std::string& path, std::string_view bytes, std::string& error);

}  // namespace vexa::os
