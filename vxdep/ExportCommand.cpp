#include <CLI/CLI.hpp>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Json.h"
#include "vxdep/Project.h"
#include "vxdependency/store/GraphReader.h"

namespace vxdep {

namespace {

using vexa::vxdependency::Direction;
using vexa::vxdependency::GraphReader;

void WriteEdges(JsonWriter& writer, const GraphReader& reader, Direction direction) {
    writer.StartObject();
    reader.ForEach(direction,
                   [&writer](const std::string& key, const std::vector<std::string>& edges) {
                       WriteText(writer, key);
                       WriteArray(writer, edges);
                   });
    writer.EndObject();
}

ExitCode Export(const GlobalOptions& options) {
    const Project project(options);
    project.Open();
    Project::WarnIfNeverScanned();
    const GraphReader reader(&Project::Store());
    Output output;
    JsonWriter writer(output);
    writer.SetIndent(' ', 1);
    writer.StartObject();
    writer.Key("forward");
    WriteEdges(writer, reader, Direction::Forward);
    writer.Key("inverse");
    WriteEdges(writer, reader, Direction::Inverse);
    writer.EndObject();
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
