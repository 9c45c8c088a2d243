// How fast the files of a project are read and their references resolved, on one core: per format,
// beside nothing but reading the same files and parsing them with the same parser, XML or JSON.
// bench_reading PROJECT [--benchmark_...]
//
// The project is only read: the store lies in a temporary folder.

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/KnownFiles.h"
#include "vexa/io/PackageManager.h"
#include "vexa/os/FileAccess.h"
#include "vxdependency/manager/DependencyManager.h"

namespace fs = std::filesystem;

namespace {

using Keys = std::vector<std::string>;

struct Tree {
    vexa::KnownFiles known;
    std::map<std::string, Keys> readable;  // by extension; "all" for all of them
};

Tree Walk(const fs::path& root) {
    Keys keys;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file())
            keys.push_back(entry.path().lexically_relative(root).generic_string());
    }
    Tree tree{vexa::KnownFiles(keys.size()), {}};
    for (const std::string& key : keys) {
        tree.known.Add(key);
        if (!vexa::CDependencyManager::GetSingleton().HasDependencyGenerator(key)) continue;
        tree.readable[fs::path(key).extension().string().substr(1)].push_back(key);
        tree.readable["all"].push_back(key);
    }
    return tree;
}

void Count(benchmark::State& state, const Keys& keys) {
    const auto files = static_cast<std::int64_t>(keys.size());
    state.SetItemsProcessed(state.iterations() * files);
    state.counters["per_file"] = benchmark::Counter(
        static_cast<double>(files),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Read(benchmark::State& state, const Tree& tree, const Keys& keys) {
    const vexa::KnownFiles::Use use(tree.known);
    vexa::CDependencyManager& manager = vexa::CDependencyManager::GetSingleton();
    std::size_t references = 0;
    for (auto _ : state) {
        references = 0;
        for (const std::string& key : keys) references += manager.ReadReferences(key)->list.size();
    }
    Count(state, keys);
    state.counters["references"] = static_cast<double>(references);
}

void ParseXml(std::string& bytes) {
    pugi::xml_document document;
    benchmark::DoNotOptimize(document.load_buffer_inplace(bytes.data(), bytes.size()));
}

void ParseJson(std::string& bytes) {
    rapidjson::Document document;
    constexpr unsigned kOptions = rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag;
    benchmark::DoNotOptimize(document.Parse<kOptions>(bytes.data(), bytes.size()));
}

// What is neither is read only.
void Parse(std::string& bytes) {
    if (bytes.starts_with('{') || bytes.starts_with('[')) return ParseJson(bytes);
    if (bytes.starts_with('<')) ParseXml(bytes);
}

void Bare(benchmark::State& state, const std::string& root, const Keys& keys) {
    std::string bytes;
    vexa::os::InputFile file;
    for (auto _ : state) {
        for (const std::string& key : keys) {
            if (!file.Open(root + '/' + key)) continue;
            bytes.resize(file.Size());
            if (file.Read(bytes.data(), bytes.size())) Parse(bytes);
            file.Close();
        }
    }
    Count(state, keys);
}

void UseProject(const fs::path& project, const fs::path& store) {
    fs::create_directories(store);
    fs::current_path(store);
    vexa::InterfaceBox::Instance().SetProjectRoot(project.string());
    vexa::vxio::PackageManager::Instance().SetPackagePath("builtin",
                                                          (project / "builtin").string());
}

void Register(const Tree& tree, const std::string& root) {
    for (const auto& [format, keys] : tree.readable) {
        benchmark::RegisterBenchmark(("Bare/" + format).c_str(), [&root,
                                                                  &keys = keys](auto& state) {
            Bare(state, root, keys);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Read/" + format).c_str(), [&tree,
                                                                  &keys = keys](auto& state) {
            Read(state, tree, keys);
        })->Unit(benchmark::kMillisecond);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2 || !fs::is_directory(fs::path(argv[1]) / "res")) {
        std::fprintf(stderr, "usage: bench_reading PROJECT [--benchmark_...]\n");
        return 2;
    }
    const fs::path project = fs::canonical(argv[1]);
    const fs::path store =
        fs::temp_directory_path() / ("bench_reading." + std::to_string(getpid()));
    UseProject(project, store);
    const std::string root = (project / "res").string();
    const Tree tree = Walk(root);
    Register(tree, root);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(store);
}
