#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <set>

#include "vexa/common/Log.h"
#include "vexa/io/NotificationBackend.h"
#include "vexa/os/FindFiles.h"
#include "vexa/os/PosixFile.h"

// How folders are watched and listed.

namespace vexa::vxio {

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

bool IsGone(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// The kernel's listing tells most ordinary files by itself.
bool IsOrdinary(const dirent& entry) {
    return entry.d_type != DT_DIR && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN;
}

bool IsSelfOrParent(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// Calls `visit` for the entries of a folder; an ordinary file has no attributes. 0, or errno.
int ForEachEntry(const std::string& path,
                 const std::function<void(const char* name, DWORD attributes)>& visit) {
    const Directory directory(::opendir(path.c_str()));
    if (!directory) return errno;
    while (true) {
        errno = 0;
        const dirent* const entry = ::readdir(directory.get());
        if (!entry) return errno;
        if (IsSelfOrParent(entry->d_name)) continue;
        struct stat state;
        DWORD attributes = 0;
        if (IsOrdinary(*entry) ||
            os::Look(::dirfd(directory.get()), entry->d_name, state, attributes)) {
            visit(entry->d_name, attributes);
        }
    }
}

}  // namespace

std::string NotificationBackend::Arm(const std::string& directory) {
    WatchedFolder& root = m_tree.AddRoot(directory);
    if (WatchBelow(root, NewFolders::Silent)) return "";
    return m_failure.empty() ? directory + ": " + std::strerror(errno) : m_failure;
}

// Watches a folder and all below it, and lists each: watches first, so that nothing comes unseen
// between. False when the topmost cannot be watched.
bool NotificationBackend::WatchBelow(WatchedFolder& top, NewFolders newFolders) {
    std::vector<WatchedFolder*> waiting{&top};
    while (!waiting.empty() && m_failure.empty()) {
        WatchedFolder& folder = *waiting.back();
        waiting.pop_back();
        const Watching watching = Watch(folder);
        if (watching == Watching::Impossible) {
            if (&folder == &top) return false;
            continue;
        }
        const WatchedPlace place = *WatchTree::PlaceOf(folder);
        const bool isNew = watching == Watching::New;
        if (isNew && newFolders == NewFolders::Announced) Tell(ChangeAction::Added, place);
        List(folder, place, isNew && newFolders == NewFolders::Arriving, waiting);
    }
    return m_failure.empty();
}

NotificationBackend::Watching NotificationBackend::Watch(WatchedFolder& folder) {
    const std::string path = WatchTree::PlaceOf(folder)->Path();
    // A root may be a link.
    const int watch = m_inotify->Add(folder.isRoot ? path + "/." : path);
    if (watch == -1) {
        const int error = errno;
        WatchFailed(path, error);
        errno = error;
        return Watching::Impossible;
    }
    const bool same = folder.watch == watch;
    m_tree.SetWatch(folder, watch);
    return same ? Watching::Same : Watching::New;
}

void NotificationBackend::WatchFailed(const std::string& path, int error) {
    if (IsGone(error)) return;  // it has moved on; there is a notification of that
    if (error == ENOSPC || error == ENOMEM) {
        m_failure = path + ": no more folders can be watched (raise fs.inotify.max_user_watches)";
    } else {
        LogError("%s: the folder cannot be watched: %s", path.c_str(), std::strerror(error));
    }
}

// Finds the folders below a watched one, and its links.
void NotificationBackend::List(WatchedFolder& folder, const WatchedPlace& place, bool arriving,
                               std::vector<WatchedFolder*>& below) {
    const std::string path = place.Path();
    std::set<std::string> folders;
    const int error = ForEachEntry(path, [&](const char* name, DWORD attributes) {
        if (os::IsDescended(attributes, name)) folders.insert(name);
        if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) {
            m_links.Add({folder.watch, name}, path + "/" + name);
        }
        if (arriving) m_arrivals.push_back({name, place.Below(name), Clock::now()});
    });
    if (error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO) {
        WatchAnew(path + ": the folder cannot be listed: " + std::strerror(error));
    }
    if (error == 0) m_tree.DropOthers(folder, folders);
    for (const std::string& name : folders) below.push_back(&m_tree.Child(folder, name));
}

NotificationBackend::Kind NotificationBackend::KindOf(const std::string& path) {
    struct stat state;
    DWORD attributes = 0;
    if (!os::Look(AT_FDCWD, path.c_str(), state, attributes)) return Kind::Missing;
    if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) return Kind::Link;
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
        return os::IsDescended(attributes, "") ? Kind::Folder : Kind::OtherFolder;
    }
    return state.st_nlink > 1 ? Kind::SharedFile : Kind::File;
}

}  // namespace vexa::vxio
