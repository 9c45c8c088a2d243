#include "vexa/io/WatchedEntries.h"

#include <algorithm>
#include <filesystem>

#include "vexa/io/Path.h"
#include "vexa/os/FileAccess.h"

namespace vexa::vxio {

namespace {

// A folder's time tells of its entries, which are not followed.
bool LeadsElsewhere(const FileState& before, const FileState& now) {
    return before.directory && now.directory ? false : before != now;
}

}  // namespace

bool OpenFiles::AnyBegunBefore(Clock::time_point moment) const {
    return std::ranges::any_of(m_files,
                               [moment](const auto& file) { return file.second.first < moment; });
}

std::vector<EntryId> OpenFiles::Written(Clock::time_point now) const {
    std::vector<EntryId> written;
    for (const auto& [entry, span] : m_files) {
        const bool done = now >= span.last + kQuiet || now >= span.first + kPatience;
        if (done) written.push_back(entry);
    }
    return written;
}

void LinkStates::Add(const EntryId& entry, const std::string& path) {
    std::error_code error;
    const std::string text = std::filesystem::read_symlink(path, error).string();
    const std::string target =
        text.starts_with('/') ? FormatPath(text) : CombinePath(GetDirName(path), text);
    const auto [link, isNew] = m_links.try_emplace(entry);
    if (isNew) link->second.state = os::StateOfPath(path);
    m_byTarget.erase({link->second.target, entry});
    link->second.target = target;
    m_byTarget.insert({target, entry});
}

void LinkStates::Remove(const EntryId& entry) {
    const auto link = m_links.find(entry);
    if (link == m_links.end()) return;
    m_byTarget.erase({link->second.target, entry});
    m_links.erase(link);
}

std::vector<EntryId> LinkStates::LeadingTo(const std::string& path) const {
    std::vector<EntryId> links;
    const auto take = [&](const std::string& first, auto belongs) {
        for (auto link = m_byTarget.lower_bound({first, {}});
             link != m_byTarget.end() && belongs(link->first); ++link) {
            links.push_back(link->second);
        }
    };
    take(path, [&](const std::string& target) { return target == path; });
    take(path + "/", [&](const std::string& target) { return target.starts_with(path + "/"); });
    return links;
}

void LinkStates::Look(const std::function<std::optional<WatchedPlace>(const EntryId&)>& placeOf,
                      const std::function<void(const WatchedPlace&)>& changed) {
    const Clock::time_point start = Clock::now();
    std::vector<EntryId> gone;
    for (auto& [entry, link] : m_links) {
        const std::optional<WatchedPlace> place = placeOf(entry);
        if (!place) {
            gone.push_back(entry);
            continue;
        }
        const FileState state = os::StateOfPath(place->Path());
        if (LeadsElsewhere(link.state, state)) changed(*place);
        link.state = state;
    }
    for (const EntryId& entry : gone) Remove(entry);
    const Clock::time_point end = Clock::now();
    m_due = end + std::max<Clock::duration>(std::chrono::milliseconds(500), 10 * (end - start));
}

}  // namespace vexa::vxio
