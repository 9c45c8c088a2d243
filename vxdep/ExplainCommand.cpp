#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Failure.h"
#include "vxdep/FindResource.h"
#include "vxdep/Json.h"
#include "vxdep/Place.h"
#include "vxdep/Project.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vxdep {

namespace {

using vexa::ReferenceCandidate;

// What is told of one reference.
struct Reference {
    std::string file;
    vexa::ReferencePlace place;
    std::string text;
    std::vector<ReferenceCandidate> candidates;
    std::vector<std::string> companions;

    bool Resolves() const { return std::ranges::any_of(candidates, &ReferenceCandidate::exists); }
};

// How a candidate was read out of the text.
const char* ReadingOf(std::int32_t strategy) {
    switch (strategy) {
        case 0x1:
            return "relative to the file";
        case 0x10:
            return "an effect";
        case 0x20:
            return "without the selector";
        case 0x100:
            return "under another image extension";
        case 0x400:
            return "an animation";
        case 0x800:
            return "of a terrain-tool folder";
        default:
            return "from the resource root";
    }
}

class Collector final : public vexa::IReferenceObserver {
public:
    void OnReference(const vexa::ReferenceReport& report) override {
        references.push_back({KeyOf(report.file),
                              report.site.Describe(),
                              report.text,
                              {report.candidates.begin(), report.candidates.end()},
                              report.companions});
    }
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}

    std::vector<Reference> references;

private:
    static std::string KeyOf(const std::string& file) {
        std::string key;
        vexa::InterfaceBox::Instance().GetFileService().KeyOfReference(file, key);
        return key;
    }
};

void PrintText(const std::vector<Reference>& references) {
    Output output;
    for (const Reference& reference : references) {
        output.Line(fmt::format(
            "{}: {}: {}", PlaceText(reference.file, reference.place.line, reference.place.offset),
            reference.place.rule, reference.text));
        for (const ReferenceCandidate& candidate : reference.candidates) {
            output.Line(fmt::format("    {} {}  ({})", candidate.exists ? "->" : "no",
                                    candidate.key, ReadingOf(candidate.strategy)));
        }
        for (const std::string& companion : reference.companions) {
            output.Line(fmt::format("    -> {}  (comes with it)", companion));
        }
        if (reference.candidates.empty()) output.Line("    no  (names no file of the tree)");
    }
    output.Finish();
}

void WriteCandidate(JsonWriter& writer, const ReferenceCandidate& candidate) {
    writer.StartObject();
    WriteMember(writer, "path", candidate.key);
    WriteMember(writer, "reading", ReadingOf(candidate.strategy));
    writer.Key("strategy");
    writer.Int(candidate.strategy);
    writer.Key("exists");
    writer.Bool(candidate.exists);
    writer.EndObject();
}

void PrintJson(const std::vector<Reference>& references) {
    Output output;
    JsonWriter writer(output);
    writer.StartArray();
    for (const Reference& reference : references) {
        writer.StartObject();
        WriteMember(writer, "file", reference.file);
        WritePlace(writer, reference.place.line, reference.place.offset);
        WriteMember(writer, "rule", reference.place.rule);
        WriteMember(writer, "text", reference.text);
        writer.Key("candidates");
        writer.StartArray();
        for (const ReferenceCandidate& candidate : reference.candidates) {
            WriteCandidate(writer, candidate);
        }
        writer.EndArray();
        writer.Key("companions");
        WriteArray(writer, reference.companions);
        writer.EndObject();
    }
    writer.EndArray();
    output.Put('\n');
    output.Finish();
}

void Summarise(const std::vector<Reference>& references) {
    const auto missing = references.size() - static_cast<std::size_t>(std::ranges::count_if(
                                                 references, &Reference::Resolves));
    Console::Instance().Note(
        fmt::format("references: {}, of which {} to nothing", references.size(), missing));
}

ExitCode Explain(const GlobalOptions& options, const std::string& path, bool json) {
    const Project project(options);
    const std::string key = OpenAndFind(project, path);
    if (IsFolder(key)) throw Failure(path + ": is a folder; one file can be explained at a time");
    vexa::CDependencyManager& manager = Project::Manager();
    if (!manager.GetDependencyGenerator(key)) {
        throw Failure(key + ": no rule reads files of this kind; it refers to nothing");
    }
    Collector collector;
    const bool read = manager.Explain(key, collector);
    vexa::FlushLog();
    if (!read) throw Failure(key + ": cannot be read; it counts as without references");
    json ? PrintJson(collector.references) : PrintText(collector.references);
    Summarise(collector.references);
    return ExitCode::Done;
}

}  // namespace

void AddExplainCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command =
        app.add_subcommand("explain", "Tell where each reference of a file comes from");
    const auto path = std::make_shared<std::string>();
    const auto json = std::make_shared<bool>(false);
    command->add_option("PATH", *path, "A file: relative to here or to res/, or absolute")
        ->required();
    command->add_flag("--json", *json, "Print a JSON array");
    command->footer(
        "Reads the file as it is now, and changes nothing. For each reference: where it stands\n"
        "(\"FILE:LINE\", in binary files \"FILE@OFFSET\"), the rule that found it, its text, and "
        "below\n"
        "that every path that it may mean: \"->\" for those that exist, \"no\" for the others, and "
        "how\n"
        "the text was read. References of files that it is read through (as an effect is through\n"
        "the shaders that it includes) follow, with the name of their file.");
    command->callback([&options, &action, path, json] {
        action = [&options, path, json] { return Explain(options, *path, *json); };
    });
}

}  // namespace vxdep
