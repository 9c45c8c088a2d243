#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "vexa/io/ChangeQueue.h"

namespace vexa::vxio {

// A folder that is followed by a watch of its own.
struct WatchedFolder {
    std::string name;  // of a root: its directory
    WatchedFolder* parent = nullptr;
    bool isRoot = false;
    bool missedChanges = false;  // while it was on its way from one place to another
    int watch = -1;              // the number that its notifications carry
    std::map<std::string, std::unique_ptr<WatchedFolder>> folders;
};

// The followed folders, as the notifications read so far tell of them. A folder that moves keeps
// its watch; a name of it is found from its place in the tree.
class WatchTree {
public:
    // `release` is called with each watch that is given up.
    explicit WatchTree(std::function<void(int)> release) : m_release(std::move(release)) {}

    WatchedFolder& AddRoot(const std::string& directory);
    const std::vector<std::unique_ptr<WatchedFolder>>& Roots() const { return m_roots; }

    // Null for the number of a watch that was given up.
    WatchedFolder* Find(int watch) const;
    // Gives a folder its watch. One that had this number, and is elsewhere by now, loses it.
    void SetWatch(WatchedFolder& folder, int watch);
    void ForgetWatch(WatchedFolder& folder);

    // The folder of that name, made when it is not there.
    WatchedFolder& Child(WatchedFolder& parent, const std::string& name);
    WatchedFolder* FindChild(const WatchedFolder& parent, const std::string& name) const;
    // Gives up a folder with all below it.
    void Drop(WatchedFolder& parent, const std::string& name);
    // The same for all whose names are not in `kept`.
    void DropOthers(WatchedFolder& parent, const std::set<std::string>& kept);
    void Drop(std::unique_ptr<WatchedFolder> folder);

    // Takes a folder out of its place, and puts it into another; null when it is not there.
    std::unique_ptr<WatchedFolder> Detach(WatchedFolder& parent, const std::string& name);
    WatchedFolder& Attach(WatchedFolder& parent, const std::string& name,
                          std::unique_ptr<WatchedFolder> folder);

    // Where a folder is. Nowhere while it, or one above it, is detached: that one is then marked
    // as having missed something.
    static std::optional<WatchedPlace> PlaceOf(WatchedFolder& folder);

private:
    std::function<void(int)> m_release;
    std::vector<std::unique_ptr<WatchedFolder>> m_roots;
    std::unordered_map<int, WatchedFolder*> m_byWatch;
};

}  // namespace vexa::vxio
