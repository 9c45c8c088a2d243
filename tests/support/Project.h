#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/TempDir.h"
#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PackageManager.h"

namespace vexa::test {

// A project of its own for one test: an empty resource tree and a built-in package with the given
// configuration. For its life the working directory and the project root of the process lie in it.
// The manager keeps what it met first, so a test that uses it has one project only.
class Project {
public:
    explicit Project(std::string_view xmlConfig = "{}", std::string_view jsonConfig = "{}")
        : m_before(std::filesystem::current_path()) {
        m_directory.MakeDir("res");
        m_directory.Write(kConfigFolder + "xml_config.json", xmlConfig);
        m_directory.Write(kConfigFolder + "json_config.json", jsonConfig);
        std::filesystem::current_path(Root());
        InterfaceBox::Instance().SetProjectRoot(Root());
        vxio::PackageManager::Instance().SetPackagePath("builtin", Root() + "/builtin");
    }
    ~Project() {
        std::error_code ignored;
        std::filesystem::current_path(m_before, ignored);
    }
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    // The project root, and the directory as a whole.
    const std::string& Root() const { return m_directory.Path(); }
    const TempDir& Directory() const { return m_directory; }

    // The absolute path of a resource, by its key.
    std::string Resource(std::string_view key) const {
        return m_directory.Path("res/" + std::string(key));
    }
    // Writes, reads, makes the folders of, removes a resource.
    std::string Write(std::string_view key, std::string_view content) const {
        return m_directory.Write("res/" + std::string(key), content);
    }
    std::string Read(std::string_view key) const {
        return m_directory.Read("res/" + std::string(key));
    }
    void Remove(std::string_view key) const { std::filesystem::remove_all(Resource(key)); }
    // Makes resources that only have to be there.
    template <typename... Keys>
    void Touch(const Keys&... keys) const {
        (Write(keys, ""), ...);
    }

    std::string XmlConfig() const { return m_directory.Path(kConfigFolder + "xml_config.json"); }
    std::string JsonConfig() const { return m_directory.Path(kConfigFolder + "json_config.json"); }

private:
    inline static const std::string kConfigFolder = "builtin/res/builtin/dependency_config/";

    std::filesystem::path m_before;
    TempDir m_directory;
};

}  // namespace vexa::test
