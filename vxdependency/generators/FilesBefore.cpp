#include "vxdependency/generators/FilesBefore.h"

#include "vxdependency/generators/SlotRenames.h"

namespace vexa {

FilesBefore::FilesBefore(IFileService& now, const SlotRenames& renames)
    : FileServiceLayer(now), m_renames(renames) {}

FilePtr FilesBefore::ReadFile(const std::string& path) {
    std::string now;
    return Locate(path, now) ? Below().ReadFile(now) : nullptr;
}

// What is renamed was there, even if somebody has removed it since.
bool FilesBefore::FileExists(const std::string& path) {
    std::string key;
    if (MakeRelative(path, key) && m_renames.NewNameOf(key)) return true;
    std::string now;
    return Locate(path, now) && Below().FileExists(now);
}

FileState FilesBefore::GetState(const std::string& path) {
    std::string now;
    return Locate(path, now) ? Below().GetState(now) : FileState{};
}

bool FilesBefore::FindPlace(const std::string& path, std::string& place) {
    std::string now;
    return Locate(path, now) && Below().FindPlace(now, place);
}

// Where what was at `path` is now; false for a place that was empty, and for what goes away.
bool FilesBefore::Locate(const std::string& path, std::string& now) {
    now = path;
    std::string key;
    if (!MakeRelative(path, key)) return true;
    if (const std::string* const newName = m_renames.NewNameOf(key)) {
        now = *newName;
        return !now.empty();
    }
    return !m_renames.OldNameOf(key);
}

}  // namespace vexa
