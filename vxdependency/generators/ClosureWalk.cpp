#include "vxdependency/generators/ClosureWalk.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

constexpr std::size_t kLongestRingShown = 64;

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

// The key, or the path as it stands when it has none.
std::string IdentityOf(const std::string& path) {
    std::string key;
    return Files().KeyOfReference(path, key) ? key : path;
}

template <class Element>
void Append(const std::vector<Element>& from, std::vector<Element>& to) {
    to.insert(to.end(), from.begin(), from.end());
}

thread_local ClosureWalk* t_walk = nullptr;

class WalkUse {
public:
    explicit WalkUse(ClosureWalk* walk) { t_walk = walk; }
    ~WalkUse() { t_walk = nullptr; }
    WalkUse(const WalkUse&) = delete;
    WalkUse& operator=(const WalkUse&) = delete;
};

}  // namespace

void ClosureWalk::Run(const std::string& file, ClosureStart start, List& dependencies,
                      List& secondList) {
    if (t_walk) {
        t_walk->m_handedOver = std::move(start);
        return;
    }
    ClosureWalk walk(secondList);
    const WalkUse use(&walk);
    std::ranges::move(walk.Collect(file, start), std::back_inserter(dependencies));
}

ClosureWalk::ClosureWalk(List& secondList) : m_secondList(secondList) {}

ClosureWalk::List ClosureWalk::Collect(const std::string& file, const ClosureStart& start) {
    File& root = FileOf(*PathOf(file));
    root.open = root.read = true;
    m_open.push_back(&root);
    OpenLevel(root, start);
    while (m_levels.size() > 1 || !m_levels.back().pending.empty()) Step();

    Level& level = m_levels.back();
    if (level.unique) KeepFirstOfEach(level.listed);
    List list;
    for (const Path* path : level.listed) list.push_back(*path->text);
    return list;
}

void ClosureWalk::Step() {
    Level& level = m_levels.back();
    if (level.pending.empty()) {
        CloseLevel();
        return;
    }
    Path* const path = level.pending.back();
    level.pending.pop_back();
    if (!path) {
        CloseFile();
        return;
    }
    level.listed.push_back(path);
    CountEntries(level);
    File& file = FileOf(*path);
    if (MayFollow(file)) Follow(file);
}

bool ClosureWalk::MayFollow(File& file) {
    if (!file.generator) return false;
    if (file.open) WarnOfRing(file);
    return !file.open && !(m_beyondLimit && file.read);
}

void ClosureWalk::Follow(File& file) {
    file.open = true;
    m_open.push_back(&file);
    m_levels.back().pending.push_back(nullptr);
    if (!file.read) Read(file);
    // Those of a file that has got a level of its own come when that is closed.
    if (m_levels.back().file != &file) Append(file.references, m_levels.back().pending);
}

void ClosureWalk::CloseFile() {
    m_open.back()->open = false;
    m_open.pop_back();
}

void ClosureWalk::Read(File& file) {
    file.read = true;
    ReportReadThrough(file.key);
    List references;
    file.generator->GenerateDependency(GeneratorForm(file.key), references, m_secondList);
    if (m_handedOver) {
        OpenLevel(file, *std::exchange(m_handedOver, std::nullopt));
    } else {
        file.references = PathsOf(references);
    }
}

void ClosureWalk::OpenLevel(File& file, const ClosureStart& start) {
    m_levels.push_back({&file, start.unique, PathsOf(start.listed), PathsOf(start.followed)});
    CountEntries(m_levels.back());
}

// Beyond the limit the list need not be kept, since the file is not followed again, nor be longer
// than it must.
void ClosureWalk::CloseLevel() {
    Level done = std::move(m_levels.back());
    m_levels.pop_back();
    if (done.unique || m_beyondLimit) KeepFirstOfEach(done.listed);
    Append(done.listed, m_levels.back().pending);
    if (!m_beyondLimit) done.file->references = std::move(done.listed);
}

void ClosureWalk::CountEntries(const Level& level) {
    if (m_beyondLimit || level.listed.size() <= kLimit) return;
    m_beyondLimit = true;
    LogWarning("%s: leads to more than %zu entries; from here on each file is followed once",
               m_open.front()->key.c_str(), kLimit);
}

void ClosureWalk::WarnOfRing(const File& file) {
    if (std::exchange(m_warnedOfRing, true)) return;
    std::string ring;
    std::size_t count = 0;
    for (auto at = std::ranges::find(m_open, &file); at != m_open.end(); ++at) {
        if (++count <= kLongestRingShown) ring += (*at)->key + " > ";
    }
    if (count > kLongestRingShown) ring += "... > ";
    LogWarning("%s: files that lead back to themselves are not followed again: %s%s",
               m_open.front()->key.c_str(), ring.c_str(), file.key.c_str());
}

void ClosureWalk::KeepFirstOfEach(std::vector<Path*>& list) {
    ++m_round;
    std::erase_if(
        list, [round = m_round](Path* path) { return std::exchange(path->round, round) == round; });
}

ClosureWalk::Path* ClosureWalk::PathOf(const std::string& text) {
    const auto entry = m_paths.try_emplace(text).first;
    entry->second.text = &entry->first;
    return &entry->second;
}

std::vector<ClosureWalk::Path*> ClosureWalk::PathsOf(const List& texts) {
    std::vector<Path*> paths;
    for (const std::string& text : texts) paths.push_back(PathOf(text));
    return paths;
}

ClosureWalk::File& ClosureWalk::FileOf(Path& path) {
    if (path.file) return *path.file;
    const auto [entry, isNew] = m_files.try_emplace(IdentityOf(*path.text));
    File& file = entry->second;
    path.file = &file;
    if (!isNew) return file;
    file.key = entry->first;
    CDependencyBase* const generator =
        CDependencyManager::GetSingletonPtr()->GetDependencyGenerator(*path.text);
    if (generator && Files().FileExists(file.key)) file.generator = generator;
    return file;
}

}  // namespace vexa
