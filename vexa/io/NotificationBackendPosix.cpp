#include <sys/inotify.h>

#include <algorithm>
#include <set>
#include <utility>

#include "vexa/common/Log.h"
#include "vexa/io/NotificationBackend.h"

// The events; how folders are watched is in NotificationFoldersPosix.cpp.

namespace vexa::vxio {

namespace {

using namespace std::chrono_literals;

// The halves of a rename are queued one after the other, but not as one.
constexpr std::chrono::milliseconds kHalfTime = 50ms;
// How long a storm may keep a tree from being watched anew.
constexpr auto kStorm = 5s;

}  // namespace

std::unique_ptr<IWatchBackend> MakeNotificationBackend(ChangeQueue& queue, std::string& error) {
    std::unique_ptr<Inotify> inotify = Inotify::Open(error);
    if (!inotify) return nullptr;
    return std::make_unique<NotificationBackend>(queue, std::move(inotify));
}

NotificationBackend::NotificationBackend(ChangeQueue& queue, std::unique_ptr<Inotify> inotify)
    : m_queue(queue),
      m_inotify(std::move(inotify)),
      m_tree([this](int watch) { m_inotify->Remove(watch); }) {}

void NotificationBackend::Collect(std::chrono::milliseconds patience, bool everything) {
    if (!everything) m_inotify->Wait(m_halves.empty() ? patience : std::min(patience, kHalfTime));
    const std::size_t events = m_inotify->Read(
        [this](const inotify_event& event, std::string_view name) { Handle(event, name); });
    const Clock::time_point now = Clock::now();
    GiveUpHalves(now);
    for (const EntryId& entry : m_open.Written(now)) Written(entry);
    if (everything || m_links.IsDue(now)) LookAtLinks();
    WatchAnewWhenQuiet(everything || events == 0);
}

bool NotificationBackend::IsSettled(Clock::time_point before) const {
    const bool halfway =
        std::ranges::any_of(m_halves, [before](const Half& half) { return half.since < before; });
    return !halfway && m_lost.empty() && !m_open.AnyBegunBefore(before);
}

void NotificationBackend::Handle(const inotify_event& event, std::string_view name) {
    if (event.mask & IN_Q_OVERFLOW) {
        WatchAnew("more happened at once than the kernel keeps (fs.inotify.max_queued_events)");
        return;
    }
    WatchedFolder* const folder = m_tree.Find(event.wd);
    if (!folder) return;
    if (event.mask & (IN_IGNORED | IN_UNMOUNT | IN_DELETE_SELF | IN_MOVE_SELF)) {
        HandleSelf(event.mask, *folder);
        return;
    }
    const std::optional<WatchedPlace> place = WatchTree::PlaceOf(*folder);
    if (name.empty() || !place) return;
    if (name.find('\\') != std::string_view::npos) {
        LogWarning("%s/%s: left out: its name holds a backslash", place->Path().c_str(),
                   std::string(name).c_str());
        return;
    }
    HandleEntry({event.mask,
                 event.cookie,
                 *folder,
                 {event.wd, std::string(name)},
                 place->Below(std::string(name))});
}

// What a folder tells of itself is told by the folder above it as well, except of roots and of file
// systems that go away.
void NotificationBackend::HandleSelf(std::uint32_t mask, WatchedFolder& folder) {
    if (mask & IN_IGNORED) m_tree.ForgetWatch(folder);
    if (mask & IN_UNMOUNT) WatchAnew("a file system was unmounted");
    if (folder.isRoot) WatchAnew(folder.name + " is not where it was");
}

void NotificationBackend::HandleEntry(Event event) {
    if (event.mask & IN_MOVED_FROM) return Left(event);
    if (event.mask & IN_MOVED_TO) return Came(event);
    if (event.mask & IN_CREATE) return Created(event);
    if (event.mask & IN_DELETE) return Removed(event);
    if (event.mask & IN_CLOSE_WRITE) return Written(event.entry);
    if (event.mask & IN_MODIFY) return m_open.Touch(event.entry, Clock::now());
    if (event.mask & IN_ATTRIB) return Attributes(event);
}

void NotificationBackend::Left(Event& event) {
    m_halves.push_back({event.cookie, event.place, event.entry,
                        m_tree.Detach(event.folder, event.entry.second), Clock::now()});
}

void NotificationBackend::Came(Event& event) {
    // What was listed before this was read has come so, and from nowhere else.
    std::erase_if(m_arrivals, [&](const Arrival& found) { return found.place == event.place; });
    const auto half = std::ranges::find(m_halves, event.cookie, &Half::cookie);
    if (half == m_halves.end()) return Appeared(event, KindOf(event.place.Path()));
    Half found = std::move(*half);
    m_halves.erase(half);
    Renamed(found, event);
}

void NotificationBackend::Renamed(Half& half, Event& event) {
    m_open.Move(half.entry, event.entry);
    m_links.Remove(half.entry);
    m_links.Remove(event.entry);
    const std::string path = event.place.Path();
    const Kind kind = KindOf(path);
    if (kind == Kind::Link) m_links.Add(event.entry, path);
    m_tree.Drop(event.folder, event.entry.second);
    TellRename(half.place, event.place);
    if (!half.folder) {
        // It may be one that was not followed, for its attributes.
        if (kind == Kind::Folder) Appeared(event, kind);
        return;
    }
    const bool missed = half.folder->missedChanges;
    half.folder->missedChanges = false;
    WatchedFolder& folder = m_tree.Attach(event.folder, event.entry.second, std::move(half.folder));
    WatchBelow(folder, NewFolders::Announced);
    if (missed) Tell(ChangeAction::Added, event.place);
}

void NotificationBackend::GiveUpHalves(Clock::time_point now) {
    for (auto half = m_halves.begin(); half != m_halves.end();) {
        if (now < half->since + kHalfTime) {
            ++half;
            continue;
        }
        m_tree.Drop(std::move(half->folder));
        m_open.Close(half->entry);
        m_links.Remove(half->entry);
        EndHalf(*half);
        half = m_halves.erase(half);
    }
    std::erase_if(m_arrivals, [now](const Arrival& arrival) { return arrival.when + 1s < now; });
}

// It has gone to a place that is not watched, or was not at the time: "mkdir new && mv file new" is
// faster than we are.
void NotificationBackend::EndHalf(const Half& half) {
    const auto arrival = std::ranges::find(m_arrivals, half.entry.second, &Arrival::name);
    if (arrival == m_arrivals.end()) return Tell(ChangeAction::Removed, half.place);
    TellRename(half.place, arrival->place);
    m_arrivals.erase(arrival);
}

void NotificationBackend::Created(Event& event) {
    const Kind kind = KindOf(event.place.Path());
    // An ordinary new file is told when it is closed.
    if (kind == Kind::File) return m_open.Touch(event.entry, Clock::now(), true);
    Appeared(event, kind);
}

void NotificationBackend::Appeared(Event& event, Kind kind) {
    m_links.Remove(event.entry);
    if (kind == Kind::Link) m_links.Add(event.entry, event.place.Path());
    if (kind == Kind::Folder) {
        WatchBelow(m_tree.Child(event.folder, event.entry.second), NewFolders::Arriving);
    } else {
        m_tree.Drop(event.folder, event.entry.second);
    }
    Tell(ChangeAction::Added, event.place);
}

void NotificationBackend::Removed(Event& event) {
    m_open.Close(event.entry);
    m_links.Remove(event.entry);
    if (event.mask & IN_ISDIR) m_tree.Drop(event.folder, event.entry.second);
    Tell(ChangeAction::Removed, event.place);
}

// A folder's attributes tell whether it is followed.
void NotificationBackend::Attributes(Event& event) {
    if ((event.mask & IN_ISDIR) == 0) {
        if (!m_open.Holds(event.entry)) Tell(ChangeAction::Modified, event.place);
        return;
    }
    const bool follow = KindOf(event.place.Path()) == Kind::Folder;
    const WatchedFolder* const known = m_tree.FindChild(event.folder, event.entry.second);
    if (follow == (known != nullptr && known->watch != -1)) return;
    if (follow) return Appeared(event, Kind::Folder);
    m_tree.Drop(event.folder, event.entry.second);
    Tell(ChangeAction::Modified, event.place);
}

void NotificationBackend::Written(const EntryId& entry) {
    const bool isNew = m_open.Close(entry);
    const std::optional<WatchedPlace> place = PlaceOf(entry);
    if (place) Tell(isNew ? ChangeAction::Added : ChangeAction::Modified, *place);
}

std::optional<WatchedPlace> NotificationBackend::PlaceOf(const EntryId& entry) const {
    WatchedFolder* const folder = m_tree.Find(entry.first);
    const std::optional<WatchedPlace> place = folder ? WatchTree::PlaceOf(*folder) : std::nullopt;
    if (!place) return std::nullopt;
    return place->Below(entry.second);
}

void NotificationBackend::Tell(std::int32_t action, const WatchedPlace& place) {
    m_queue.Push(action, place);
    TellLinks(place);
}

void NotificationBackend::TellRename(const WatchedPlace& from, const WatchedPlace& to) {
    m_queue.PushRename(from, to);
    TellLinks(from);
    TellLinks(to);
}

// Tells of the links that lead to a place, of those that lead to these, and so on.
void NotificationBackend::TellLinks(const WatchedPlace& place) {
    std::set<EntryId> told;
    std::vector<std::string> paths{place.Path()};
    while (!paths.empty()) {
        const std::string path = std::move(paths.back());
        paths.pop_back();
        for (const EntryId& entry : m_links.LeadingTo(path)) {
            const std::optional<WatchedPlace> link = PlaceOf(entry);
            if (!link || !told.insert(entry).second) continue;
            m_queue.Push(ChangeAction::Modified, *link);
            paths.push_back(link->Path());
        }
    }
}

void NotificationBackend::LookAtLinks() {
    m_links.Look([this](const EntryId& entry) { return PlaceOf(entry); },
                 [this](const WatchedPlace& place) { Tell(ChangeAction::Modified, place); });
}

// Says that the tree may not be as we think.
void NotificationBackend::WatchAnew(const std::string& reason) {
    if (!m_lost.empty()) return;
    m_lost = reason;
    m_lostSince = Clock::now();
}

void NotificationBackend::WatchAnewWhenQuiet(bool quiet) {
    const Clock::time_point now = Clock::now();
    if (m_lost.empty() || now < m_notBefore || (!quiet && now < m_lostSince + kStorm)) return;
    const std::string reason = std::exchange(m_lost, {});
    bool watched = true;
    for (const auto& root : m_tree.Roots())
        watched = WatchBelow(*root, NewFolders::Silent) && watched;
    if (!watched) return TryLater(reason);
    m_notBefore = {};
    m_queue.Lose(reason);
}

void NotificationBackend::TryLater(const std::string& reason) {
    if (m_notBefore == Clock::time_point{}) {
        LogError("Changes on disk are not followed until it is back: %s", reason.c_str());
    }
    m_notBefore = Clock::now() + 1s;
    WatchAnew(reason);
}

}  // namespace vexa::vxio
