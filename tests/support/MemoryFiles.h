#pragma once

#include <functional>
#include <string>
#include <utility>

#include "vexa/common/FileServiceLayer.h"
#include "vexa/common/InterfaceBox.h"

namespace vexa::test {

// A file that lives in memory.
class MemoryFile final : public IFile {
public:
    explicit MemoryFile(std::string bytes) : m_bytes(std::move(bytes)) {}

    const char* GetText() const override { return m_bytes.c_str(); }
    const char* GetData() const override { return m_bytes.data(); }
    std::size_t GetSize() const override { return m_bytes.size(); }
    void Release() override { delete this; }

private:
    std::string m_bytes;
};

// For its life the file service, in which every file holds the same bytes, and which exists is for
// a function of the key to say.
class MemoryFiles final : public FileServiceLayer {
public:
    MemoryFiles(std::string bytes, std::function<bool(const std::string&)> exists)
        : FileServiceLayer(*InterfaceBox::Instance().ReplaceFileService(this)),
          m_bytes(std::move(bytes)),
          m_exists(std::move(exists)) {}
    ~MemoryFiles() override { InterfaceBox::Instance().ReplaceFileService(&Below()); }

    FilePtr ReadFile(const std::string&) override { return FilePtr(new MemoryFile(m_bytes)); }
    bool FileExists(const std::string& path) override {
        std::string key;
        return NormaliseKey(path, key) && m_exists(key);
    }
    FileState GetState(const std::string& path) override { return {FileExists(path)}; }

private:
    std::string m_bytes;
    std::function<bool(const std::string&)> m_exists;
};

}  // namespace vexa::test
