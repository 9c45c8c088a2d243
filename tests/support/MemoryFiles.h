#pragma once

#include <functional>
#include <string>
#include <utility>

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
class MemoryFiles final : public IFileService {
public:
    MemoryFiles(std::string bytes, std::function<bool(const std::string&)> exists)
        : m_bytes(std::move(bytes)), m_exists(std::move(exists)) {
        m_before = InterfaceBox::Instance().ReplaceFileService(this);
    }
    ~MemoryFiles() override { InterfaceBox::Instance().ReplaceFileService(m_before); }

    FilePtr ReadFile(const std::string&) override { return FilePtr(new MemoryFile(m_bytes)); }
    bool FileExists(const std::string& path) override {
        std::string key;
        return NormaliseKey(path, key) && m_exists(key);
    }
    FileState GetState(const std::string& path) override { return {FileExists(path)}; }
    bool MakeRelative(const std::string& path, std::string& key) override {
        return m_before->MakeRelative(path, key);
    }
    bool KeyOfReference(const std::string& text, std::string& key) override {
        return m_before->KeyOfReference(text, key);
    }
    std::string AbsolutePath(const std::string& path) override {
        return m_before->AbsolutePath(path);
    }
    bool NormalisePath(const char* path, char* buffer, std::size_t capacity) override {
        return m_before->NormalisePath(path, buffer, capacity);
    }

private:
    std::string m_bytes;
    std::function<bool(const std::string&)> m_exists;
    IFileService* m_before;
};

}  // namespace vexa::test
