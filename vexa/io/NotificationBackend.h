#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/io/ChangeQueue.h"
#include "vexa/io/Inotify.h"
#include "vexa/io/WatchBackend.h"
#include "vexa/io/WatchTree.h"
#include "vexa/io/WatchedEntries.h"

namespace vexa::vxio {

// Follows every folder with a watch of the kernel.
//
// A watch tells of the entries of one folder. So a folder is watched first and listed then: what
// comes into it meanwhile is told, found, or both. What is listed runs ahead of the notifications
// that still wait, so a folder may for a moment have the watch of another that has moved since;
// when the notification of the move is read, the folders below are watched anew by their names,
// which gives each the watch that it has or the one that it lacks.
class NotificationBackend final : public IWatchBackend {
public:
    NotificationBackend(ChangeQueue& queue, std::unique_ptr<Inotify> inotify);

    std::string Arm(const std::string& directory) override;
    void Collect(std::chrono::milliseconds patience, bool everything) override;
    bool IsSettled(Clock::time_point before) const override;
    const std::string& Failure() const override { return m_failure; }
    void Wake() override { m_inotify->Wake(); }

private:
    // The first half of a rename; the second follows at once, or never.
    struct Half {
        std::uint32_t cookie;
        WatchedPlace place;
        EntryId entry;
        std::unique_ptr<WatchedFolder> folder;  // when it is one that is followed
        Clock::time_point since;
    };
    // An event, where it happened.
    struct Event {
        std::uint32_t mask;
        std::uint32_t cookie;
        WatchedFolder& folder;
        EntryId entry;
        WatchedPlace place;
    };
    // What was found in a folder that had not been watched before. It may have been moved there,
    // which then only the folder that it came from tells.
    struct Arrival {
        std::string name;
        WatchedPlace place;
        Clock::time_point when;
    };
    enum class Watching { Same, New, Impossible };
    // What is made of folders that were not watched before.
    enum class NewFolders { Silent, Announced, Arriving };
    enum class Kind { Missing, File, SharedFile, Link, Folder, OtherFolder };

    void Handle(const struct inotify_event& event, std::string_view name);
    void HandleSelf(std::uint32_t mask, WatchedFolder& folder);
    void HandleEntry(Event event);
    void Left(Event& event);
    void Came(Event& event);
    void Renamed(Half& half, Event& event);
    void Created(Event& event);
    void Removed(Event& event);
    void Attributes(Event& event);
    void Appeared(Event& event, Kind kind);
    void Written(const EntryId& entry);

    Watching Watch(WatchedFolder& folder);
    void WatchFailed(const std::string& path, int error);
    bool WatchBelow(WatchedFolder& top, NewFolders newFolders);
    void List(WatchedFolder& folder, const WatchedPlace& place, bool arriving,
              std::vector<WatchedFolder*>& below);
    static Kind KindOf(const std::string& path);

    void GiveUpHalves(Clock::time_point now);
    void EndHalf(const Half& half);
    std::optional<WatchedPlace> PlaceOf(const EntryId& entry) const;
    void Tell(std::int32_t action, const WatchedPlace& place);
    void TellRename(const WatchedPlace& from, const WatchedPlace& to);
    void TellLinks(const WatchedPlace& place);
    void LookAtLinks();
    void WatchAnew(const std::string& reason);
    void WatchAnewWhenQuiet(bool quiet);
    void TryLater(const std::string& reason);

    ChangeQueue& m_queue;
    std::unique_ptr<Inotify> m_inotify;
    WatchTree m_tree;
    std::vector<Half> m_halves;
    std::vector<Arrival> m_arrivals;  // of the last second
    OpenFiles m_open;
    LinkStates m_links;
    std::string m_failure;

    std::string m_lost;               // why all is to be watched anew; "" when it is not
    Clock::time_point m_lostSince{};  // when that was first said
    Clock::time_point m_notBefore{};  // after a failure, when to try again
};

}  // namespace vexa::vxio
