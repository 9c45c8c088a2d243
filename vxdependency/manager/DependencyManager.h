#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vexa/Export.h"
#include "vexa/common/FileService.h"
#include "vexa/core/Signal.h"
#include "vexa/lua/BindingObject.h"
#include "vexa/lua/ScriptObject.h"
#include "vxdependency/rename/PendingRenames.h"
#include "vxdependency/scanner/FileInfoData.h"
#include "vxdependency/store/Findings.h"

class DependencyScanner;
struct lua_State;

namespace vexa {

namespace vxdependency {
class SharedIds;
}

class CDependencyBase;
class IReferenceObserver;
class RenameOperation;
struct RenameOptions;
struct RenamePlan;
struct UndoReport;

// One look at a file: the time that its stamp keeps, and the state that the catalogue keeps.
struct FileLook {
    std::int64_t seconds = -1;  // last write, seconds since 1970-01-01 UTC; -1 when it is not there
    FileState state;
};

// What reading a file gave, before anything of it is stored.
struct FileReading {
    std::vector<std::string> list;  // as it is to be stored
    vxdependency::Findings findings;
    bool readable = false;
    bool preliminary = false;  // a file that is there could not be read now; next time it may
};

// What one generation of a file did.
struct GenerationResult {
    std::vector<std::string> dependencies;  // keys, as they were stored
    bool generated = false;                 // there was a generator and the result was stored
    bool failed = false;                    // the file could not be read or parsed
    bool preliminary = false;               // see FileReading
};

// The entry to the system: owns the generators and the scanner, generates and answers queries.
//
// A path argument may be a key (relative to the resource root R/res), absolute, and use "/" or "\".
// A path that leaves the resource root, or is longer than 260 characters, has no key: the result is
// empty and one line is logged. Operations do not throw, except where stated.
//
// Any thread may call. Operations that write files or the store are serialised by one recursive
// mutex; queries that find their file up to date take no lock.
class VX_API CDependencyManager : public ScriptObject<CDependencyManager>,
                                  public vxcore::SignalManager {
public:
    using List = std::vector<std::string>;

    // Signals, emitted on the editor thread.
    struct ScanFinished {};
    struct WaitingFileScanFinished {};
    struct FileRenamed {
        std::string oldKey;
        std::string newKey;
    };

    // The manager of the process: made by the first call, which opens the store and, when that
    // succeeds and both configuration files are there, makes the scanner; destroyed at exit.
    static CDependencyManager& GetSingleton();
    static CDependencyManager* GetSingletonPtr();

    // A further manager over the same store and the same generators.
    CDependencyManager();
    ~CDependencyManager() override;

    static bool IsDummyType() { return false; }
    static const char* ClsName() { return "CDependencyManager"; }

    // Why there is no scanner: the store's error or the configuration file that is missing; ""
    // when there is one.
    const std::string& GetStartError() const { return m_startError; }

    // --- generators ---

    // Files a generator under its extension and takes it over. Called by CDependencyBase alone.
    void RegisterDependencyGenerator(CDependencyBase* generator);
    // The generator for a path, by the text after its last "." (the whole path without one), byte
    // for byte; null for none. The files "animation" and "skeleton" may be JSON or XML: the file at
    // the path, in any form, is read to tell, and counts as XML when it is no JSON. The first call
    // loads the configuration and creates the generators; std::out_of_range ("invalid vector
    // subscript") when a configuration element is too short.
    CDependencyBase* GetDependencyGenerator(const std::string& path);
    // Whether GetDependencyGenerator answers with one; reads a file only where that decides.
    bool HasDependencyGenerator(const std::string& path);
    // What is wrong with a configuration file that is there and cannot be used, so that files of
    // its types are not read; "" when nothing is. Loads the configuration; throws as above. No
    // rename is made over it: references would be lost.
    std::string GetConfigurationError();
    // Appends the extension of every generator, once per generator.
    void GetRegisterExtList(List& out);

    // --- generation and queries ---

    // Reads `file`, stores what it refers to and when it was last written, and returns the list.
    // `second` is the file's previous name when it has just been renamed, else empty. The files
    // that await it (because it was missing, or they are read through it) are read again as well.
    List GenerateDependency(const std::string& file, const std::string& second);
    // The same for this file alone, telling more. A caller that has looked at the file hands the
    // look over, which is stored as the time of the reading; one that has read it since, what it
    // read.
    GenerationResult Regenerate(const std::string& file, const std::string& second,
                                const FileLook* look = nullptr,
                                std::unique_ptr<FileReading> reading = nullptr);
    // Reads a file by its key, and stores nothing; takes no lock. Null when it has no generator.
    std::unique_ptr<FileReading> ReadReferences(const std::string& key);
    // Whether the store holds of a file, seen like this, just what this reading told.
    bool IsStored(const std::string& key, const FileLook& look, const FileReading& reading);
    // Reads a file and tells the observer of every reference, on this thread. Stores nothing; takes
    // no lock. False when the file has no generator, or cannot be read or parsed.
    bool Explain(const std::string& file, IReferenceObserver& observer);
    // The files whose lists may be others now that some files (keys) changed or appeared, and some
    // vanished: those that await one of them, and those that refer to one that vanished. Each once;
    // the given files are not among them.
    List FilesAffected(const List& changed, const List& vanished);
    // All files that refer to one of these (keys), for whom one that is left out would be a loss:
    // also those that no list tells of, because two texts share a record of the store. Goes through
    // the names of all files. Sorted.
    List UsersOf(const List& keys);
    // What a file (a key) refers to or, inverse, who refers to it: the edges of the store (see
    // GraphReader) and those that it has lost because two texts share a record, as far as the last
    // scan has noted that. For these, files are read. Sorted.
    List EdgesOf(const std::string& key, bool inverse);
    // Makes the records of files (keys) count as stale, so that the next query or scan reads them
    // again, whatever comes between.
    void Invalidate(const List& keys);

    // What `file` refers to, or (inverse) which files refer to it, as recorded. A file that changed
    // since it was read is read again first.
    List GetDependency(const std::string& file, bool inverse);

    // Everything that can be reached from `path`, breadth first, without itself: resources that
    // exist go to the first list, entries that exist nowhere to the second.
    void GetAllDependency(const std::string& path, List& existing, List& missing);
    // GetDependency of every file below a folder, each entry once; empty when it is no folder.
    List GetFolderDependency(const std::string& folder, bool inverse);
    // Appends the files below a folder, at every depth, in absolute form.
    void GetAllFilesRecursively(const std::string& folder, List& out);
    // The resource roots: R/res.
    static std::set<std::string> GetAllRoots();
    // The files bound to `path` that exist, as keys: stem + the suffixes that its generator tells.
    void GetExplicitBindingFiles(const std::string& path, List& out);
    void GetImplicitBindingFiles(const std::string& path, List& out);
    // The scanned files with an extension (".xml"); only while no scan runs.
    std::vector<FileInfoData> GetFileListBySuffix(const std::string& suffix);

    // Drops a file's records: its forward list, its entries in inverse lists and its stamp; for a
    // folder, those of all files known below it. The files that refer to it, or are read through
    // it, are read again; nothing on disk changes. False when the path has no key, or the store
    // cannot be written.
    bool Remove(const std::string& path);
    // The same for files that are known to be files, by their keys.
    bool Forget(const List& keys);

    // --- renaming (see docs/rename.md) ---

    // Follows a file that was moved from `source` to `destination` already: has its companions
    // moved, rewrites every file that refers to it, and brings the store up to date. With `flag`
    // the caller reads the destination itself; its records are carried over as they are. True once
    // it has run to the end; false, with every file as it was, when a file could not be written.
    bool Rename(const std::string& source, const std::string& destination, bool flag);
    // Moves a file with its ".vxmeta", and follows it as Rename does. For generators, which move
    // companion files so: then it becomes a part of the rename that is under way. False when the
    // file cannot be moved; nothing is logged.
    bool RawRename(std::string source, std::string destination);
    // Moves a file or a folder with its ".vxmeta", and follows it as Rename or RenameFolder does;
    // all of that or nothing happens. False when `source` is not there, or it cannot be moved.
    bool SyncRename(std::string source, std::string destination);
    // What SyncRename does once it has found the source. For the scanner.
    bool MoveAndRename(const std::string& source, const std::string& destination);
    // As Rename, for all files of a folder that was moved already, as one batch. A folder that has
    // vanished from its new place as well is removed from the store.
    bool RenameFolder(const std::string& source, const std::string& destination);
    // Remove for each; false when one of them fails.
    bool RemoveList(const List& paths);
    // Announces renames (old path to new path) that the next rename is to do together with its own,
    // as far as they have happened on the disk by then.
    void SetReadyToChange(const std::unordered_map<std::string, std::string>& renames);

    // Moves or renames a file or a folder, with its ".vxmeta", for a person, who wants to see the
    // plan, and to have nothing done when a part of it cannot be: a companion or a file that refers
    // to it. The paths are complete: nothing is moved "into" a folder. Every file that is concerned
    // must have been scanned. False, with the reasons in the plan and nothing changed, when it
    // cannot be done.
    bool MoveResource(const std::string& source, const std::string& destination,
                      const RenameOptions& options, RenamePlan& plan);
    // Takes the last rename back, of whichever of the operations above; again, the one before.
    // False with the reasons when that cannot be done, as when one of the files has changed since.
    bool UndoRename(const RenameOptions& options, UndoReport& report);
    // Mends a rename that was interrupted, by finishing it or taking it back, and says so. Done by
    // the first call of GetSingletonPtr. False when there is none, or it failed.
    bool RecoverRename();
    // Brings the records of files (keys) in step with the disk, whether they are there or not.
    bool Resync(const List& keys);

    // How often files of the tree were moved or rewritten by this process: what was read before the
    // last time may be of no use any more.
    static std::uint64_t CountRenames();

    // While FileRenamed is being emitted: the rename that it tells of.
    const FileRenamed& GetRenamed() const { return m_renamed; }
    void EmitRenamed(const FileRenamed& renamed);

    // For rewriting slots: the renames that are under way, and a way to say that all references of
    // a file (a key) have been dealt with, which means something only while one is.
    const PendingRenames& GetPendingRenames() const { return m_renames; }
    void MarkRewritten(const std::string& key);

    // --- scripts (see docs/lua.md) ---

    // The operations of the same names, with their results in a tuple of strings for a script.
    // GetAllDependency's second list follows its first. They throw what the operations throw.
    binding::AutoRef<binding::Object> Py_GenerateDependency(const std::string& path);
    binding::AutoRef<binding::Object> Py_GetDependency(const std::string& path, bool inverse);
    binding::AutoRef<binding::Object> Py_GetAllDependency(const std::string& path);
    binding::AutoRef<binding::Object> Py_GetFolderDependency(const std::string& path, bool inverse);
    // Adds the script methods to the class that is open (see vexa/lua/LuaBinding.h).
    static void InitializeLuaClass(lua_State* L);

    // --- paths ---

    // The absolute form of a path, into 261 bytes; absolute input is copied unchanged. False when
    // input or result is longer than 260 characters.
    bool MakeAbsolutePath(char* output, const char* input);
    // The key of a path, into 261 bytes. False when the input is longer than 260 characters or the
    // path leaves the resource root.
    bool MakeRelativePath(char* output, const char* input);
    // The key of `path` expressed relative to the key of the directory `base`; empty when either
    // has no key.
    std::string MakeRelativeToResPath(const std::string& path, const std::string& base);
    // Copies at most `capacity` characters and a NUL (so capacity + 1 bytes). Logs and returns
    // false when the source is longer; false when there is no destination.
    bool SafeCopy(char* destination, int capacity, const char* source);
    // True for the extensions of images, in any case of letters.
    static bool IsImage(const std::string& path);
    // Mark where an encoding conversion would sit; the text comes back unchanged.
    std::string DoNothing_GBKToUTF8(const char* text);
    std::string DoNothing_UTF8ToGBK(const char* text);
    // Drops repeated entries; the first copy of each and the order stay.
    void MakeVectorUnique(List& list);

    // --- scanning; without a scanner these do nothing, and answer false or 0 ---

    void BeginScan();
    void PauseScan();
    void BeginMonitor();
    void DoWatch(bool on);
    void SetWaitingFile(const std::string& path);
    void RegisterUpdateDependencyUIFunction(std::function<void(bool)> callback);
    bool IsScanningFinished();
    int GetScanProgress();
    int GetScanElapsedSecond();

    // The scanner, or null; owned by the manager.
    DependencyScanner* GetScanner() { return m_scanner; }

private:
    friend class RenameOperation;

    static void NoteRename();

    bool StartRename(RenameOperation& operation, const std::string& oldKey,
                     const std::string& newKey);
    bool FinishRename(RenameOperation& operation, const std::string& title);
    void NoteFile(const std::string& key, const FileLook& look,
                  std::unique_ptr<FileReading> reading);
    bool KeyOf(const std::string& path, std::string& key);
    bool FindCurrent(const std::string& key, bool inverse, List& list);
    void AppendStoredForm(const std::string& key, List& entries, List& out);
    void StoreList(const std::string& key, const std::string& oldKey, bool renamed,
                   const List& list);
    static void AddSharing(const List& keys, List& affected);
    bool Names(const std::string& file, const std::unordered_set<std::string>& resources);
    List UsersByEdges(const std::string& key, const vxdependency::SharedIds& shared);
    List ReferencesByEdges(const std::string& key, const vxdependency::SharedIds& shared);
    void NoteTargets(const List& targets);
    void StoreState(const std::string& key, const FileLook& look, const GenerationResult& result);
    void RemoveFile(const std::string& key);
    void BindingFiles(const std::string& path, bool isExplicit, List& out);

    PendingRenames m_renames;
    std::unordered_set<std::string> m_rewritten;  // dependents already rewritten
    FileRenamed m_renamed;
    DependencyScanner* m_scanner = nullptr;
    std::string m_startError;
};

}  // namespace vexa
