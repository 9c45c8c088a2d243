#include "vexa/io/FileStream.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PathText.h"

namespace vexa::vxio {

namespace {

// Where on the disk a path in any form is; false when it is nowhere.
bool PlaceOf(const std::string& path, std::string& place) {
    std::string key;
    if (!NormaliseKey(path.substr(AnchorLength(path)), key)) return false;
    place = InterfaceBox::Instance().GetFileService().AbsolutePath(AnchorText(path) + key);
    return true;
}

}  // namespace

bool FileStream::Begin(const std::string& path, int fileSystem) {
    m_input.Close();
    m_output.Abandon();
    m_error.clear();
    m_position = 0;
    if (fileSystem != 0) {
        m_error = path + ": there is no file system of the type " + std::to_string(fileSystem);
    } else if (!PlaceOf(path, m_place)) {
        m_error = path + ": not a path below the resource root";
    }
    return m_error.empty();
}

bool FileStream::OpenRead(const std::string& path, int fileSystem) {
    if (!Begin(path, fileSystem)) return false;
    return m_input.Open(m_place) || FailReading("cannot be opened");
}

bool FileStream::OpenNew(const std::string& path, int fileSystem) {
    return Begin(path, fileSystem) && m_output.Open(m_place);
}

bool FileStream::Valid() const {
    return m_input.IsOpen() || m_output.IsOpen();
}

bool FileStream::Read(void* to, std::size_t size) {
    if (!m_input.IsOpen()) return false;
    if (!m_input.Read(to, size)) return FailReading("cannot be read");
    m_position += size;
    return true;
}

std::uint64_t FileStream::Remaining() const {
    return std::max(m_input.Size(), m_position) - m_position;
}

bool FileStream::Write(const void* from, std::size_t size) {
    return m_output.Write(from, size);
}

bool FileStream::Close() {
    m_input.Close();
    return m_output.IsOpen() ? m_output.Commit() : m_output.GetError().empty();
}

const std::string& FileStream::GetError() const {
    return m_error.empty() ? m_output.GetError() : m_error;
}

// Gives up with errno as the reason.
bool FileStream::FailReading(const char* what) {
    const std::string reason =
        errno == 0 ? "it ends too early" : std::generic_category().message(errno);
    m_error = m_place + ": " + what + ": " + reason;
    m_input.Close();
    return false;
}

}  // namespace vexa::vxio
