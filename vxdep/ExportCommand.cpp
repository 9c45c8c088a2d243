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

// Writes the graph, which may have millions of edges: a writer that knows JSON in general takes
// three times as long.
class GraphWriter {
public:
    explicit GraphWriter(Output& output) : m_output(output) {}

    void Begin(std::string_view name) {
        m_text = m_directions++ == 0 ? "{" : "},";
        if (m_keys > 0) m_text.insert(0, "\n ");
        m_text.append("\n \"").append(name).append("\": {");
        m_keys = 0;
        m_output.Write(m_text);
    }
    void Add(std::string_view key, std::size_t count, const GraphReader::EdgeAt& edgeAt) {
        m_text = m_keys++ == 0 ? "\n  " : ",\n  ";
        AppendJsonText(m_text, key);
        m_text += ": [";
        for (std::size_t i = 0; i < count; ++i) {
            m_text += i == 0 ? "\n   " : ",\n   ";
            AppendJsonText(m_text, edgeAt(i));
        }
        m_text += "\n  ]";
        m_output.Write(m_text);
    }
    void End() { m_output.Write(m_keys > 0 ? "\n }\n}\n" : "}\n}\n"); }

private:
    Output& m_output;
    std::string m_text;
    int m_directions = 0;
    std::size_t m_keys = 0;  // of this direction
};

// Both directions are of one state of the store, whoever writes to it meanwhile.
void WriteGraph(GraphWriter& writer) {
    bool inverse = false;
    const auto beginInverse = [&] {
        if (!std::exchange(inverse, true)) writer.Begin("inverse");
    };
    using EdgeAt = GraphReader::EdgeAt;
    const auto addForward = [&](std::string_view key, std::size_t count, const EdgeAt& edgeAt) {
        writer.Add(key, count, edgeAt);
    };
    const auto addInverse = [&](std::string_view key, std::size_t count, const EdgeAt& edgeAt) {
        beginInverse();
        writer.Add(key, count, edgeAt);
    };
    writer.Begin("forward");
    GraphReader(&Project::Store()).ForEach(addForward, addInverse);
    beginInverse();  // also when there are no edges
    writer.End();
}

ExitCode Export(const GlobalOptions& options) {
    const Project project(options);
    project.Open();
    Project::WarnIfNeverScanned();
    Output output;
    GraphWriter writer(output);
    WriteGraph(writer);
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
