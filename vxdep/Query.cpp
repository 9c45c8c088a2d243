#include "vxdep/Query.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <set>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdep/FindResource.h"
#include "vxdep/Output.h"
#include "vxdep/Project.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace {

using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::Direction;
using vexa::vxdependency::GraphReader;
using List = std::vector<std::string>;

struct Question {
    Direction direction;
    std::string path;
    bool all = false;
    bool json = false;
};

// A folder stands for the files below it.
List FilesOf(const std::string& key) {
    if (!IsFolder(key)) return {key};
    const std::string root = vexa::InterfaceBox::Instance().GetResourceRoot();
    List files;
    Project::Manager().GetAllFilesRecursively(key.empty() ? root : root + "/" + key, files);
    for (std::string& file : files) file.erase(0, root.size() + 1);
    return files;
}

// Reads again what has changed since it was read. A name that no file has is left alone: it would
// be recorded as a file that cannot be read.
List Refreshed(const std::string& key) {
    if (!IsKnownFile(key)) return {};
    return Project::Manager().GetDependency(key, false);
}

// Brings every file that can be reached up to date, so that the way through each is the right one.
void RefreshReachable(const List& start) {
    List work = start;
    std::unordered_set<std::string> met(work.begin(), work.end());
    while (!work.empty()) {
        const std::string key = std::move(work.back());
        work.pop_back();
        for (std::string& entry : Refreshed(key)) {
            if (met.insert(entry).second) work.push_back(std::move(entry));
        }
    }
}

void Refresh(const List& files, const Question& question) {
    if (question.all && question.direction == Direction::Forward) return RefreshReachable(files);
    for (const std::string& file : files) Refreshed(file);
}

// Each look at a file's edges reads the lists at their other ends. For many files, which often
// refer to the same few, one pass over the whole graph is cheaper.
void AddEdgesOfMany(std::set<std::string>& answer, const List& files, Direction direction) {
    const std::unordered_set<std::string> wanted(files.begin(), files.end());
    const GraphReader reader(&Project::Store());
    reader.ForEach(direction, [&](const std::string& key, const List& edges) {
        if (wanted.count(key) != 0) answer.insert(edges.begin(), edges.end());
    });
}

List AnswerFor(const std::string& file, const Question& question) {
    if (!question.all)
        return Project::Manager().EdgesOf(file, question.direction == Direction::Inverse);
    return GraphReader(&Project::Store()).Reachable(file, question.direction);
}

List Answer(const List& files, const Question& question) {
    if (files.size() == 1) return AnswerFor(files.front(), question);
    constexpr std::size_t kMany = 64;
    std::set<std::string> answer;
    if (!question.all && files.size() > kMany) {
        AddEdgesOfMany(answer, files, question.direction);
        return {answer.begin(), answer.end()};
    }
    for (const std::string& file : files) {
        // What can be reached from an entry of the answer is in the answer.
        if (question.all && answer.count(file) != 0) continue;
        const List ends = AnswerFor(file, question);
        answer.insert(ends.begin(), ends.end());
    }
    return {answer.begin(), answer.end()};
}

ExitCode Ask(const GlobalOptions& options, const Question& question) {
    const Project project(options);
    const List files = FilesOf(OpenAndFind(project, question.path));
    Refresh(files, question);
    vexa::FlushLog();
    Project::WarnIfNeverScanned();
    PrintList(Answer(files, question), question.json);
    return ExitCode::Done;
}

}  // namespace

void AddQueryCommand(CLI::App* command, Direction direction, const GlobalOptions& options,
                     Action& action) {
    const auto question = std::make_shared<Question>();
    question->direction = direction;
    command
        ->add_option("PATH", question->path,
                     "File or folder: relative to here or to res/, or absolute")
        ->required();
    command->add_flag("--json", question->json, "Print a JSON array");
    command->add_flag("--all", question->all, "Follow references to their end");
    command->callback([&options, &action, question] {
        action = [&options, question] { return Ask(options, *question); };
    });
}

}  // namespace vxdep
