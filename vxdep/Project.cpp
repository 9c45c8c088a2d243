#include "vxdep/Project.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PackageManager.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace fs = std::filesystem;

namespace {

constexpr char kConfiguration[] = "res/builtin/dependency_config";

bool HoldsResources(const fs::path& directory) {
    std::error_code ignored;
    return fs::is_directory(directory / "res", ignored);
}

fs::path RootAbove(const fs::path& start) {
    for (fs::path directory = start;; directory = directory.parent_path()) {
        if (HoldsResources(directory)) return directory;
        if (directory == directory.parent_path()) break;
    }
    throw Failure("no res/ folder here or above: " + start.string() +
                  "; run vxdep inside a project or give -C DIR");
}

fs::path GivenDirectory(const std::string& option, const std::string& directory) {
    std::error_code error;
    const fs::path path = fs::canonical(directory, error);
    if (error) throw Failure(option + " " + directory + ": " + error.message());
    if (!fs::is_directory(path)) throw Failure(option + " " + directory + ": not a directory");
    return path;
}

fs::path FindRoot(const std::string& directory) {
    if (directory.empty()) return RootAbove(fs::current_path());
    const fs::path root = GivenDirectory("-C", directory);
    if (!HoldsResources(root)) {
        throw Failure("-C " + directory + ": there is no res/ folder in it");
    }
    return root;
}

fs::path FindBuiltin(const std::string& directory) {
    const fs::path builtin = GivenDirectory("--builtin", directory);
    if (!fs::is_directory(builtin / kConfiguration)) {
        throw Failure("--builtin " + directory + ": there is no " + kConfiguration + " in it");
    }
    return builtin;
}

void RequireBuiltin(const fs::path& root) {
    if (!vexa::vxio::PackageManager::Instance().GetPackagePath("builtin").empty()) return;
    throw Failure("no built-in package: neither " + (root / "builtin").string() +
                  " nor an installed one is there; give --builtin DIR");
}

}  // namespace

Project::Project(const GlobalOptions& options) : m_root(FindRoot(options.directory)) {
    if (!options.builtin.empty()) m_builtin = FindBuiltin(options.builtin);
}

void Project::Open() const {
    Console::Instance().TakeLog();
    vexa::InterfaceBox::Instance().SetProjectRoot(m_root == "/" ? "" : m_root.string());
    if (!m_builtin.empty()) {
        vexa::vxio::PackageManager::Instance().SetPackagePath("builtin", m_builtin.string());
    }
    RequireBuiltin(m_root);
    // The store's directory is looked up from the working directory, once.
    fs::current_path(m_root);
    const std::string& error = Manager().GetStartError();
    if (!error.empty()) throw Failure(error);
}

void Project::LoadGenerators() const {
    const fs::path package = vexa::vxio::PackageManager::Instance().GetPackagePath("builtin");
    const std::string where = (package / kConfiguration).string();
    std::string defect;
    try {
        defect = Manager().GetConfigurationError();
    } catch (const std::exception& error) {
        defect = error.what();
    }
    if (!defect.empty()) throw Failure("the configuration in " + where + " is wrong: " + defect);
}

void Project::WarnIfNeverScanned() {
    std::string time;
    if (Store().GetMeta("last_scan", time)) return;
    Console::Instance().Warning(
        "no scan has been completed yet: the answer covers only files read so far; "
        "run \"vxdep scan\" first");
}

vexa::CDependencyManager& Project::Manager() {
    return vexa::CDependencyManager::GetSingleton();
}

vexa::vxdependency::GeneralDependency& Project::Store() {
    return *vexa::vxdependency::GeneralDependency::Instance();
}

}  // namespace vxdep
