#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "vexa/common/FileService.h"
#include "vexa/io/Stream.h"
#include "vexa/os/FileAccess.h"

namespace vexa::vxio {

// A file of the disk as a stream, for reading or for writing anew. Paths are in any of the three
// forms of the file service. `fileSystem` is the type of file system; there is one, 0, the disk. To
// be used by one thread at a time.
class FileStream final : public IInputStream, public IOutputStream {
public:
    FileStream() = default;
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    // Opens a regular file for reading, through links. Only what is read is fetched.
    bool OpenRead(const std::string& path, int fileSystem = 0);

    // Begins a file in place of the one that is there. What is written is kept in memory until
    // Close, which saves it as a whole (see IFileService::Save); a stream that is destroyed before
    // leaves the old file alone.
    bool OpenNew(const std::string& path, int fileSystem = 0);

    // True while a file is open and nothing has failed.
    bool Valid() const;

    bool Read(void* to, std::size_t size) override;
    bool Write(const void* from, std::size_t size) override;
    std::uint64_t Position() const override { return m_position; }
    std::uint64_t Remaining() const override;  // by the file's size when it was opened

    // True unless a file was written and could not be put in its place, which then is as it was.
    bool Close();

    // What failed last, with the path; "" after a successful opening.
    const std::string& GetError() const { return m_error; }

private:
    bool Begin(const std::string& path, int fileSystem);
    bool FailReading(const char* what);

    std::string m_path;  // as it was given
    std::string m_error;
    os::InputFile m_input;
    FilePtr m_file;  // what is read, where its contents are not on the disk
    std::optional<std::string> m_output;
    std::uint64_t m_position = 0;
};

}  // namespace vexa::vxio
