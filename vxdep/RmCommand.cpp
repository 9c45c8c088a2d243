#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <set>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdep/FindResource.h"
#include "vxdep/Output.h"
#include "vxdep/Project.h"
#include "vxdep/ScanRun.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace fs = std::filesystem;

namespace {

using vexa::vxdependency::CatalogueEntry;

struct Request {
    std::string path;
    bool force = false;
};

// The files outside of what is to go that refer to something in it.
std::set<std::string> UsersOf(const std::string& key) {
    const std::string folder = key + "/";
    std::vector<std::string> files{key};
    Project::Store().ForEachFile(folder, [&files](std::string_view file, const CatalogueEntry&) {
        files.emplace_back(file);
        return true;
    });
    std::set<std::string> users;
    for (std::string& user : Project::Manager().UsersOf(files)) {
        if (user != key && !user.starts_with(folder)) users.insert(std::move(user));
    }
    return users;
}

// Links go themselves, not what they lead to.
void RemoveFromDisk(const fs::path& path) {
    // In this order, so that what was cut short can be said again.
    for (const fs::path& entry : {fs::path(path.string() + ".vxmeta"), path}) {
        std::error_code error;
        fs::remove_all(entry, error);
        if (error) throw Failure(entry.string() + ": cannot be removed: " + error.message());
    }
}

void Refuse(const std::string& key, const std::set<std::string>& users) {
    constexpr std::size_t kShown = 10;
    std::size_t shown = 0;
    for (const std::string& user : users) {
        if (shown++ == kShown) break;
        Console::Instance().Note(user + " refers to it");
    }
    throw Failure(fmt::format("{}: {} {} to it; --force removes it all the same", key, users.size(),
                              users.size() == 1 ? "file refers" : "files refer"));
}

ExitCode Remove(const GlobalOptions& options, const Request& request) {
    const Project project(options);
    const std::string key = OpenAndFind(project, request.path);
    if (key.empty()) throw Failure(request.path + ": the resource root itself is not removed");
    const ScanStatistics statistics = RunScan();
    vexa::FlushLog();
    RequireComplete(statistics);
    const std::set<std::string> users = UsersOf(key);
    if (!users.empty() && !request.force) Refuse(key, users);
    RemoveFromDisk(project.Resources() / key);
    if (!Project::Manager().Remove(key)) {
        throw Failure(key + ": is removed, but the store could not follow: " +
                      Project::Store().GetWriteError() + "; run \"vxdep scan\"");
    }
    vexa::FlushLog();
    Output output;
    for (const std::string& user : users) output.Line(user + ": refers to " + key);
    output.Finish();
    return ExitCode::Done;
}

}  // namespace

void AddRmCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command =
        app.add_subcommand("rm", "Remove a file or a folder, unless something refers to it");
    const auto request = std::make_shared<Request>();
    command->add_option("PATH", request->path, "File or folder")->required();
    command->add_flag("-f,--force", request->force,
                      "Remove it also while files refer to it, and list them");
    command->footer(
        "The store is brought up to date first. Its \".vxmeta\" goes along. References in other "
        "files\n"
        "are not touched; \"vxdep missing\" lists them then. What is removed is gone: \"vxdep "
        "undo\" "
        "is for\n"
        "renames alone.");
    command->callback([&options, &action, request] {
        action = [&options, request] { return Remove(options, *request); };
    });
}

}  // namespace vxdep
