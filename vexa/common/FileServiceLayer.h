#pragma once

#include <string>
#include <string_view>

#include "vexa/common/FileService.h"

namespace vexa {

// A file service over another one, to which everything goes that it does not answer itself. The
// lower one must outlive it.
class FileServiceLayer : public IFileService {
public:
    explicit FileServiceLayer(IFileService& below) : m_below(&below) {}

    FilePtr ReadFile(const std::string& path) override { return m_below->ReadFile(path); }
    bool FileExists(const std::string& path) override { return m_below->FileExists(path); }
    FileState GetState(const std::string& path) override { return m_below->GetState(path); }
    bool MakeRelative(const std::string& path, std::string& key) override {
        return m_below->MakeRelative(path, key);
    }
    bool KeyOfReference(const std::string& text, std::string& key) override {
        return m_below->KeyOfReference(text, key);
    }
    std::string AbsolutePath(const std::string& path) override {
        return m_below->AbsolutePath(path);
    }
    bool NormalisePath(const char* path, char* buffer, std::size_t capacity) override {
        return m_below->NormalisePath(path, buffer, capacity);
    }
    bool FindPlace(const std::string& path, std::string& place) override {
        return m_below->FindPlace(path, place);
    }
    bool Save(const std::string& path, std::string_view bytes, std::string& error) override {
        return m_below->Save(path, bytes, error);
    }
    std::uint32_t Move(const std::string& from, const std::string& to) override {
        return m_below->Move(from, to);
    }
    std::uint32_t Copy(const std::string& from, const std::string& to) override {
        return m_below->Copy(from, to);
    }

protected:
    IFileService& Below() const { return *m_below; }

private:
    IFileService* m_below;
};

}  // namespace vexa
