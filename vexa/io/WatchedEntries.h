#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "vexa/common/FileService.h"
#include "vexa/io/ChangeQueue.h"

namespace vexa::vxio {

// An entry by the watch of its folder, which stays the same when the folder moves, and its name.
using EntryId = std::pair<int, std::string>;

// The files that somebody is writing.
class OpenFiles {
public:
    using Clock = std::chrono::steady_clock;

    // Left alone for so long, a file counts as written though it was not closed...
    static constexpr std::chrono::seconds kQuiet{2};
    // ... and for so long in any case.
    static constexpr std::chrono::seconds kPatience{10};

    void Touch(const EntryId& entry, Clock::time_point now, bool isNew = false) {
        Span& span = m_files.try_emplace(entry, Span{now, now, isNew}).first->second;
        span.last = now;
    }
    // True for a new file.
    bool Close(const EntryId& entry) {
        const auto file = m_files.extract(entry);
        return file && file.mapped().isNew;
    }
    void Move(const EntryId& from, const EntryId& to) {
        const auto file = m_files.extract(from);
        if (file) m_files.insert_or_assign(to, file.mapped());
    }
    bool Holds(const EntryId& entry) const { return m_files.count(entry) != 0; }
    bool AnyBegunBefore(Clock::time_point moment) const;
    // Those that count as written by now.
    std::vector<EntryId> Written(Clock::time_point now) const;

private:
    struct Span {
        Clock::time_point first;
        Clock::time_point last;
        bool isNew;
    };
    std::map<EntryId, Span> m_files;
};

// The links. What they lead to may change without a notification that names them, and outside of
// what is watched without any: so they are looked at, now and then. They are few in most trees.
class LinkStates {
public:
    using Clock = std::chrono::steady_clock;

    // Adds a link, or says that it has another path; its state stays the one that is known.
    void Add(const EntryId& entry, const std::string& path);
    void Remove(const EntryId& entry);
    // Time for a look: half a second, and ten times what a look takes, since the last one.
    bool IsDue(Clock::time_point now) const { return !m_links.empty() && now >= m_due; }
    // The links whose text leads to a path or below it.
    std::vector<EntryId> LeadingTo(const std::string& path) const;

    // Looks at every link. `placeOf` tells where one is, nothing for one that is gone; `changed` is
    // called for each that leads to something else than at the last look.
    void Look(const std::function<std::optional<WatchedPlace>(const EntryId&)>& placeOf,
              const std::function<void(const WatchedPlace&)>& changed);

private:
    struct Link {
        FileState state;
        std::string target;
    };
    std::map<EntryId, Link> m_links;
    std::set<std::pair<std::string, EntryId>> m_byTarget;
    Clock::time_point m_due{};
};

}  // namespace vexa::vxio
