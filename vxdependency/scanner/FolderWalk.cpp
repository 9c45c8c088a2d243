#include "vxdependency/scanner/FolderWalk.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>

#include "vexa/os/FindFiles.h"
#include "vexa/threading/JobSystem.h"

namespace {

bool IsSelfOrParent(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

void AddEntry(const _finddata64i32_t& data, std::intptr_t handle, ListedFolder& folder) {
    const vexa::FileState state = vexa::os::StateOfFound(handle);
    const std::size_t length = std::strlen(data.name);
    folder.entries.push_back({static_cast<std::uint32_t>(folder.names.size()),
                              static_cast<std::uint32_t>(length), data.attrib, state.writeTimeNs,
                              state.size});
    folder.names.append(data.name, length);
}

// Whether the keys below the folder `left` sort before `right`; a folder's name is followed by "/".
bool StandsBefore(std::string_view left, std::string_view right, bool rightIsFolder) {
    const std::size_t common = std::min(left.size(), right.size());
    const int order = left.substr(0, common).compare(right.substr(0, common));
    if (order != 0) return order < 0;
    const auto byte = [](char c) { return static_cast<unsigned char>(c); };
    if (left.size() < right.size()) return '/' < byte(right[common]);
    return left.size() > right.size() && rightIsFolder && byte(left[common]) < '/';
}

void Sort(ListedFolder& folder) {
    std::ranges::sort(folder.entries, {},
                      [&folder](const ListedEntry& entry) { return folder.NameOf(entry); });
    std::ranges::sort(folder.folders, [](const auto& left, const auto& right) {
        return StandsBefore(left->Name(), right->Name(), true);
    });
}

// Growing, the lists of a folder would leave a hole of their size in memory at every step: they
// grow in `spare`, which is used again.
void List(ListedFolder& folder, ListedFolder& spare) {
    spare.names.clear();
    spare.entries.clear();
    _finddata64i32_t data;
    const std::intptr_t handle = _findfirst64i32((folder.path + "/*.*").c_str(), &data);
    if (handle == -1) {
        folder.error = errno;
        return;
    }
    do {
        if (IsSelfOrParent(data.name)) continue;
        if (vexa::os::IsDescended(data.attrib, data.name)) {
            folder.folders.push_back(std::make_unique<ListedFolder>());
            folder.folders.back()->path = folder.path + "\\" + data.name;
        } else {
            AddEntry(data, handle, spare);
        }
    } while (_findnext64i32(handle, &data) == 0);
    if (errno != ENOENT) folder.error = errno;
    _findclose(handle);
    folder.names = spare.names;
    folder.entries = spare.entries;
    Sort(folder);
}

// A thread that ended here would have the others wait for it for ever.
void ListOrSayWhyNot(ListedFolder& folder, ListedFolder& spare) {
    try {
        List(folder, spare);
    } catch (const std::bad_alloc&) {
        folder.error = ENOMEM;
    }
}

// The folders that are still to be listed. Shared with the worker, which may come late.
class Walk {
public:
    Walk(ListedFolder& root, std::function<bool()> goOn) : m_goOn(std::move(goOn)) {
        m_waiting.push_back(&root);
    }

    // Lists folders until none is left, waiting for those that the other thread may yet find.
    void Run() {
        ListedFolder spare;
        std::unique_lock lock(m_mutex);
        while (true) {
            m_changed.wait(lock, [this] { return !m_waiting.empty() || m_busy == 0; });
            if (m_waiting.empty()) return;
            ListedFolder& folder = *m_waiting.back();
            m_waiting.pop_back();
            ++m_busy;
            lock.unlock();
            const bool goOn = m_goOn();
            if (goOn) ListOrSayWhyNot(folder, spare);
            lock.lock();
            --m_busy;
            for (const auto& below : folder.folders) m_waiting.push_back(below.get());
            if (!goOn) m_waiting.clear();
            m_changed.notify_all();
        }
    }

private:
    const std::function<bool()> m_goOn;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<ListedFolder*> m_waiting;
    unsigned m_busy = 0;
};

}  // namespace

std::string_view ListedFolder::Name() const {
    return std::string_view(path).substr(path.rfind('\\') + 1);
}

void ListedFolder::InKeyOrder(const std::function<void(const ListedEntry&)>& onEntry,
                              const std::function<void(ListedFolder&)>& onFolder) {
    auto below = folders.begin();
    for (const ListedEntry& entry : entries) {
        for (; below != folders.end() && StandsBefore((*below)->Name(), NameOf(entry), false);
             ++below) {
            onFolder(**below);
        }
        onEntry(entry);
    }
    for (; below != folders.end(); ++below) onFolder(**below);
}

std::unique_ptr<ListedFolder> WalkFolder(const std::string& path,
                                         const std::function<bool()>& goOn) {
    auto root = std::make_unique<ListedFolder>();
    root->path = path;
    const auto walk = std::make_shared<Walk>(*root, goOn);
    constexpr unsigned char kAnyWorker = 255;
    vexa::job_release(
        vexa::run([walk] { walk->Run(); }, vexa::JobPriority::High, kAnyWorker, "FolderWalk"));
    walk->Run();
    return root;
}
