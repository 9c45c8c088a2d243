#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vxdep/Commands.h"
#include "vxdep/Console.h"
#include "vxdep/Json.h"
#include "vxdep/Project.h"
#include "vxdep/TreeCheck.h"

namespace vxdep {

namespace {

constexpr ProblemKind kKinds[] = {
    ProblemKind::Stale,     ProblemKind::Unknown, ProblemKind::Missing,    ProblemKind::OneSided,
    ProblemKind::Colliding, ProblemKind::TooLong, ProblemKind::Unreadable, ProblemKind::Unparsable};

std::string LineOf(const Problem& problem) {
    const char* const between = problem.kind == ProblemKind::OneSided ? " -> " : ", ";
    return fmt::format("{}: {}{}{}", NameOf(problem.kind), problem.path,
                       problem.other.empty() ? "" : between, problem.other);
}

std::string SummaryOf(const CheckReport& report) {
    std::string summary = fmt::format("{} files", report.files);
    for (const ProblemKind kind : kKinds) {
        const std::int64_t count = report.Count(kind);
        if (count > 0) summary += fmt::format(", {} {}", count, NameOf(kind));
    }
    return summary + (report.problems.empty() ? ": all is in step" : "");
}

void PrintText(const CheckReport& report) {
    Output output;
    for (const Problem& problem : report.problems) output.Line(LineOf(problem));
    output.Line(SummaryOf(report));
    output.Finish();
}

void WriteProblem(JsonWriter& writer, const Problem& problem) {
    writer.StartObject();
    writer.Key("kind");
    WriteText(writer, NameOf(problem.kind));
    writer.Key("path");
    WriteText(writer, problem.path);
    if (!problem.other.empty()) {
        writer.Key("other");
        WriteText(writer, problem.other);
    }
    writer.EndObject();
}

void PrintJson(const CheckReport& report) {
    Output output;
    JsonWriter writer(output);
    writer.StartObject();
    writer.Key("ok");
    writer.Bool(report.IsSound());
    writer.Key("files");
    writer.Int64(report.files);
    writer.Key("problems");
    writer.StartArray();
    for (const Problem& problem : report.problems) WriteProblem(writer, problem);
    writer.EndArray();
    writer.EndObject();
    output.Put('\n');
    output.Finish();
}

void Advise(const CheckReport& report) {
    const auto any = [&report](auto... kinds) { return (report.Count(kinds) + ...) > 0; };
    if (any(ProblemKind::Stale, ProblemKind::Unknown, ProblemKind::Missing)) {
        Console::Instance().Note("\"vxdep scan\" brings the store up to date");
    }
    if (any(ProblemKind::OneSided)) {
        Console::Instance().Note("one-sided records: delete temp/gen_dep, and scan anew");
    }
    if (any(ProblemKind::Colliding)) {
        Console::Instance().Note("colliding paths: rename one file of each pair");
    }
}

ExitCode Check(const GlobalOptions& options, bool json) {
    const Project project(options);
    project.Open();
    project.LoadGenerators();
    const CheckReport report = CheckTree();
    vexa::FlushLog();
    json ? PrintJson(report) : PrintText(report);
    Advise(report);
    return report.IsSound() ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace

void AddCheckCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command =
        app.add_subcommand("check", "Verify the store against the files; changes neither");
    const auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print a JSON object");
    command->footer(
        "Each line is \"KIND: PATH\", the last one a summary. The kinds:\n"
        "  stale       changed since it was read\n"
        "  unknown     not met by a scan yet\n"
        "  missing     gone, but still in the store\n"
        "  one-sided   a reference that only one of its two ends records\n"
        "  colliding   two paths that share a record, since their 32-bit ids are equal\n"
        "  too-long    its path has more than 260 characters\n"
        "  unreadable  cannot be opened\n"
        "  unparsable  opened, but its content is broken\n"
        "The exit status is 1 when there is any but unparsable ones.");
    command->callback(
        [&options, &action, json] { action = [&options, json] { return Check(options, *json); }; });
}

}  // namespace vxdep
