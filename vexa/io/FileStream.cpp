#include "vexa/io/FileStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/ReadFailures.h"

namespace vexa::vxio {

namespace {

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

}  // namespace

bool FileStream::Begin(const std::string& path, int fileSystem) {
    m_input.Close();
    m_file.reset();
    m_output.reset();
    m_error.clear();
    m_position = 0;
    m_path = path;
    if (fileSystem == 0) return true;
    m_error = path + ": there is no file system of the type " + std::to_string(fileSystem);
    return false;
}

bool FileStream::OpenRead(const std::string& path, int fileSystem) {
    if (!Begin(path, fileSystem)) return false;
    std::string place;
    if (Files().FindPlace(path, place))
        return m_input.Open(place) || FailReading("cannot be opened");
    m_file = Files().ReadFile(path);
    if (!m_file) m_error = path + ": cannot be opened: there is no such file";
    return m_file != nullptr;
}

bool FileStream::OpenNew(const std::string& path, int fileSystem) {
    if (!Begin(path, fileSystem)) return false;
    m_output.emplace();
    return true;
}

bool FileStream::Valid() const {
    return m_input.IsOpen() || m_file || m_output;
}

bool FileStream::Read(void* to, std::size_t size) {
    if (m_file) {
        if (size > Remaining()) {
            errno = 0;
            return FailReading("cannot be read");
        }
        if (size > 0) std::memcpy(to, m_file->GetData() + m_position, size);
    } else if (!m_input.IsOpen()) {
        return false;
    } else if (!m_input.Read(to, size)) {
        return FailReading("cannot be read");
    }
    m_position += size;
    return true;
}

std::uint64_t FileStream::Remaining() const {
    const std::uint64_t size = m_file ? m_file->GetSize() : m_input.Size();
    return std::max(size, m_position) - m_position;
}

bool FileStream::Write(const void* from, std::size_t size) {
    if (m_output) m_output->append(static_cast<const char*>(from), size);
    return m_output.has_value();
}

bool FileStream::Close() {
    m_input.Close();
    m_file.reset();
    const std::optional<std::string> output = std::exchange(m_output, std::nullopt);
    return !output || Files().Save(m_path, *output, m_error);
}

// Gives up with errno as the reason.
bool FileStream::FailReading(const char* what) {
    if (errno != 0) NoteReadFailure();
    const std::string reason =
        errno == 0 ? "it ends too early" : std::generic_category().message(errno);
    m_error = m_path + ": " + what + ": " + reason;
    m_input.Close();
    m_file.reset();
    return false;
}

}  // namespace vexa::vxio
