#include "vxdependency/generators/ReferenceRewriter.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/generators/FilesBefore.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

// Finds companions alone, which a text does not name.
constexpr std::int32_t kBinding = static_cast<std::int32_t>(FNStrategyType::Binding);
constexpr std::int32_t kHoldsSlash = 0x4;

}  // namespace

ReferenceRewriter::ReferenceRewriter(std::string file, Scope scope, const std::string& oldPath,
                                     const std::string& newPath)
    : m_renames(oldPath, newPath), m_file(std::move(file)), m_oldFile(m_file), m_scope(scope) {
    if (const std::string* const oldName = m_renames.OldNameOf(m_file)) m_oldFile = *oldName;
}

std::optional<std::string> ReferenceRewriter::NewText(const std::string& text, std::int32_t mask,
                                                      const std::string& addition) const {
    const std::string read = text + addition;
    const std::vector<Target> targets = TargetsOf(read, mask);
    const auto stillNamed = [&](const Target& target) {
        return FileNameProcessor::Names(m_file, read, mask, target.newKey);
    };
    if (m_file != m_oldFile && std::ranges::any_of(targets, stillNamed)) return text;
    for (const Target& target : targets) {
        if (target.newKey.empty()) return "";
        if (auto newText = TextFor(target, read, mask, addition)) return newText;
    }
    return std::nullopt;
}

std::vector<ReferenceRewriter::Target> ReferenceRewriter::TargetsOf(const std::string& read,
                                                                    std::int32_t mask) const {
    FilesBefore before(InterfaceBox::Instance().GetFileService(), m_renames);
    const FileServiceUse asBefore(before);
    const ObserverUse unobserved(nullptr);
    const auto [paths, companions] =
        FileNameProcessor::Execute(m_oldFile, read, mask & ~kBinding, PathGoal::All);
    std::vector<Target> targets;
    std::string key;
    for (const std::string& path : paths) {
        if (!before.KeyOfReference(path, key)) continue;
        if (const std::string* const newName = m_renames.NewNameOf(key)) {
            targets.push_back({key, *newName});
        } else if (m_scope == Scope::Existing && before.FileExists(key)) {
            targets.push_back({key, key});
        }
    }
    return targets;
}

std::optional<std::string> ReferenceRewriter::TextFor(const Target& target, const std::string& read,
                                                      std::int32_t mask,
                                                      const std::string& addition) const {
    const bool holdsSlash = read.find('/') != std::string::npos;
    const std::int32_t way = holdsSlash ? mask | kHoldsSlash : mask;
    std::string newText =
        FileNameProcessor::Revert(m_file, read, way, target.newKey, target.oldKey);
    const bool names = FileNameProcessor::Names(m_file, newText, mask, target.newKey);
    if (!names || !newText.ends_with(addition)) return std::nullopt;
    newText.resize(newText.size() - addition.size());
    return newText;
}

}  // namespace vexa
