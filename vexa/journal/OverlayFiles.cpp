#include "vexa/journal/OverlayFiles.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "vexa/io/PathText.h"
#include "vexa/os/WindowsApi.h"

namespace vexa {

namespace {

std::string FolderOf(std::string place) {
    vxio::DropSegment(place);
    return place.empty() ? "/" : place;
}

}  // namespace

OverlayFiles::OverlayFiles(IFileService& below, std::string staging)
    : FileServiceLayer(below), m_staging(std::move(staging)) {}

// One spelling per path: files below the resource root go by their keys.
bool OverlayFiles::VirtualPlace(const std::string& path, std::string& place) const {
    std::string key;
    return Below().FindPlace(Below().MakeRelative(path, key) ? key : path, place);
}

bool OverlayFiles::RealPlace(const std::string& virtualPlace, std::string& place) const {
    for (std::string at = virtualPlace; !at.empty(); vxio::DropSegment(at)) {
        const auto found = m_places.find(at);
        if (found == m_places.end()) continue;
        if (!found->second) return false;
        place = *found->second + virtualPlace.substr(at.size());
        return true;
    }
    place = virtualPlace;
    return true;
}

// Where the contents of a path lie on the disk when nobody has edited them.
bool OverlayFiles::Locate(const std::string& path, std::string& place) const {
    std::string virtualPlace;
    return VirtualPlace(path, virtualPlace) && RealPlace(virtualPlace, place);
}

// Where the contents of a path are written, once links are followed. What has been read or edited
// is no link.
bool OverlayFiles::LocateFile(const std::string& path, std::string& place) const {
    if (!Locate(path, place)) return false;
    {
        const std::shared_lock lock(m_guard);
        if (m_read.contains(place) || m_edits.contains(place)) return true;
    }
    place = os::FollowLinks(place);
    return true;
}

FilePtr OverlayFiles::ReadFile(const std::string& path) {
    std::string place;
    if (!LocateFile(path, place)) return nullptr;
    const bool edited = FindStaged(place);
    const os::FileIdentity identity = edited ? os::FileIdentity{} : os::IdentityOf(place);
    FilePtr file = Below().ReadFile(place);
    const bool there = edited || identity.number != 0;
    const bool failed = !file && there && !Below().GetState(place).directory;
    if (edited && !failed) return file;
    const std::unique_lock lock(m_guard);
    if (failed) m_failures.insert(path + ": cannot be read");
    if (!edited) m_read.emplace(place, identity);
    return file;
}

// Takes the place of an edited file to where its new contents are.
bool OverlayFiles::FindStaged(std::string& place) const {
    const std::shared_lock lock(m_guard);
    const auto edit = m_edits.find(place);
    if (edit == m_edits.end()) return false;
    place = m_staging + "/" + edit->second.staged;
    return true;
}

bool OverlayFiles::FileExists(const std::string& path) {
    const FileState state = GetState(path);
    return state.exists && !state.directory;
}

// Each path is looked at once: the references of many files name the same ones.
FileState OverlayFiles::GetState(const std::string& path) {
    if (const auto known = m_states.Find(path)) return *known;
    const std::uint64_t age = m_states.Age();
    const FileState state = LookAt(path);
    m_states.Keep(path, state, age);
    return state;
}

FileState OverlayFiles::LookAt(const std::string& path) const {
    std::string place;
    if (!Locate(path, place)) return {};
    FileState state = Below().GetState(place);
    if (state.exists) return state;
    const std::shared_lock lock(m_guard);
    state.exists = m_edits.contains(place);  // a file that is new
    return state;
}

bool OverlayFiles::FindPlace(const std::string& path, std::string& place) {
    if (!Locate(path, place)) return false;
    const std::string file = os::FollowLinks(place);
    const std::shared_lock lock(m_guard);
    return !m_edits.contains(file);
}

bool OverlayFiles::FailSaving(const std::string& path, std::string& error) {
    error = path + ": cannot be saved: " + std::generic_category().message(errno);
    const std::unique_lock lock(m_guard);
    m_failures.insert(error);
    return false;
}

bool OverlayFiles::Save(const std::string& path, std::string_view bytes, std::string& error) {
    std::string place;
    errno = ENOENT;
    if (!LocateFile(path, place)) return FailSaving(path, error);
    if (!os::CanReplace(place)) return FailSaving(path, error);
    FileEdit edit;
    if (!FindEdit(place, edit) || !Stage(edit, bytes)) return FailSaving(path, error);
    const std::unique_lock lock(m_guard);
    const bool appears = edit.before.number == 0;
    m_edits[place] = std::move(edit);
    if (appears) m_states.ForgetAll();
    return true;
}

// Finds the edit of a file, if need be begins a new one.
bool OverlayFiles::FindEdit(const std::string& place, FileEdit& edit) {
    const std::unique_lock lock(m_guard);
    const auto found = m_edits.find(place);
    if (found != m_edits.end()) {
        edit = found->second;
        return true;
    }
    edit.target = place;
    const auto read = m_read.find(place);
    edit.before = read == m_read.end() ? os::IdentityOf(place) : read->second;
    return NextName(edit.staged);
}

// A folder of thousands takes longer for each name that is added or looked for.
bool OverlayFiles::NextName(std::string& name) {
    constexpr std::size_t kFilesInAFolder = 128;
    const std::size_t number = m_staged;
    name = std::to_string(number);
    if (number >= kFilesInAFolder) {
        const std::string folder = "more" + std::to_string(number / kFilesInAFolder);
        const bool first = number % kFilesInAFolder == 0;
        if (first && !os::MakeFolder(m_staging + "/" + folder)) return false;
        name.insert(0, folder + "/");
    }
    ++m_staged;
    return true;
}

bool OverlayFiles::Stage(FileEdit& edit, std::string_view bytes) const {
    const std::string file = m_staging + "/" + edit.staged;
    if (!os::WriteNewFile(file, bytes, edit.target)) return false;
    edit.after = os::IdentityOf(file);
    edit.hash = HashOfBytes(bytes);
    return true;
}

os::FileIdentity OverlayFiles::IdentityOfContents(const std::string& path) const {
    std::string place;
    if (!LocateFile(path, place)) return {};
    const std::shared_lock lock(m_guard);
    const auto edit = m_edits.find(place);
    if (edit != m_edits.end()) return edit->second.after;
    const auto read = m_read.find(place);
    return read == m_read.end() ? os::IdentityOf(place) : read->second;
}

bool OverlayFiles::EntryIsThere(const std::string& path) const {
    std::string place;
    if (!RealPlace(path, place)) return false;
    const std::shared_lock lock(m_guard);
    return os::EntryExists(place) || m_edits.contains(place);
}

std::uint32_t OverlayFiles::CheckTarget(const std::string& to) const {
    if (EntryIsThere(to)) return ERROR_ALREADY_EXISTS;
    std::string folder;
    if (!RealPlace(FolderOf(to), folder) || !Below().GetState(folder).directory)
        return ERROR_PATH_NOT_FOUND;
    return os::CanChangeFolder(folder) ? 0 : ERROR_ACCESS_DENIED;
}

std::uint32_t OverlayFiles::Move(const std::string& from, const std::string& to) {
    std::string source;
    std::string target;
    std::string place;
    if (!VirtualPlace(from, source) || !VirtualPlace(to, target)) return ERROR_PATH_NOT_FOUND;
    if (!EntryIsThere(source) || !RealPlace(source, place)) return ERROR_FILE_NOT_FOUND;
    if (const std::uint32_t error = CheckTarget(target)) return error;
    if (IsAtOrBelow(target, source)) return ERROR_INVALID_PARAMETER;
    std::string folder;
    RealPlace(FolderOf(source), folder);
    if (!os::CanChangeFolder(folder)) return ERROR_ACCESS_DENIED;
    std::string targetFolder;
    RealPlace(FolderOf(target), targetFolder);
    // A copy that is cut short could not be told from a file of somebody else.
    if (!os::SameFileSystem(folder, targetFolder)) return ERROR_NOT_SAME_DEVICE;
    Rename(source, target, place);
    return 0;
}

void OverlayFiles::Rename(const std::string& from, const std::string& to,
                          const std::string& place) {
    const std::unique_lock lock(m_guard);
    m_states.ForgetAll();
    // What was moved to below `from` before goes along.
    const std::string below = from + "/";
    for (auto at = m_places.lower_bound(below);
         at != m_places.end() && at->first.starts_with(below); at = m_places.erase(at)) {
        m_places[to + at->first.substr(from.size())] = std::move(at->second);
    }
    m_places[from] = std::nullopt;
    m_places[to] = place;
    m_moves.push_back({from, to, os::IdentityOf(place).number});
}

std::uint32_t OverlayFiles::Copy(const std::string& from, const std::string& to) {
    std::string target;
    std::string place;
    std::string error;
    if (!VirtualPlace(to, target)) return ERROR_PATH_NOT_FOUND;
    if (const std::uint32_t reason = CheckTarget(target)) {
        return reason == ERROR_ALREADY_EXISTS ? ERROR_FILE_EXISTS : reason;
    }
    const FilePtr file = ReadFile(from);
    if (!file) return ERROR_FILE_NOT_FOUND;
    const std::string_view bytes(file->GetData(), file->GetSize());
    return Save(to, bytes, error) ? 0 : ERROR_ACCESS_DENIED;
}

ChangeSet OverlayFiles::TakeChanges() {
    ChangeSet changes;
    changes.moves = std::exchange(m_moves, {});
    for (auto& [target, edit] : m_edits) changes.edits.push_back(std::move(edit));
    std::ranges::sort(changes.edits, {}, &FileEdit::target);
    m_edits.clear();
    return changes;
}

}  // namespace vexa
