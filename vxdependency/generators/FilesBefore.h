#pragma once

#include <string>

#include "vexa/common/FileServiceLayer.h"

namespace vexa {

class SlotRenames;

// The files as they were before renames that have happened: each is found under its old name alone,
// with what it holds now. Several strategies look for files, so that what a text named can only be
// told from this view.
class FilesBefore final : public FileServiceLayer {
public:
    FilesBefore(IFileService& now, const SlotRenames& renames);

    FilePtr ReadFile(const std::string& path) override;
    bool FileExists(const std::string& path) override;
    FileState GetState(const std::string& path) override;
    bool FindPlace(const std::string& path, std::string& place) override;

private:
    bool Locate(const std::string& path, std::string& now);

    const SlotRenames& m_renames;
};

}  // namespace vexa
