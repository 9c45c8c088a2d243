#pragma once

#include <string>
#include <vector>

namespace vexa {

class CDependencyBase;

// What has to move along when a resource is renamed. Paths in the form of the resource's.
struct FileMove {
    std::string from;
    std::string to;
};

// True for a file whose own rename is under way, and for one that another rename put at this place:
// neither goes along with a resource.
bool IsUnderWay(const std::string& path);

// False where there is nothing to move: source and target are one, or the source IsUnderWay.
bool IsDue(const FileMove& move);

// The moves of the files bound implicitly to a resource, whether they are there or not.
std::vector<FileMove> BindingMoves(CDependencyBase& generator, const std::string& oldPath,
                                   const std::string& newPath);

// Makes those of them that are due and whose file is there. Each that fails is logged as an error;
// the rest go on.
void MoveBindings(CDependencyBase& generator, const std::string& oldPath,
                  const std::string& newPath);

}  // namespace vexa
