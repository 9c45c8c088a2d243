#include <CLI/CLI.hpp>
#include <utility>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Json.h"
#include "vxdep/Project.h"
#include "vxdependency/store/GraphReader.h"

namespace vxdep {

namespace {

using vexa::vxdependency::GraphReader;

// Both directions are of one state of the store, whoever writes to it meanwhile.
void WriteGraph(JsonWriter& writer) {
    const auto writeEdges = [&writer](const std::string& key,
                                      const std::vector<std::string>& edges) {
        WriteText(writer, key);
        WriteArray(writer, edges);
    };
    bool inverse = false;
    const auto beginInverse = [&] {
        if (std::exchange(inverse, true)) return;
        writer.EndObject();
        writer.Key("inverse");
        writer.StartObject();
    };
    writer.StartObject();
    writer.Key("forward");
    writer.StartObject();
    GraphReader(&Project::Store())
        .ForEach(writeEdges, [&](const std::string& key, const std::vector<std::string>& edges) {
            beginInverse();
            writeEdges(key, edges);
        });
    beginInverse();  // also when there are no edges
    writer.EndObject();
    writer.EndObject();
}

ExitCode Export(const GlobalOptions& options) {
    const Project project(options);
    project.Open();
    Project::WarnIfNeverScanned();
    Output output;
    JsonWriter writer(output);
    writer.SetIndent(' ', 1);
    WriteGraph(writer);
    output.Put('\n');
    output.Finish();
    return ExitCode::Done;
}

}  // namespace

void AddExportCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command =
        app.add_subcommand("export", "Print the whole graph as one JSON object");
    command->add_flag("--json")->description("Accepted for symmetry; the output is always JSON");
    command->footer(
        "The object is {\"forward\": {PATH: [PATH, ...]}, \"inverse\": {PATH: [PATH, ...]}}, "
        "sorted by\n"
        "byte, without files that have no edges. The graph is as recent as the last scan.");
    command->callback([&options, &action] { action = [&options] { return Export(options); }; });
}

}  // namespace vxdep
