#include "vxdependency/rename/Strategies.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/KeyText.h"
#include "vexa/io/Path.h"
#include "vexa/io/PathText.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa::strategies {

namespace {

// Longer texts are data, as embedded images are, and are spared the joining. A path has at most 260
// characters, but a selector behind it may be long.
constexpr std::size_t kLongestText = 4096;
constexpr std::size_t kLongestPath = 260;

// In the order in which they are tried.
constexpr const char* kImageExtensions[] = {"dds", "vol", "tga", "bmp", "jpg",
                                            "spr", "png", "exr", "hdr", "ktx"};

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

CDependencyManager& Manager() {
    return *CDependencyManager::GetSingletonPtr();
}

bool CanBeAName(const std::string& name) {
    return !name.empty() && name.size() <= kLongestText;
}

// The keys of both readings of `name`: relative to the file, and to the resource root.
std::vector<std::string> BothKeys(const std::string& file, const std::string& name) {
    std::vector<std::string> keys;
    std::string key;
    if (JoinedKey(file, name, key)) keys.push_back(key);
    if (RootedKey(name, key) && (keys.empty() || keys.front() != key)) keys.push_back(key);
    return keys;
}

// The key of the folder that a file lies in; null for a file that has no key. Many references stand
// in one file. What the key of a path of the machine is may change.
const std::string* FolderOf(const std::string& file) {
    struct Folder {
        std::string file;
        std::string key;
        bool valid = true;
    };
    thread_local Folder folder;
    if (folder.file != file || vxio::AnchorLength(file) > 0) {
        folder.file = file;
        folder.valid = Files().MakeRelative(file, folder.key);
        vxio::DropSegment(folder.key);
    }
    return folder.valid ? &folder.key : nullptr;
}

bool AddBindingFiles(const std::string& key, Found& found) {
    if (key.size() > kLongestPath || !Manager().HasDependencyGenerator(key)) return false;
    const std::size_t before = found.companions.size();
    Manager().GetImplicitBindingFiles(key, found.companions);
    Manager().GetExplicitBindingFiles(key, found.companions);
    return found.companions.size() != before;
}

// Takes `tail` off the end of `path`; false when that leaves nothing that names a file.
bool CutTail(std::string& path, const std::string& tail) {
    if (!path.ends_with(tail)) return false;
    path.resize(path.size() - tail.size());
    return !path.empty() && !vxio::IsSeparator(path.back());
}

// Gives an image the first extension under which it exists.
bool TakeExistingExtension(std::string& path) {
    if (!CDependencyManager::IsImage(path)) return false;
    const std::string stem = path.substr(0, path.rfind('.') + 1);
    std::string key;
    for (const char* extension : kImageExtensions) {
        std::string other = stem + extension;
        if (!RootedKey(other, key) || !Files().FileExists(key)) continue;
        path = std::move(other);
        return true;
    }
    if (RootedKey(path, key)) ReportAbsent(ImageFamily(key));
    return false;
}

// Adds what an animation names and is there. An animation that is met while another one is being
// read is left alone: one step is all that the strategy promises, and animations that name one
// another would not end.
class AnimationReader {
public:
    AnimationReader() : m_outermost(!std::exchange(s_reading, true)) {}
    ~AnimationReader() {
        if (m_outermost) s_reading = false;
    }
    AnimationReader(const AnimationReader&) = delete;
    AnimationReader& operator=(const AnimationReader&) = delete;

    void AddNamed(const std::string& key, Found& found) const {
        CDependencyBase* const generator = Manager().GetDependencyGenerator(key);
        if (!m_outermost || !generator) return;
        ReportReadThrough(key);
        std::vector<std::string> named;
        std::vector<std::string> bound;
        generator->GenerateDependency(GeneratorForm(key), named, bound);
        std::string resource;
        for (const std::string& path : named) {
            if (!Files().KeyOfReference(path, resource)) continue;
            if (!Files().FileExists(resource)) continue;  // which its own reading has reported
            found.companions.push_back(resource);
        }
    }

private:
    inline static thread_local bool s_reading = false;
    const bool m_outermost;
};

}  // namespace

bool RootedKey(const std::string& name, std::string& key) {
    return CanBeAName(name) && Files().KeyOfReference(name, key);
}

bool JoinedKey(const std::string& file, const std::string& name, std::string& key) {
    const std::string* const folder = CanBeAName(name) ? FolderOf(file) : nullptr;
    if (!folder) return false;
    key = *folder;
    return AppendNormalised(name, key);
}

bool Root(const std::string&, std::string& name, Found& found) {
    if (!FileNameProcessor::IsAPath(name) || !CanBeAName(name)) return false;
    const std::string* const key = found.RootedKey(name);
    return key && found.Add(*key);
}

bool Directory(const std::string& file, std::string& name, Found& found) {
    std::string& key = found.scratch;
    const std::string* const folder = CanBeAName(name) ? FolderOf(file) : nullptr;
    if (!folder) return false;
    key = *folder;
    if (const std::string* const plain = found.PlainKey(name)) {
        vxio::AppendSegment(key, *plain);
    } else if (!AppendNormalised(name, key)) {
        return false;
    }
    return found.Add(key);
}

bool Binding(const std::string&, std::string& name, Found& found) {
    std::vector<std::string> keys;
    for (const ReferenceCandidate& candidate : found.Candidates()) keys.push_back(candidate.key);
    std::string key;
    if (RootedKey(name, key) && std::ranges::find(keys, key) == keys.end()) keys.push_back(key);
    bool added = false;
    for (const std::string& candidate : keys) added |= AddBindingFiles(candidate, found);
    return added;
}

bool Effect(const std::string& file, std::string& name, Found& found) {
    if (!CanBeAName(name)) return false;
    const bool written = vxio::GetFileExtension(name) == ".nfx";
    bool added = false;
    for (const std::string& effect : BothKeys(file, written ? name : name + ".nfx")) {
        added |= found.Add(effect);
        AddBindingFiles(effect, found);
    }
    return added;
}

bool Anchored(const std::string&, std::string& name, Found&) {
    const std::size_t before = name.size();
    const auto dropSeparators = [&name] {
        const auto end = std::ranges::find_if_not(name, vxio::IsSeparator);
        if (end != name.begin()) name.erase(name.begin(), end);
    };
    dropSeparators();
    if (name.size() > 4 && name.starts_with("res") && vxio::IsSeparator(name[3])) {
        name.erase(0, 3);
        dropSeparators();
    }
    return name.size() != before;
}

// Candidates keep their uncut form too: a file may be named "a#b.png". They lose what the name
// loses, no more: "#" in the directory of the referring file is no selector.
bool Selector(const std::string&, std::string& name, Found& found) {
    const auto begins = [](char c) { return c == '#' || c == '?' || c == '|'; };
    const auto selector =
        static_cast<std::size_t>(std::ranges::find_if(name, begins) - name.begin());
    if (selector == name.size()) return false;
    const std::string tail = vxio::FormatPath(name.substr(selector));
    name.resize(selector);
    const std::size_t count = found.Candidates().size();
    for (std::size_t i = 0; i < count; ++i) {
        std::string cut = found.Candidates()[i].key;
        if (CutTail(cut, tail)) found.Add(cut, true);
    }
    return true;
}

// A pipeline that converts images leaves references to the source image behind. As long as any
// reading of the reference is there as written, nothing else is meant by it.
bool ImageType(const std::string&, std::string& name, Found& found) {
    if (!CDependencyManager::IsImage(name)) return false;
    const std::size_t count = found.Candidates().size();
    for (std::size_t i = 0; i < count; ++i) {
        if (found.Exists(i)) return false;
    }
    if (CanBeAName(name) && found.RootedExists(name)) return false;
    bool taken = false;
    for (std::size_t i = 0; i < count; ++i) {
        std::string other = found.Candidates()[i].key;
        if (!TakeExistingExtension(other)) continue;
        found.Add(other, found.IsLoose(i));
        taken = true;
    }
    return TakeExistingExtension(name) || taken;
}

bool RawAnimation(const std::string& file, std::string& name, Found& found) {
    if (vxio::GetFileExtension(name) != ".rawanimation") return false;
    const AnimationReader reader;
    bool added = false;
    for (const std::string& animation : BothKeys(file, name)) {
        added |= found.Add(animation);
        if (Files().FileExists(animation)) reader.AddNamed(animation, found);
    }
    return added;
}

bool TerrainTool(const std::string& file, std::string& name, Found& found) {
    bool added = false;
    for (const std::string& folder : BothKeys(file, name)) {
        for (const std::string_view part : kTerrainParts) {
            std::string key = folder;
            vxio::AppendSegment(key, part);
            if (Files().FileExists(key)) {
                added |= found.Add(key);
            } else {
                ReportAbsent(key);
            }
        }
    }
    return added;
}

namespace {

// The strategies in their order of running: first the readings of the text as written, so that the
// companions of each are found; then what takes parts off the name.
constexpr std::pair<FNStrategyType, Strategy> s_process_map[] = {
    {FNStrategyType::Root, Root},
    {FNStrategyType::Directory, Directory},
    {FNStrategyType::Binding, Binding},
    {FNStrategyType::Effect, Effect},
    {FNStrategyType::Anchored, Anchored},
    {FNStrategyType::Selector, Selector},
    {FNStrategyType::ImageType, ImageType},
    {FNStrategyType::RawAnimation, RawAnimation},
    {FNStrategyType::TerrainTool, TerrainTool},
};

}  // namespace

void Run(const std::string& file, std::int32_t mask, std::string& name, Found& found) {
    for (const auto& [key, strategy] : s_process_map) {
        const auto bit = static_cast<std::int32_t>(key);
        if ((mask & bit) == 0) continue;
        found.Begin(bit);
        strategy(file, name, found);
    }
}

}  // namespace vexa::strategies
