#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "vexa/common/FileServiceLayer.h"
#include "vexa/journal/ChangeSet.h"
#include "vexa/journal/FileStates.h"

namespace vexa {

// A file service that shows the files below as they would be after changes, which it collects
// instead of making them: nothing that the lower service shows is touched. New contents are put
// into a staging folder, so that they cost no memory, and lack of room shows while nothing has
// happened yet. What could not be done later (no permission, a target that exists) fails at once.
//
// Any threads may read and Save at once; Move and Copy need to be alone.
class OverlayFiles final : public FileServiceLayer {
public:
    // `staging` is an absolute path of an empty folder, and belongs to the overlay's owner.
    OverlayFiles(IFileService& below, std::string staging);

    FilePtr ReadFile(const std::string& path) override;
    bool FileExists(const std::string& path) override;
    FileState GetState(const std::string& path) override;
    bool FindPlace(const std::string& path, std::string& place) override;
    bool Save(const std::string& path, std::string_view bytes, std::string& error) override;
    std::uint32_t Move(const std::string& from, const std::string& to) override;
    std::uint32_t Copy(const std::string& from, const std::string& to) override;

    // What tells the contents of a file as ReadFile has given them last, or would give them now.
    os::FileIdentity IdentityOfContents(const std::string& path) const;

    // Why files that are there could not be read or saved, a line for each.
    const std::set<std::string>& GetFailures() const { return m_failures; }

    // What was collected, with the edits in the order of their targets.
    ChangeSet TakeChanges();

private:
    bool VirtualPlace(const std::string& path, std::string& place) const;
    bool RealPlace(const std::string& virtualPlace, std::string& place) const;
    bool Locate(const std::string& path, std::string& place) const;
    bool LocateFile(const std::string& path, std::string& place) const;
    bool FindStaged(std::string& place) const;
    FileState LookAt(const std::string& path) const;
    bool EntryIsThere(const std::string& path) const;
    std::uint32_t CheckTarget(const std::string& to) const;
    void Rename(const std::string& from, const std::string& to, const std::string& place);
    bool FindEdit(const std::string& place, FileEdit& edit);
    bool NextName(std::string& name);
    bool Stage(FileEdit& edit, std::string_view bytes) const;
    bool FailSaving(const std::string& path, std::string& error);

    const std::string m_staging;
    // Where on the disk that lies which has a place here, with all that is below it; nothing where
    // nothing is any more. The longest entry that holds a path counts.
    std::map<std::string, std::optional<std::string>> m_places;
    std::vector<PathMove> m_moves;

    FileStates m_states;  // by paths that were asked for

    mutable std::shared_mutex m_guard;                  // what follows
    std::unordered_map<std::string, FileEdit> m_edits;  // by target
    std::size_t m_staged = 0;
    std::set<std::string> m_failures;
    std::unordered_map<std::string, os::FileIdentity> m_read;  // files, as they were then
};

}  // namespace vexa
