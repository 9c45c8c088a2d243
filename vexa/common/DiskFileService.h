#pragma once

#include <functional>
#include <string>

#include "vexa/common/FileService.h"

namespace vexa {

// The file service over the disk. `resourceRoot` yields the absolute resource root with "/" between
// its segments.
class DiskFileService final : public IFileService {
public:
    using RootSource = std::function<const std::string&()>;
    explicit DiskFileService(RootSource resourceRoot);

    FilePtr ReadFile(const std::string& path) override;
    bool FileExists(const std::string& path) override;
    bool KeyExists(const std::string& key) override;
    FileState GetState(const std::string& path) override;
    bool MakeRelative(const std::string& path, std::string& key) override;
    bool KeyOfReference(const std::string& text, std::string& key) override;
    std::string AbsolutePath(const std::string& path) override;
    bool NormalisePath(const char* path, char* buffer, std::size_t capacity) override;
    bool FindPlace(const std::string& path, std::string& place) override;
    bool Save(const std::string& path, std::string_view bytes, std::string& error) override;
    std::uint32_t Move(const std::string& from, const std::string& to) override;
    std::uint32_t Copy(const std::string& from, const std::string& to) override;

private:
    bool IsOnDisk(const std::string& path);
    bool KeyBelowRoot(const std::string& path, std::string& key) const;
    bool KeyByName(const std::string& absolute, std::string& key) const;
    void DropRoot(std::string& path) const;
    bool KeyByPlace(const std::string& absolute, std::string& key) const;
    std::string BelowRoot(const std::string& relative) const;

    const RootSource m_resourceRoot;
};

}  // namespace vexa
