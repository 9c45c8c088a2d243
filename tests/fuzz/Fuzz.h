#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/Project.h"
#include "vexa/common/Log.h"
#include "vxdependency/manager/DependencyManager.h"

// What fuzz targets share. A target is a file fuzz_NAME.cpp that defines the function below and
// says in a line "// Seeds: *.ext ..." which files of examples/ are inputs. It holds an input to
// what is true of every input, with Require.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace vexa::fuzz {

inline std::string TextOf(const std::uint8_t* bytes, std::size_t size) {
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(bytes), size);
}

// Ends the process as a crash does, in every build.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

// A project with the rules that ship, for targets that need the manager. To be called first in a
// target; it is made once, and logs nowhere.
inline const test::Project& ShippedProject() {
    const auto config = [](const std::string& name) {
        const std::string folder = VX_SOURCE_DIR "/builtin/res/builtin/dependency_config/";
        std::ifstream file(folder + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    static const test::Project project(config("xml_config.json"), config("json_config.json"));
    // The generators read their rules here, before a target puts other files in place.
    static const bool ready = [] {
        SetLogSink([](LogSeverity, const std::string&) {});
        return CDependencyManager::GetSingleton().GetDependencyGenerator("x.scn") != nullptr;
    }();
    Require(ready, "the rules that ship are there");
    return project;
}

}  // namespace vexa::fuzz
