#include "vxdep/PathArgument.h"

#include <algorithm>
#include <optional>

#include "vexa/common/FileService.h"
#include "vxdep/Failure.h"

namespace vxdep {

namespace fs = std::filesystem;

namespace {

using Key = std::optional<std::string>;

// True also for a link that leads nowhere.
bool IsThere(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

bool HoldsDots(const fs::path& path) {
    return std::find(path.begin(), path.end(), "..") != path.end();
}

fs::path Parent(const fs::path& path) {
    return path.has_filename() ? path.parent_path() : path.parent_path().parent_path();
}

// The path with its directory as the system sees it: behind a link, ".." is not what it looks like.
fs::path WithRealDirectory(const fs::path& path) {
    std::error_code error;
    const fs::path real = path.filename() == ".." ? fs::weakly_canonical(path, error)
                                                  : fs::weakly_canonical(Parent(path), error) /
                                                        path.lexically_normal().filename();
    return error ? path : real;
}

// What of `path` lies below the directory `resources`, by whatever links that is reached.
Key BelowResources(const fs::path& path, const fs::path& resources) {
    fs::path below;
    for (fs::path head = path; head.has_relative_path(); head = head.parent_path()) {
        std::error_code ignored;
        if (fs::equivalent(head, resources, ignored)) return below.generic_string();
        below = below.empty() ? head.filename() : head.filename() / below;
    }
    return std::nullopt;
}

// The key of an absolute path, if it has one.
Key KeyOf(const fs::path& path, const fs::path& resources) {
    const fs::path real = WithRealDirectory(path);
    const fs::path plain = HoldsDots(path) ? real : path.lexically_normal();
    for (const fs::path& form : {plain, real}) {
        const fs::path trimmed = form.has_filename() ? form : form.parent_path();
        if (Key key = BelowResources(trimmed, resources)) return key;
    }
    return std::nullopt;
}

[[noreturn]] void FailOutside(const std::string& argument, const fs::path& resources) {
    throw Failure(argument + ": lies outside of the resource root " + resources.string());
}

}  // namespace

std::vector<std::string> KeysOfArgument(const std::string& argument, const fs::path& resources) {
    const fs::path given(argument);
    const fs::path here = fs::absolute(given);
    const Key fromHere = KeyOf(here, resources);
    const bool isHere = IsThere(here);
    if (isHere && fromHere) return {*fromHere};
    if (given.is_relative() && !argument.empty() && IsThere(resources / given)) {
        if (const Key key = KeyOf(resources / given, resources)) return {*key};
    }
    if (isHere) FailOutside(argument, resources);

    std::vector<std::string> keys;
    std::string key;
    if (given.is_relative() && vexa::NormaliseKey(argument, key)) keys.push_back(key);
    if (fromHere) keys.push_back(*fromHere);
    if (keys.empty()) FailOutside(argument, resources);
    return keys;
}

std::string KeyOfNewPath(const std::string& argument, const fs::path& resources) {
    const std::vector<std::string> keys = KeysOfArgument(argument, resources);
    const fs::path here = fs::absolute(argument);
    std::error_code ignored;
    const Key fromHere = KeyOf(here, resources);
    const bool folderIsHere = fs::is_directory(Parent(here), ignored);
    return keys.size() > 1 && fromHere && folderIsHere ? *fromHere : keys.front();
}

}  // namespace vxdep
