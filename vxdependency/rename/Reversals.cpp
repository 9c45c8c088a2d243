#include "vxdependency/rename/Reversals.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/Path.h"
#include "vexa/io/PathText.h"
#include "vxdependency/rename/FileNameProcessor.h"
#include "vxdependency/rename/Strategies.h"

namespace vexa::reversals {

namespace {

constexpr std::string_view kEffectExtension = ".nfx";

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

bool Has(const Reference& reference, FNStrategyType strategy) {
    return (reference.mask & static_cast<int>(strategy)) != 0;
}

// What the anchored strategy leaves of the text.
std::string WithoutAnchor(std::string text) {
    strategies::Found none;
    strategies::Anchored("", text, none);
    return text;
}

// True for a path of the machine that leads to a resource.
bool IsAbsolute(const std::string& text) {
    std::string named;
    std::string byName;
    if (!strategies::RootedKey(text, named)) return false;
    return !NormaliseKey(text, byName) || byName != named;
}

bool RelativeKey(const Reference& reference, const std::string& text, std::string& key) {
    return strategies::JoinedKey(reference.file, text, key);
}

bool RootedKey(const Reference& reference, const std::string& text, std::string& key) {
    const bool anchored = Has(reference, FNStrategyType::Anchored) && !IsAbsolute(text);
    return strategies::RootedKey(anchored ? WithoutAnchor(text) : text, key);
}

// Strategies that run before the anchor is taken off read it as a folder.
bool ReadsAnchor(const Reference& reference) {
    return Has(reference, FNStrategyType::Root) || Has(reference, FNStrategyType::Effect);
}

bool UncutKey(const Reference&, const std::string& text, std::string& key) {
    return strategies::RootedKey(text, key);
}

using KeyReading = bool (*)(const Reference& reference, const std::string& text, std::string& key);

bool SameFolder(const std::string& a, const std::string& b) {
    return vxio::GetDirName(a) == vxio::GetDirName(b);
}

bool EndsInSeparator(const std::string& text) {
    return !text.empty() && vxio::IsSeparator(text.back());
}

// `text` with the folder as the reference spells it; false when that is another folder.
bool KeepFolder(const Reference& reference, KeyReading reading, std::string& text) {
    if (!reference.folder) return false;
    std::string kept = *reference.folder + vxio::GetFileName(text);
    std::string key;
    if (!reading(reference, kept, key) || key != text) return false;
    text = std::move(kept);
    return true;
}

// Puts `lead` before the path, and the reference's separator into it.
void Spell(const Reference& reference, const std::string& lead, std::string& text) {
    text.insert(0, lead);
    if (text.empty()) text = ".";
    const bool slash = reference.body.find('/') != std::string::npos;
    if (slash || reference.body.find('\\') == std::string::npos) return;
    std::ranges::replace(text, '/', '\\');
}

bool IsTerrainPart(const std::string& path) {
    return std::ranges::count(strategies::kTerrainParts, vxio::GetFileName(path)) > 0;
}

// Where the "./" that begin at `at` end.
std::size_t SkipCurrentFolder(const std::string& text, std::size_t at) {
    while (at + 1 < text.size() && text[at] == '.' && vxio::IsSeparator(text[at + 1]))
        at = std::min(text.find_first_not_of(vxio::Separators, at + 1), text.size());
    return at;
}

}  // namespace

Reference Parse(const std::string& file, const std::string& text, int mask) {
    Reference reference;
    reference.file = file;
    reference.body = text;
    reference.mask = mask;
    if (Has(reference, FNStrategyType::Selector)) {
        strategies::Found none;
        strategies::Selector(file, reference.body, none);
        reference.selector = text.substr(reference.body.size());
    }
    return reference;
}

bool IsRelative(const Reference& reference, const std::string& key) {
    std::string target = key;
    if (Has(reference, FNStrategyType::TerrainTool)) TerrainTool(reference, target, key);
    NormaliseKey(target, target);
    std::string named;
    if (RelativeKey(reference, reference.body, named) && SameFolder(named, target)) return true;
    if (RootedKey(reference, reference.body, named) && SameFolder(named, target)) return false;
    return WithoutAnchor(reference.body) == reference.body;
}

std::string LeadOf(const Reference& reference, bool relative) {
    const std::string& body = reference.body;
    if (!relative && IsAbsolute(body)) return Files().AbsolutePath("");
    std::size_t length = std::min(body.find_first_not_of(vxio::Separators), body.size());
    if (!relative && Has(reference, FNStrategyType::Anchored))
        length = body.size() - WithoutAnchor(body).size();
    return body.substr(0, SkipCurrentFolder(body, length));
}

bool TerrainTool(const Reference& reference, std::string& text, const std::string&) {
    if (!IsTerrainPart(text) || IsTerrainPart(reference.body)) return false;
    text = vxio::GetDirName(text);
    if (!text.empty() && !EndsInSeparator(reference.body)) text.pop_back();
    return true;
}

// Where the old path is not known, the extension of the text may have been that of the file.
bool ImageType(const Reference& reference, std::string& text, const std::string& newKey) {
    const std::string written = vxio::GetFileExtension(reference.body);
    const std::string& old = reference.oldKey;
    if (vxio::GetFileNameWithoutExtension(old) !=
            vxio::GetFileNameWithoutExtension(reference.body) ||
        vxio::GetFileExtension(old) == written)
        return false;
    const std::string stem = text.substr(0, text.size() - vxio::GetFileExtension(text).size());
    std::string found = stem + written;
    strategies::Found none;
    if (!strategies::ImageType(reference.file, found, none) || found != newKey) return false;
    text = stem + written;
    return true;
}

bool Effect(const Reference& reference, std::string& text, const std::string&) {
    const std::string& old = reference.oldKey;
    if (vxio::GetFileExtension(reference.body) == kEffectExtension) return false;
    if (!old.empty() && vxio::GetFileExtension(old) != kEffectExtension) return false;
    if (vxio::GetFileExtension(text) != kEffectExtension) return false;
    text.resize(text.size() - kEffectExtension.size());
    return true;
}

bool Directory(const Reference& reference, std::string& text, const std::string&) {
    if (KeepFolder(reference, RelativeKey, text)) return true;
    std::string file;
    if (!Files().MakeRelative(reference.file, file)) return false;
    text = vxio::GetRelativeDir(text, vxio::GetDirName(file)) + vxio::GetFileName(text);
    // "./../" says nothing that "../" does not.
    const bool up = text.starts_with("../");
    // The way to the top of the tree ends in a separator.
    if (EndsInSeparator(text) && !EndsInSeparator(reference.body)) text.pop_back();
    Spell(reference, up ? "" : reference.lead, text);
    return true;
}

bool Root(const Reference& reference, std::string& text, const std::string&) {
    const bool kept = KeepFolder(reference, RootedKey, text) ||
                      (ReadsAnchor(reference) && KeepFolder(reference, UncutKey, text));
    if (!kept) Spell(reference, reference.lead, text);
    return true;
}

bool Selector(const Reference& reference, std::string& text, const std::string&) {
    text += reference.selector;
    return !reference.selector.empty();
}

}  // namespace vexa::reversals
