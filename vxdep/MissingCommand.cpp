#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/FilesByName.h"
#include "vxdep/FindResource.h"
#include "vxdep/Json.h"
#include "vxdep/PathArgument.h"
#include "vxdep/Place.h"
#include "vxdep/Project.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace {

using vexa::vxdependency::Findings;
using vexa::vxdependency::MissingReference;

struct Request {
    std::string folder;
    bool json = false;
    bool ok = false;
};

struct Entry {
    std::string file;
    MissingReference reference;
    std::string suggestion;  // a file of the reference's name, or ""
};

// The name of the file that a reference's text means.
std::string NameIn(const std::string& text) {
    const std::string path = text.substr(0, text.find_first_of("#?|"));
    return path.substr(path.find_last_of("/\\") + 1);
}

std::vector<Entry> EntriesOf(const std::string& prefix) {
    std::vector<Entry> entries;
    Project::Store().ForEachFindings(prefix, [&](std::string_view file, const Findings& findings) {
        if (!prefix.empty() && prefix.back() != '/' && file != prefix) return true;
        for (const MissingReference& reference : findings.missing) {
            entries.push_back({std::string(file), reference, ""});
        }
        return true;
    });
    return entries;
}

void Suggest(std::vector<Entry>& entries) {
    std::vector<std::string> names;
    for (const Entry& entry : entries) names.push_back(NameIn(entry.reference.text));
    const FilesByName files(names);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!names[i].empty()) entries[i].suggestion = files.Only(names[i]);
    }
}

void PrintText(const std::vector<Entry>& entries) {
    Output output;
    for (const Entry& entry : entries) {
        const MissingReference& reference = entry.reference;
        std::string line =
            fmt::format("{}: {}: {}", PlaceText(entry.file, reference.line, reference.offset),
                        reference.rule, reference.text);
        if (!entry.suggestion.empty()) line += fmt::format(" (did you mean {}?)", entry.suggestion);
        output.Line(line);
    }
    output.Finish();
}

void PrintJson(const std::vector<Entry>& entries) {
    Output output;
    JsonWriter writer(output);
    writer.StartArray();
    for (const Entry& entry : entries) {
        const MissingReference& reference = entry.reference;
        writer.StartObject();
        WriteMember(writer, "file", entry.file);
        WritePlace(writer, reference.line, reference.offset);
        WriteMember(writer, "rule", reference.rule);
        WriteMember(writer, "text", reference.text);
        if (!entry.suggestion.empty()) WriteMember(writer, "suggestion", entry.suggestion);
        writer.EndObject();
    }
    writer.EndArray();
    output.Put('\n');
    output.Finish();
}

// Opens the project, and tells the part of it that is asked for: a folder with "/" at its end, one
// file, or "" for all.
std::string OpenPart(const Project& project, const Request& request) {
    std::vector<std::string> keys;
    if (!request.folder.empty()) keys = KeysOfArgument(request.folder, project.Resources());
    project.Open();
    if (keys.empty()) return "";
    const std::string key = ChooseKey(request.folder, keys);
    return key.empty() || !IsFolder(key) ? key : key + "/";
}

ExitCode TellMissing(const GlobalOptions& options, const Request& request) {
    const Project project(options);
    std::vector<Entry> entries = EntriesOf(OpenPart(project, request));
    Suggest(entries);
    vexa::FlushLog();
    Project::WarnIfNeverScanned();
    request.json ? PrintJson(entries) : PrintText(entries);
    if (!entries.empty()) {
        Console::Instance().Note(
            fmt::format("{} {} to nothing", entries.size(),
                        entries.size() == 1 ? "reference resolves" : "references resolve"));
    }
    return entries.empty() || request.ok ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

void AddMissingCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command =
        app.add_subcommand("missing", "List the references that resolve to nothing");
    const auto request = std::make_shared<Request>();
    command->add_option("FOLDER", request->folder, "A folder or file: only what stands in it");
    command->add_flag("--json", request->json, "Print a JSON array");
    command->add_flag("--ok", request->ok, "Exit with 0 also when there are any");
    command->footer(
        "Answers from the store, as the last scan left it; reads no resource. Each line is\n"
        "\"FILE:LINE: RULE: TEXT\", for binary files \"FILE@OFFSET: ...\", sorted by file. Where "
        "just\n"
        "one file of the tree has the name, it is offered. Texts that do not look like a path are\n"
        "taken for something else than a reference.\n"
        "The exit status is 1 when there are any.");
    command->callback([&options, &action, request] {
        action = [&options, request] { return TellMissing(options, *request); };
    });
}

}  // namespace vxdep
