#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vexa {

class CDependencyBase;

// Where a walk begins.
struct ClosureStart {
    std::vector<std::string> listed;    // listed ahead of what the walk finds, and not followed
    std::vector<std::string> followed;  // a stack: the last one is taken first
    bool unique = false;                // the list of the file holds each path once
};

// Lists a file together with what its references lead to. Paths wait on a stack: the last one is
// taken, listed, and, if it exists and has a generator, followed: what the generator lists for it
// goes on the stack. A path that is reached twice is listed twice.
//
// Two guards make every walk end. A file that is being followed is not followed again below itself;
// the log shows the ring. Beyond kLimit entries no file is followed a second time, whichever way it
// is reached; the log says so. Neither changes a list without rings and of at most kLimit entries.
//
// Each file is read once in a walk, and reported to the thread's observer as read through.
class ClosureWalk {
public:
    using List = std::vector<std::string>;

    static constexpr std::size_t kLimit = 65'536;

    // Appends the list of `file` to `dependencies`; what the generators of other files add beside
    // their lists, to `secondList`. To be called last in a generator's GenerateDependency. When a
    // walk has called that generator, nothing is appended: the walk takes the start over and goes
    // on with it, so that files which lead to one another through such generators cost no stack of
    // the thread.
    static void Run(const std::string& file, ClosureStart start, List& dependencies,
                    List& secondList);

private:
    struct Path;

    // A file, however its path is spelled.
    struct File {
        std::string key;
        CDependencyBase* generator = nullptr;  // null for a file that cannot be followed
        bool open = false;                     // being followed
        bool read = false;
        std::vector<Path*> references;  // known once it has been followed
    };
    struct Path {
        const std::string* text = nullptr;
        File* file = nullptr;   // null until it is asked for
        std::size_t round = 0;  // of KeepFirstOfEach, in which it was last met
    };
    // A file whose list is being made: the one that the walk is for, and those below it whose own
    // generators list what they lead to.
    struct Level {
        File* file;
        bool unique;
        std::vector<Path*> listed;
        std::vector<Path*> pending;  // null: the file that was opened last is done with
    };

    explicit ClosureWalk(List& secondList);

    List Collect(const std::string& file, const ClosureStart& start);
    void Step();
    void Follow(File& file);
    void Read(File& file);
    void CloseFile();
    void OpenLevel(File& file, const ClosureStart& start);
    void CloseLevel();
    bool MayFollow(File& file);
    void CountEntries(const Level& level);
    void WarnOfRing(const File& file);

    void KeepFirstOfEach(std::vector<Path*>& list);
    Path* PathOf(const std::string& text);
    std::vector<Path*> PathsOf(const List& texts);
    File& FileOf(Path& path);

    List& m_secondList;
    std::unordered_map<std::string, Path> m_paths;  // by their text
    std::unordered_map<std::string, File> m_files;  // by their key
    std::vector<Level> m_levels;
    std::vector<File*> m_open;  // from the file that the walk is for downwards
    std::optional<ClosureStart> m_handedOver;
    std::size_t m_round = 0;
    bool m_beyondLimit = false;
    bool m_warnedOfRing = false;
};

}  // namespace vexa
