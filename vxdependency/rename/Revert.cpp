// The way back: from the path of a resource to the text of a reference.

#include <concepts>
#include <utility>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/rename/FileNameProcessor.h"
#include "vxdependency/rename/Reversals.h"

namespace vexa {

namespace {

constexpr int Bits(std::same_as<FNStrategyType> auto... strategies) {
    return (0 | ... | static_cast<int>(strategies));
}

// First what becomes of the path, then where it is written from, and what stands behind it last.
// The strategies that are not here add nothing that a text would show.
constexpr std::pair<FNStrategyType, reversals::Reversal> s_revert_map[] = {
    {FNStrategyType::TerrainTool, reversals::TerrainTool},
    {FNStrategyType::ImageType, reversals::ImageType},
    {FNStrategyType::Effect, reversals::Effect},
    {FNStrategyType::Directory, reversals::Directory},
    {FNStrategyType::Root, reversals::Root},
    {FNStrategyType::Selector, reversals::Selector},
};

// What reads a text relative to the file too; from the root every text is read.
constexpr int kRelative = Bits(FNStrategyType::Directory, FNStrategyType::Effect,
                               FNStrategyType::RawAnimation, FNStrategyType::TerrainTool);
// What lets a text leave out a part of the path.
constexpr int kShortening =
    Bits(FNStrategyType::TerrainTool, FNStrategyType::ImageType, FNStrategyType::Effect);
constexpr int kSelector = Bits(FNStrategyType::Selector);

// A form that a text can take.
struct Form {
    int parts;         // the strategies of whose form it has something
    bool relative;     // to the file
    const char* lead;  // written before the path; null to keep lead and folder of the text
};

// The one most like the text first. "./" saves a name that the strategies would take for something
// else, such as that of a folder "res".
std::vector<Form> FormsOf(const reversals::Reference& reference, const std::string& key) {
    const std::string& known = reference.oldKey.empty() ? key : reference.oldKey;
    const bool canBeRelative = (reference.mask & kRelative) != 0;
    const bool relative = canBeRelative && reversals::IsRelative(reference, known);
    const int parts = reference.mask & (kShortening | kSelector);
    std::vector<Form> forms;
    for (const int some : {parts, parts & kSelector, 0}) {
        for (const bool way : {relative, !relative}) {
            if (way && !canBeRelative) continue;
            for (const char* lead : {static_cast<const char*>(nullptr), "", "./"})
                forms.push_back({some, way, lead});
        }
    }
    return forms;
}

std::string Write(reversals::Reference reference, const Form& form, const std::string& key) {
    if (form.lead == nullptr) reference.folder = vxio::GetDirName(reference.body);
    reference.lead = form.lead ? form.lead : reversals::LeadOf(reference, form.relative);
    const FNStrategyType way = form.relative ? FNStrategyType::Directory : FNStrategyType::Root;
    std::string text = key;
    for (const auto& [strategy, reversal] : s_revert_map) {
        if (((form.parts | Bits(way)) & Bits(strategy)) != 0) reversal(reference, text, key);
    }
    return text;
}

// How a text names a resource.
enum class Naming { None, AmongOthers, Alone };

Naming NamingIn(const FileNameProcessor::List& paths, const std::string& key) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    // The files that a terrain folder stands for are of one folder.
    const std::string folder = vxio::GetDirName(key);
    bool named = false;
    bool others = false;
    std::string other;
    for (const std::string& path : paths) {
        if (!files.KeyOfReference(path, other)) continue;
        named |= other == key;
        others |= vxio::GetDirName(other) != folder && files.FileExists(other);
    }
    if (!named) return Naming::None;
    return others ? Naming::AmongOthers : Naming::Alone;
}

// Companions are not named, and need not be looked for.
Naming NamingOf(const std::string& file, const std::string& text, int mask,
                const std::string& key) {
    const ObserverUse unobserved(nullptr);
    const int naming = mask & ~Bits(FNStrategyType::Binding);
    return NamingIn(FileNameProcessor::Execute(file, text, naming, PathGoal::All).first, key);
}

}  // namespace

std::string FileNameProcessor::Revert(const std::string& file, const std::string& text, int mask,
                                      const std::string& newPath, const std::string& oldPath) {
    std::string key;
    if (!NormaliseKey(newPath, key) || key.empty()) return newPath;
    const ObserverUse unobserved(nullptr);
    reversals::Reference reference = reversals::Parse(file, text, mask);
    NormaliseKey(oldPath, reference.oldKey);
    const std::vector<Form> forms = FormsOf(reference, key);
    std::string shared;
    for (const Form& form : forms) {
        std::string candidate = Write(reference, form, key);
        const Naming naming = NamingOf(file, candidate, mask, key);
        if (naming == Naming::Alone) return candidate;
        if (naming == Naming::AmongOthers && shared.empty()) shared = std::move(candidate);
    }
    return shared.empty() ? Write(reference, forms.front(), key) : shared;
}

bool FileNameProcessor::Names(const std::string& file, const std::string& text, int mask,
                              const std::string& path) {
    return NamingOf(file, text, mask, path) != Naming::None;
}

}  // namespace vexa
