#include "vexa/common/DiskFileService.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "vexa/common/KeyText.h"
#include "vexa/common/KnownFiles.h"
#include "vexa/common/ReadFailures.h"
#include "vexa/io/PathText.h"
#include "vexa/os/AtomicFile.h"
#include "vexa/os/FileAccess.h"
#include "vexa/os/WindowsApi.h"

namespace vexa {

namespace {

class FileInMemory final : public IFile {
public:
    explicit FileInMemory(os::FileContents contents) : m_contents(std::move(contents)) {}

    const char* GetText() const override { return m_contents.bytes.get(); }
    const char* GetData() const override { return m_contents.bytes.get(); }
    std::size_t GetSize() const override { return m_contents.size; }
    void Release() override { delete this; }

private:
    const os::FileContents m_contents;
};

bool IsAbsolute(std::string_view path) {
    return vxio::AnchorLength(path) > 0;
}

std::string WithSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

// An absolute path with its "." and ".." resolved; false when it climbs above the machine's root.
bool NormaliseAbsolute(const std::string& path, std::string& normal) {
    if (!NormaliseKey(path.substr(vxio::AnchorLength(path)), normal)) return false;
    normal.insert(0, vxio::AnchorText(path));
    return true;
}

}  // namespace

DiskFileService::DiskFileService(RootSource resourceRoot)
    : m_resourceRoot(std::move(resourceRoot)) {}

FilePtr DiskFileService::ReadFile(const std::string& path) {
    std::string place;
    if (!FindPlace(path, place)) return nullptr;
    os::FileContents contents = os::ReadWholeFile(place);
    if (!contents.bytes) NoteReadFailure();
    return FilePtr(contents.bytes ? new FileInMemory(std::move(contents)) : nullptr);
}

bool DiskFileService::FileExists(const std::string& path) {
    if (!KnownFiles::OfThisThread() || IsAbsolute(path)) return IsOnDisk(path);
    if (IsPlainKey(path)) return KeyExists(path);
    std::string key;
    return NormaliseKey(path, key) && KeyExists(key);
}

bool DiskFileService::KeyExists(const std::string& key) {
    const KnownFiles* const known = KnownFiles::OfThisThread();
    const auto answer = known ? known->Find(key) : KnownFiles::Answer::AskDisk;
    return answer == KnownFiles::Answer::AskDisk ? IsOnDisk(key)
                                                 : answer == KnownFiles::Answer::Yes;
}

bool DiskFileService::IsOnDisk(const std::string& path) {
    std::string place;
    return FindPlace(path, place) && os::IsRegularFile(place);
}

FileState DiskFileService::GetState(const std::string& path) {
    std::string place;
    return FindPlace(path, place) ? os::StateOfPath(place) : FileState{};
}

bool DiskFileService::MakeRelative(const std::string& path, std::string& key) {
    if (!IsAbsolute(path)) return NormaliseKey(path, key);
    if (KeyBelowRoot(path, key)) return true;
    std::string absolute;
    const bool found = NormaliseAbsolute(path, absolute) &&
                       (KeyByName(absolute, key) || KeyByPlace(absolute, key));
    if (!found) key.clear();
    return found;
}

bool DiskFileService::KeyOfReference(const std::string& text, std::string& key) {
    const bool anchored = IsAbsolute(text);
    if (anchored && vxio::HasDrive(text)) {
        std::string absolute;
        const bool found = NormaliseAbsolute(text, absolute) && KeyByName(absolute, key);
        if (!found) key.clear();
    } else if (NormaliseKey(text, key) && anchored) {
        DropRoot(key);
    }
    return !key.empty();
}

std::string DiskFileService::AbsolutePath(const std::string& path) {
    return IsAbsolute(path) ? WithSlashes(path) : BelowRoot(WithSlashes(path));
}

bool DiskFileService::NormalisePath(const char* path, char* buffer, std::size_t capacity) {
    if (path == nullptr || buffer == nullptr || capacity == 0) return false;
    std::string form;
    if (!MakeRelative(path, form)) form = WithSlashes(path);
    const bool fits = form.size() < capacity;
    buffer[fits ? form.copy(buffer, form.size()) : 0] = '\0';
    return fits;
}

// An absolute path needs no key: the system finds it under each of its names.
bool DiskFileService::FindPlace(const std::string& path, std::string& place) {
    if (IsAbsolute(path)) return NormaliseAbsolute(path, place);
    if (!NormaliseKey(path, place)) return false;
    const std::string& root = m_resourceRoot();
    place.reserve(root.size() + 1 + place.size());
    place.insert(0, 1, '/').insert(0, root);
    return true;
}

bool DiskFileService::Save(const std::string& path, std::string_view bytes, std::string& error) {
    std::string place;
    if (!FindPlace(path, place)) {
        error = path + ": not a path below the resource root";
        return false;
    }
    const os::FileContents old = os::ReadWholeFile(place);
    if (old.bytes && std::string_view(old.bytes.get(), old.size) == bytes) return true;
    return os::SaveFile(place, bytes, error);
}

std::uint32_t DiskFileService::Move(const std::string& from, const std::string& to) {
    std::string source;
    std::string target;
    if (!FindPlace(from, source) || !FindPlace(to, target)) return ERROR_PATH_NOT_FOUND;
    return MoveFileA(source.c_str(), target.c_str()) ? 0 : GetLastError();
}

std::uint32_t DiskFileService::Copy(const std::string& from, const std::string& to) {
    std::string source;
    std::string target;
    if (!FindPlace(from, source) || !FindPlace(to, target)) return ERROR_PATH_NOT_FOUND;
    return CopyFileA(source.c_str(), target.c_str(), TRUE) ? 0 : GetLastError();
}

// The usual case of the following, at a third of its cost: the path begins with the resource root
// as it is spelled.
bool DiskFileService::KeyBelowRoot(const std::string& path, std::string& key) const {
    const std::string& root = m_resourceRoot();
    return path.starts_with(root) && path.size() > root.size() &&
           vxio::IsSeparator(path[root.size()]) && NormaliseKey(path.substr(root.size() + 1), key);
}

// Takes a normalised absolute path that begins with the resource root as it is spelled.
bool DiskFileService::KeyByName(const std::string& absolute, std::string& key) const {
    const std::string& root = m_resourceRoot();
    const std::size_t length = root.size();
    if (!absolute.starts_with(root)) return false;
    if (absolute.size() > length && absolute[length] != '/') return false;
    key = absolute.substr(std::min(length + 1, absolute.size()));
    return true;
}

// Takes what stands behind the separator in front of a normalised absolute path, and leaves the key
// when the path begins with the resource root as it is spelled.
void DiskFileService::DropRoot(std::string& path) const {
    const std::string_view root = m_resourceRoot();
    if (!root.starts_with('/') || !path.starts_with(root.substr(1))) return;
    const std::size_t length = root.size() - 1;
    if (path.size() > length && path[length] != '/') return;
    path.erase(0, length + 1);
}

// Takes a normalised absolute path of which a directory is the resource root under another name,
// such as one that leads through a link.
bool DiskFileService::KeyByPlace(const std::string& absolute, std::string& key) const {
    const std::filesystem::path root = m_resourceRoot();
    std::error_code missing;
    for (std::string place = absolute; !place.empty(); vxio::DropSegment(place)) {
        if (!std::filesystem::equivalent(place, root, missing)) continue;
        key = absolute.substr(std::min(place.size() + 1, absolute.size()));
        return true;
    }
    return false;
}

std::string DiskFileService::BelowRoot(const std::string& relative) const {
    const std::string& root = m_resourceRoot();
    std::string path;
    path.reserve(root.size() + 1 + relative.size());
    return path.append(root).append(1, '/').append(relative);
}

}  // namespace vexa
