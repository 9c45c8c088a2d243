#include "vexa/io/TreeSnapshot.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vexa/io/ChangeQueue.h"
#include "vexa/os/FindFiles.h"
#include "vexa/os/WindowsApi.h"

namespace vexa::vxio {

namespace {

WatchedPlace PlaceOf(const std::string& directory, std::string path) {
    std::ranges::replace(path, '/', '\\');
    return {directory, std::move(path)};
}

std::string Joined(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "/" + name;
}

bool IsLeftOut(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0 ||
           std::strchr(name, '\\') != nullptr;
}

}  // namespace

// A folder's time tells of its entries.
bool TreeSnapshot::Entry::IsSameAs(const Entry& other) const {
    if (attributes != other.attributes || state.directory != other.state.directory) return false;
    return state.directory || (identity == other.identity && state == other.state);
}

bool TreeSnapshot::Entry::MayBe(const Entry& other) const {
    return identity == other.identity && attributes == other.attributes && state == other.state &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

int TreeSnapshot::Walk(const TreeSnapshot& earlier) {
    m_entries.clear();
    std::vector<std::string> waiting{""};
    while (!waiting.empty()) {
        const std::string folder = std::move(waiting.back());
        waiting.pop_back();
        const int error = List(folder, waiting);
        if (error != 0 && folder.empty()) return error;
        if (error != 0) Keep(earlier, folder);
    }
    return 0;
}

int TreeSnapshot::List(const std::string& folder, std::vector<std::string>& below) {
    _finddata64i32_t data;
    const std::intptr_t handle =
        _findfirst64i32((m_directory + "/" + Joined(folder, "*.*")).c_str(), &data);
    if (handle == -1) return errno;
    do {
        if (IsLeftOut(data.name)) continue;
        const bool descended = os::IsDescended(data.attrib, data.name);
        const std::string path = Joined(folder, data.name);
        m_entries[path] = {data.attrib, descended, os::IdentityOfFound(handle),
                           os::StateOfFound(handle)};
        if (descended) below.push_back(path);
    } while (_findnext64i32(handle, &data) == 0);
    const int error = errno == ENOENT ? 0 : errno;
    _findclose(handle);
    return error;
}

void TreeSnapshot::Keep(const TreeSnapshot& earlier, const std::string& folder) {
    const std::string prefix = folder + "/";
    for (auto entry = earlier.m_entries.lower_bound(prefix);
         entry != earlier.m_entries.end() && entry->first.starts_with(prefix); ++entry) {
        m_entries.insert(*entry);
    }
}

void TreeSnapshot::TellChangesSince(TreeSnapshot earlier, ChangeQueue& queue) const {
    // Folders first: what is below one has then its new path.
    TellRenames(earlier, queue, true);
    TellRenames(earlier, queue, false);
    TellGone(earlier, queue);
    TellPresent(earlier, queue);
}

void TreeSnapshot::TellRenames(TreeSnapshot& earlier, ChangeQueue& queue, bool folders) const {
    std::unordered_map<std::uint64_t, std::string> appeared;
    for (const auto& [path, entry] : m_entries) {
        if (entry.descended != folders || entry.identity == 0) continue;
        const auto before = earlier.m_entries.find(path);
        const bool isNew =
            before == earlier.m_entries.end() || before->second.identity != entry.identity;
        if (isNew) appeared.emplace(entry.identity, path);
    }
    if (appeared.empty()) return;
    std::vector<std::pair<std::string, std::uint64_t>> gone;
    for (const auto& [path, entry] : earlier.m_entries) {
        if (m_entries.count(path) == 0) gone.emplace_back(path, entry.identity);
    }
    for (const auto& [path, identity] : gone) {
        const auto target = appeared.find(identity);
        const auto from = earlier.m_entries.find(path);
        // One below a folder that was renamed has got another path by now.
        if (target == appeared.end() || from == earlier.m_entries.end() ||
            !from->second.MayBe(m_entries.at(target->second))) {
            continue;
        }
        queue.PushRename(PlaceOf(m_directory, path), PlaceOf(m_directory, target->second));
        earlier.Rename(path, target->second);
        appeared.erase(target);
    }
}

// Takes the entry of a path out, with all below it.
TreeSnapshot::Entries TreeSnapshot::Extract(const std::string& path) {
    Entries taken;
    if (auto entry = m_entries.extract(path)) taken.insert(std::move(entry));
    const std::string prefix = path + "/";
    for (auto entry = m_entries.lower_bound(prefix);
         entry != m_entries.end() && entry->first.starts_with(prefix);) {
        const auto next = std::next(entry);
        taken.insert(m_entries.extract(entry));
        entry = next;
    }
    return taken;
}

void TreeSnapshot::Rename(const std::string& from, const std::string& to) {
    const Entries moved = Extract(from);
    Extract(to);
    for (const auto& [path, entry] : moved) m_entries[to + path.substr(from.size())] = entry;
}

bool TreeSnapshot::HoldsParent(const std::string& path) const {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || m_entries.count(path.substr(0, slash)) != 0;
}

// A folder stands for all below it.
void TreeSnapshot::TellGone(const TreeSnapshot& earlier, ChangeQueue& queue) const {
    for (const auto& [path, entry] : earlier.m_entries) {
        if (m_entries.count(path) == 0 && HoldsParent(path)) {
            queue.Push(ChangeAction::Removed, PlaceOf(m_directory, path));
        }
    }
}

void TreeSnapshot::TellPresent(const TreeSnapshot& earlier, ChangeQueue& queue) const {
    for (const auto& [path, entry] : m_entries) {
        const auto before = earlier.m_entries.find(path);
        if (before == earlier.m_entries.end()) {
            if (earlier.HoldsParent(path)) {
                queue.Push(ChangeAction::Added, PlaceOf(m_directory, path));
            }
        } else if (!before->second.IsSameAs(entry)) {
            queue.Push(ChangeAction::Modified, PlaceOf(m_directory, path));
        }
    }
}

}  // namespace vexa::vxio
