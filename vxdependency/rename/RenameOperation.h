#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/journal/ChangeJournal.h"
#include "vexa/journal/OverlayFiles.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/rename/RenamePlan.h"
#include "vxdependency/store/EdgeReader.h"

namespace vexa {

// One rename, of however many files. It is planned as a whole, over an overlay of the files in
// which the generators move and rewrite, and then made as a whole: the files by the journal, the
// store behind them. What was read of the files over the overlay is what the store gets, and what
// tells which references would be lost.
//
// To be used under the manager's mutex, by one thread. Of many files it has the workers of the job
// system rewrite and read some, which take that mutex for theirs: nothing that they call waits for
// it (see OfThisThread).
class RenameOperation {
public:
    using List = CDependencyManager::List;

    RenameOperation(CDependencyManager& manager, PendingRenames& renames,
                    std::unordered_set<std::string>& rewritten, ChangeJournal& journal);
    ~RenameOperation();
    RenameOperation(const RenameOperation&) = delete;
    RenameOperation& operator=(const RenameOperation&) = delete;

    // The operation that the calling thread is planning or helps to plan, or null.
    static RenameOperation* OfThisThread();

    // Takes the journal and makes the operation the thread's own. False with GetError.
    bool Begin();

    // Moves a file or folder; 0 or the error as GetLastError numbers them.
    std::uint32_t Move(const std::string& from, const std::string& to);
    // Moves its ".vxmeta", if there is one; 0 also when there is none.
    std::uint32_t MoveMeta(const std::string& from, const std::string& to);

    // Has a file, or all files of a folder, followed that got another name (keys). `keptByCaller`:
    // the caller reads the file itself.
    void Follow(const std::string& oldKey, const std::string& newKey, bool keptByCaller);
    void FollowFolder(const std::string& oldKey, const std::string& newKey);
    // Whichever of both it is.
    void FollowEntry(const std::string& oldKey, const std::string& newKey);
    // Moves a file or folder with its ".vxmeta", and has it followed. False when it cannot be
    // moved; unless it is just missing, that is a problem of the plan.
    bool MoveAndFollow(const std::string& oldKey, const std::string& newKey);
    // Those of announced renames that have happened.
    void FollowAnnounced(const PendingRenames::Map& renames);

    // Runs the generators over everything that is concerned.
    void Plan(const RenameOptions& options);
    RenamePlan& GetPlan() { return m_plan; }

    // Makes what was planned. False, with everything as it was, when that fails.
    bool Apply(const std::string& title);
    // Makes just the moves; the store is not touched.
    bool ApplyMoves(const std::string& title);
    const std::string& GetError() const { return m_error; }

    // What the store has recorded for a file under its old name.
    List Recorded(const std::string& key, bool inverse) const;
    // Notes what keeps a companion from being moved.
    void AddProblem(const std::string& problem);

private:
    using Progress = std::function<bool(std::size_t done)>;

    struct Followed {
        std::string oldKey;
        std::string newKey;
        bool keptByCaller = false;
    };

    struct Concerned {
        std::unique_ptr<FileReading> reading;  // null without a generator
        FileLook look;                         // of the contents that were read
        RenamePlan changes;                    // of its references
    };

    // Those that are followed, by their old keys.
    using FollowedByName = std::unordered_map<std::string, std::size_t>;
    using AddDependent = std::function<void(const std::string& user, std::size_t followed)>;

    // Has the calling thread plan for the operation during the life of the object.
    class Planning;

    std::string PlaceOf(const std::string& key) const;
    std::string NameNow(const std::string& oldKey) const;
    std::string NameBefore(const std::string& key) const;
    void MoveCompanions();
    void FindDependents();
    List WithUnrecordedNames() const;
    void FindUnlisted(const FollowedByName& followed, const AddDependent& add, List& unread);
    void FindByReading(const List& files, const FollowedByName& followed, const AddDependent& add);
    List FindConcerned();
    bool RewriteDependents(const Progress& goOn);
    void Rewrite(const std::string& file, const Followed& followed,
                 std::vector<RenamePlan::Edit>& edits);
    bool ReadConcerned(const List& files, const Progress& goOn);
    Concerned Read(const std::string& file, vxdependency::EdgeReader& edges);
    List ConcernedKeys() const;
    bool UpdateStore();
    void Carry(const Followed& followed);
    void TakeBack();
    void Announce();
    bool Fail(std::string reason);

    CDependencyManager& m_manager;
    PendingRenames& m_renames;
    std::unordered_set<std::string>& m_rewritten;
    ChangeJournal& m_journal;
    IFileService& m_disk;
    std::unique_ptr<OverlayFiles> m_overlay;
    std::unique_ptr<FileServiceUse> m_use;

    std::vector<Followed> m_followed;
    List m_vanished;  // keys below a moved folder of which no file is left
    std::vector<std::pair<std::string, std::size_t>> m_dependents;  // new key, and whose it is
    std::unordered_set<std::string> m_unlisted;    // whose lists of users share a record
    List m_restored;                               // new keys of files to be stored again for that
    // What files refer to whose own lists share a record, by their old keys.
    std::unordered_map<std::string, List> m_readBefore;
    std::map<std::string, Concerned> m_concerned;  // by new key
    std::atomic<std::uint64_t> m_unread{0};        // files that could not be read while planning
    RenamePlan m_plan;
    std::string m_error;
};

}  // namespace vexa
