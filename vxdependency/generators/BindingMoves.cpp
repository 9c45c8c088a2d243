#include "vxdependency/generators/BindingMoves.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/BindingStem.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

}  // namespace

bool IsUnderWay(const std::string& path) {
    const PendingRenames& renames = CDependencyManager::GetSingletonPtr()->GetPendingRenames();
    std::string key;
    return Files().MakeRelative(path, key) && (renames.NewNameOf(key) || renames.OldNameOf(key));
}

bool IsDue(const FileMove& move) {
    std::string from;
    std::string to;
    const bool same =
        Files().MakeRelative(move.from, from) && Files().MakeRelative(move.to, to) && from == to;
    return !same && !IsUnderWay(move.from);
}

std::vector<FileMove> BindingMoves(CDependencyBase& generator, const std::string& oldPath,
                                   const std::string& newPath) {
    const std::string from = BindingStem(generator, oldPath);
    const std::string to = BindingStem(generator, newPath);
    std::vector<FileMove> moves;
    for (const std::string& suffix : generator.GetImplicitBindingFiles(oldPath)) {
        moves.push_back({from + suffix, to + suffix});
    }
    return moves;
}

void MoveBindings(CDependencyBase& generator, const std::string& oldPath,
                  const std::string& newPath) {
    for (const FileMove& move : BindingMoves(generator, oldPath, newPath)) {
        if (!IsDue(move) || !Files().FileExists(move.from)) continue;
        if (CDependencyManager::GetSingletonPtr()->RawRename(move.from, move.to)) continue;
        LogError("Move File from %s to %s failed!", move.from.c_str(), move.to.c_str());
    }
}

}  // namespace vexa
