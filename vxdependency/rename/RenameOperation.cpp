#include "vxdependency/rename/RenameOperation.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/common/ReadFailures.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/threading/CommandQueue.h"
#include "vexa/threading/EachInParallel.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/FilesBefore.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/generators/SlotRenames.h"
#include "vxdependency/rename/LostReferences.h"
#include "vxdependency/rename/MoveErrors.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/SharedRecords.h"

namespace vexa {

using vxdependency::GeneralDependency;

namespace {

constexpr std::chrono::seconds kPatience{30};

thread_local RenameOperation* t_operation = nullptr;

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

void Append(auto& from, auto& to) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

// Collects the references that slots rewrite.
class EditObserver final : public IReferenceObserver {
public:
    explicit EditObserver(std::vector<RenamePlan::Edit>& edits) : m_edits(edits) {}

    void OnReference(const ReferenceReport&) override {}
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}
    void OnRewrite(const ReferenceRewrite& rewrite) override {
        m_edits.push_back({rewrite.file, rewrite.place.line, rewrite.place.rule, rewrite.oldText,
                           rewrite.newText});
    }

private:
    std::vector<RenamePlan::Edit>& m_edits;
};

FileLook LookOf(const os::FileIdentity& identity) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    if (identity.number == 0) return {};
    const std::int64_t seconds =
        identity.writeTimeNs / kSecond - (identity.writeTimeNs % kSecond < 0);
    return {seconds, {true, false, identity.writeTimeNs, identity.size}};
}

}  // namespace

class RenameOperation::Planning {
public:
    explicit Planning(RenameOperation& operation)
        : m_operation(operation),
          m_before(std::exchange(t_operation, &operation)),
          m_use(*operation.m_overlay),
          m_failures(ReadFailuresOfThisThread()) {}
    ~Planning() {
        m_operation.m_unread += ReadFailuresOfThisThread() - m_failures;
        t_operation = m_before;
    }
    Planning(const Planning&) = delete;
    Planning& operator=(const Planning&) = delete;

private:
    RenameOperation& m_operation;
    RenameOperation* const m_before;
    const FileServiceUse m_use;
    const std::uint64_t m_failures;
};

RenameOperation::RenameOperation(CDependencyManager& manager, PendingRenames& renames,
                                 std::unordered_set<std::string>& rewritten, ChangeJournal& journal)
    : m_manager(manager),
      m_renames(renames),
      m_rewritten(rewritten),
      m_journal(journal),
      m_disk(InterfaceBox::Instance().GetFileService()) {}

RenameOperation::~RenameOperation() {
    m_use.reset();
    m_journal.Close();
    m_renames.Clear();
    m_rewritten.clear();
    t_operation = nullptr;
}

RenameOperation* RenameOperation::OfThisThread() {
    return t_operation;
}

bool RenameOperation::Fail(std::string reason) {
    m_error = std::move(reason);
    return false;
}

bool RenameOperation::Begin() {
    if (!m_journal.Begin(kPatience)) return Fail(m_journal.GetError());
    // What another thread's batch still holds in memory must be seen.
    Store().FlushOtherBatch();
    m_overlay = std::make_unique<OverlayFiles>(m_disk, m_journal.StagingFolder());
    m_use = std::make_unique<FileServiceUse>(*m_overlay);
    t_operation = this;
    return true;
}

// --- moving ---

std::uint32_t RenameOperation::Move(const std::string& from, const std::string& to) {
    const std::uint32_t error = m_overlay->Move(from, to);
    std::string oldKey;
    std::string newKey;
    if (error == 0 && m_disk.MakeRelative(from, oldKey) && m_disk.MakeRelative(to, newKey))
        m_plan.moves.push_back({oldKey, newKey});
    return error;
}

std::uint32_t RenameOperation::MoveMeta(const std::string& from, const std::string& to) {
    constexpr const char* kMeta = ".vxmeta";
    if (!m_overlay->GetState(from + kMeta).exists) return 0;
    return Move(from + kMeta, to + kMeta);
}

void RenameOperation::Follow(const std::string& oldKey, const std::string& newKey,
                             bool keptByCaller) {
    if (m_renames.Add(oldKey, newKey)) m_followed.push_back({oldKey, newKey, keptByCaller});
}

void RenameOperation::FollowFolder(const std::string& oldKey, const std::string& newKey) {
    const std::string oldFolder = oldKey + "/";
    const std::string newFolder = newKey + "/";
    List files;
    m_manager.GetAllFilesRecursively(PlaceOf(newKey), files);
    const std::size_t folder = PlaceOf(newKey).size() + 1;
    for (const std::string& file : files) {
        const std::string name = file.substr(folder);
        Follow(oldFolder + name, newFolder + name, false);
    }
    // What is known of the folder and did not come along has vanished, unless a folder could not
    // be read.
    Store().ForEachFile(oldFolder, [&](std::string_view file, const auto&) {
        const std::string old(file);
        if (m_renames.NewNameOf(old)) return true;
        const std::string name = newFolder + old.substr(oldFolder.size());
        if (m_overlay->GetState(name).exists) {
            Follow(old, name, false);
        } else {
            m_vanished.push_back(old);
        }
        return true;
    });
}

void RenameOperation::FollowEntry(const std::string& oldKey, const std::string& newKey) {
    if (m_overlay->GetState(newKey).directory) {
        FollowFolder(oldKey, newKey);
    } else {
        Follow(oldKey, newKey, false);
    }
}

bool RenameOperation::MoveAndFollow(const std::string& oldKey, const std::string& newKey) {
    const std::uint32_t error = Move(oldKey, newKey);
    if (error != 0 && error != ERROR_FILE_NOT_FOUND) AddProblem(WhyNotMoved(oldKey, newKey, error));
    if (error != 0) return false;
    if (const std::uint32_t metaError = MoveMeta(oldKey, newKey))
        AddProblem(WhyNotMoved(oldKey + ".vxmeta", newKey + ".vxmeta", metaError));
    FollowEntry(oldKey, newKey);
    return true;
}

void RenameOperation::FollowAnnounced(const PendingRenames::Map& renames) {
    // In a swap or a chain, the old name of one is the new name of another.
    std::unordered_set<std::string> taken;
    for (const auto& [oldKey, newKey] : renames) taken.insert(newKey);
    for (const Followed& followed : m_followed) taken.insert(followed.newKey);
    for (const auto& [oldKey, newKey] : renames) {
        const bool left = taken.contains(oldKey) || !m_overlay->GetState(oldKey).exists;
        if (left && m_overlay->GetState(newKey).exists) Follow(oldKey, newKey, false);
    }
}

// Where what a key names lies on the disk now.
std::string RenameOperation::PlaceOf(const std::string& key) const {
    std::string place;
    m_overlay->FindPlace(key, place);
    return place;
}

// --- planning ---

void RenameOperation::AddProblem(const std::string& problem) {
    m_plan.problems.push_back(problem);
}

std::string RenameOperation::NameNow(const std::string& oldKey) const {
    const std::string* const name = m_renames.NewNameOf(oldKey);
    return name ? *name : oldKey;
}

std::string RenameOperation::NameBefore(const std::string& key) const {
    const std::string* const name = m_renames.OldNameOf(key);
    return name ? *name : key;
}

RenameOperation::List RenameOperation::Recorded(const std::string& key, bool inverse) const {
    List list;
    const std::string old = NameBefore(key);
    const auto read = m_readBefore.find(old);
    if (inverse) {
        Store().GetInverseDependency(old, list);
    } else if (read != m_readBefore.end()) {
        list = read->second;
    } else {
        Store().GetDependency(old, list);
    }
    return list;
}

void RenameOperation::Plan(const RenameOptions& options) {
    List concerned;
    {
        const Planning planning(*this);
        MoveCompanions();
        FindDependents();
        concerned = FindConcerned();
    }
    const std::size_t dependents = m_dependents.size();
    const auto after = [&](std::size_t before) -> Progress {
        if (!options.progress) return nullptr;
        return [&options, before, total = dependents + concerned.size()](std::size_t done) {
            return options.progress(before + done, total);
        };
    };
    if (!RewriteDependents(after(0)) || !ReadConcerned(concerned, after(dependents)))
        return AddProblem("interrupted");
    const auto byPlace = [](const auto& entry) { return std::tie(entry.file, entry.line); };
    std::ranges::stable_sort(m_plan.edits, {}, byPlace);
    std::ranges::stable_sort(m_plan.notRewritten, {}, byPlace);
    for (const std::string& failure : m_overlay->GetFailures()) AddProblem(failure);
    // Which one, the log says.
    if (m_unread != 0)
        AddProblem("a file that is concerned cannot be read: its references would be lost");
}

// The generators' share of moving each file. They may move further files, which come behind.
void RenameOperation::MoveCompanions() {
    EditObserver observer(m_plan.edits);
    const ObserverUse use(&observer);
    for (std::size_t i = 0; i < m_followed.size(); ++i) {
        const Followed followed = m_followed[i];
        CDependencyBase* const generator = m_manager.GetDependencyGenerator(followed.newKey);
        if (!generator) continue;
        generator->Rename(GeneratorForm(followed.oldKey), GeneratorForm(followed.newKey),
                          followed.keptByCaller);
    }
}

// The files that refer to what was moved, under the names that they have now, each once.
void RenameOperation::FindDependents() {
    std::unordered_set<std::string> seen;
    const auto add = [&](const std::string& user, std::size_t followed) {
        std::string file = NameNow(user);
        if (seen.insert(file).second) m_dependents.emplace_back(std::move(file), followed);
    };
    List users;
    for (std::size_t i = 0; i < m_followed.size(); ++i) {
        users.clear();
        Store().GetInverseDependency(m_followed[i].oldKey, users);
        for (const std::string& user : users) add(user, i);
    }
    FollowedByName followed;
    for (std::size_t i = 0; i < m_followed.size(); ++i) followed.emplace(m_followed[i].oldKey, i);
    List unread = WithUnrecordedNames();
    FindUnlisted(followed, add, unread);
    if (!m_followed.empty()) FindByReading(unread, followed, add);
}

// The store keeps no list that would hold a name with "#": who refers to such a file, or what such
// a file refers to, only the files themselves tell. With such a name all of them are read.
RenameOperation::List RenameOperation::WithUnrecordedNames() const {
    const auto separates = [](std::string_view name) { return name.find('#') != name.npos; };
    const bool all = std::ranges::any_of(m_followed, separates, &Followed::oldKey);
    List files;
    Store().ForEachFile("", [&](std::string_view file, const auto&) {
        if (all || separates(file)) files.emplace_back(file);
        return true;
    });
    return files;
}

// Another text may have taken the place of a list of users; and what has its place in a record that
// goes with an old name is to be stored again.
void RenameOperation::FindUnlisted(const FollowedByName& followed, const AddDependent& add,
                                   List& unread) {
    List keys = m_vanished;
    for (const auto& one : followed) keys.push_back(one.first);
    vxdependency::SharedRecords shared = vxdependency::FindSharedRecords(Store(), keys);
    for (auto& [resource, user] : shared.users) {
        const auto found = followed.find(resource);
        if (found != followed.end()) add(user, found->second);
        m_unlisted.insert(std::move(resource));
        m_restored.push_back(NameNow(user));
    }
    for (const std::string& file : shared.lists) m_restored.push_back(NameNow(file));
    for (const std::string& file : shared.unreadLists) {
        m_restored.push_back(NameNow(file));
        m_readBefore[file];
    }
    Append(shared.unreadLists, unread);
}

void RenameOperation::FindByReading(const List& files, const FollowedByName& followed,
                                    const AddDependent& add) {
    const SlotRenames renames(m_followed.front().oldKey, m_followed.front().newKey);
    FilesBefore before(*m_overlay, renames);
    const FileServiceUse use(before);
    for (const std::string& file : files) {
        CDependencyBase* const generator = m_manager.GetDependencyGenerator(file);
        if (!generator) continue;
        List references;
        List companions;
        generator->GenerateDependency(GeneratorForm(file), references, companions);
        Append(companions, references);
        const auto kept = m_readBefore.find(file);
        std::string key;
        for (const std::string& reference : references) {
            if (!m_disk.KeyOfReference(reference, key)) continue;
            if (const auto found = followed.find(key); found != followed.end())
                add(file, found->second);
            if (kept != m_readBefore.end()) kept->second.push_back(key);
        }
    }
}

bool RenameOperation::RewriteDependents(const Progress& goOn) {
    std::vector<std::vector<RenamePlan::Edit>> edits(m_dependents.size());
    const auto join = [&]() -> PieceOfWork {
        return [&, planning = std::make_shared<Planning>(*this)](std::size_t i) {
            const auto& [file, followed] = m_dependents[i];
            Rewrite(file, m_followed[followed], edits[i]);
        };
    };
    const bool done = EachInParallel(edits.size(), join, goOn);
    for (auto& some : edits) Append(some, m_plan.edits);
    return done;
}

void RenameOperation::Rewrite(const std::string& file, const Followed& followed,
                              std::vector<RenamePlan::Edit>& edits) {
    if (m_rewritten.contains(file)) return;
    CDependencyBase* const generator = m_manager.GetDependencyGenerator(file);
    if (!generator) return;
    EditObserver observer(edits);
    const ObserverUse use(&observer);
    generator->RenameReference(GeneratorForm(file), followed.oldKey, followed.newKey);
}

// The files whose lists the rename may change, by their new names.
RenameOperation::List RenameOperation::FindConcerned() {
    List changed;
    List vanished = m_vanished;
    for (const Followed& followed : m_followed) {
        changed.push_back(followed.newKey);
        if (!m_renames.OldNameOf(followed.oldKey)) vanished.push_back(followed.oldKey);
    }
    List files;
    std::unordered_set<std::string> seen;
    const auto add = [&](const std::string& file) {
        if (seen.insert(file).second) files.push_back(file);
    };
    for (const Followed& followed : m_followed) {
        if (followed.keptByCaller) {
            seen.insert(followed.newKey);
        } else {
            add(followed.newKey);
        }
    }
    for (const auto& dependent : m_dependents) add(dependent.first);
    std::ranges::for_each(m_restored, add);
    for (const std::string& file : m_manager.FilesAffected(changed, vanished)) add(NameNow(file));
    const std::unordered_set<std::string> gone(vanished.begin(), vanished.end());
    std::erase_if(files, [&](const std::string& file) { return gone.contains(file); });
    return files;
}

bool RenameOperation::ReadConcerned(const List& files, const Progress& goOn) {
    std::vector<Concerned> concerned(files.size());
    const auto join = [&]() -> PieceOfWork {
        auto planning = std::make_shared<Planning>(*this);
        // Of the store before the rename.
        auto edges = std::make_shared<vxdependency::EdgeReader>(Store().Database());
        return [&, planning, edges](std::size_t i) { concerned[i] = Read(files[i], *edges); };
    };
    const bool done = EachInParallel(files.size(), join, goOn);
    for (std::size_t i = 0; i < files.size(); ++i) {
        Append(concerned[i].changes.notRewritten, m_plan.notRewritten);
        Append(concerned[i].changes.appearing, m_plan.appearing);
        m_concerned.emplace(files[i], std::move(concerned[i]));
    }
    return done;
}

RenameOperation::Concerned RenameOperation::Read(const std::string& file,
                                                 vxdependency::EdgeReader& edges) {
    Concerned concerned;
    concerned.reading = m_manager.ReadReferences(file);
    if (concerned.reading) {
        ConcernedFile lists{NameBefore(file), file, Recorded(file, false), concerned.reading->list};
        std::ranges::sort(lists.before);
        const auto isEdge = [&](const std::string& resource) {
            return m_unlisted.contains(resource) || edges.IsEdge(lists.oldKey, resource);
        };
        CompareReferences(lists, m_renames, isEdge, m_disk, concerned.changes);
    }
    concerned.look = LookOf(m_overlay->IdentityOfContents(file));
    return concerned;
}

// --- making it happen ---

bool RenameOperation::ApplyMoves(const std::string& title) {
    ChangeSet changes = m_overlay->TakeChanges();
    changes.title = title;
    changes.notes = ConcernedKeys();
    m_use.reset();
    if (changes.Empty() || m_journal.Apply(std::move(changes))) return true;
    Fail(m_journal.GetError());
    m_journal.Finish();
    return false;
}

RenameOperation::List RenameOperation::ConcernedKeys() const {
    List keys = m_vanished;
    for (const Followed& followed : m_followed) {
        keys.push_back(followed.oldKey);
        keys.push_back(followed.newKey);
    }
    for (const auto& concerned : m_concerned) keys.push_back(concerned.first);
    return keys;
}

bool RenameOperation::Apply(const std::string& title) {
    CDependencyManager::NoteRename();
    if (!ApplyMoves(title)) return false;
    if (!UpdateStore()) {
        Fail(Store().GetWriteError());
        TakeBack();
        return false;
    }
    if (m_journal.IsApplied() && !m_journal.Finish())
        LogWarning("%s", m_journal.GetError().c_str());
    Announce();
    return true;
}

// The store could not take what the files have become: they go back. Should the store refuse even
// that, the next start mends it.
void RenameOperation::TakeBack() {
    if (!m_journal.IsApplied()) return;
    const List keys = ConcernedKeys();
    if (!m_journal.RollBack()) {
        LogError("%s", m_journal.GetError().c_str());
    } else if (m_manager.Resync(keys)) {
        m_journal.Finish();
    }
}

bool RenameOperation::UpdateStore() {
    vxdependency::StoreBatch batch(&Store());
    List gone = m_vanished;
    for (const Followed& followed : m_followed) {
        if (followed.keptByCaller) Carry(followed);
        gone.push_back(followed.oldKey);
    }
    for (const std::string& key : gone) {
        m_manager.RemoveFile(key);
        Store().EraseForward(key + "#");  // its inverse list; who still names it says so again
        if (!Store().BatchCheckpoint()) return false;
    }
    for (auto& [file, concerned] : m_concerned) {
        m_manager.NoteFile(file, concerned.look, std::move(concerned.reading));
        if (!Store().BatchCheckpoint()) return false;
    }
    return batch.End();
}

// The caller reads the file itself: its records go over to the new name as they are.
void RenameOperation::Carry(const Followed& followed) {
    Store().RenameKey(followed.oldKey, followed.newKey);
    vxdependency::CatalogueEntry entry;
    if (Store().FindFile(followed.oldKey, entry)) Store().SetFile(followed.newKey, entry);
    vxdependency::Findings findings;
    if (Store().GetFindings(followed.oldKey, findings))
        Store().SetFindings(followed.newKey, findings);
    constexpr std::int64_t kNone = -1;
    std::int64_t stamp = kNone;
    Store().GetTimeStamp(m_disk.AbsolutePath(followed.oldKey), stamp);
    if (stamp != kNone) Store().SetTimeStamp(m_disk.AbsolutePath(followed.newKey), stamp);
}

void RenameOperation::Announce() {
    for (const Followed& followed : m_followed) {
        vxThread<0>::Handle.post(
            [record = CDependencyManager::FileRenamed{followed.oldKey, followed.newKey}] {
                CDependencyManager::GetSingleton().EmitRenamed(record);
            });
    }
}

}  // namespace vexa
