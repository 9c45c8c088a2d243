#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/Project.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/ReferenceObserver.h"
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

// Lists what it is told of; places are to be in the text, behind a quote if values are `quoted`.
class ListingObserver final : public IReferenceObserver {
public:
    ListingObserver(const std::string& text, bool quoted)
        : m_text(text),
          m_quoted(quoted),
          m_lines(1 + static_cast<std::size_t>(std::ranges::count(text, '\n'))) {}

    // Whether a generator reads the text, whose lists are to be what it reports.
    bool Read(CDependencyBase& generator, const std::string& file) {
        CDependencyBase::List first, second;
        const ObserverUse use(this);
        const bool read = generator.GenerateDependency(file, first, second);
        auto& manager = CDependencyManager::GetSingleton();
        manager.MakeVectorUnique(m_first);
        manager.MakeVectorUnique(m_second);
        Require(first == m_first && second == m_second, "what is listed is reported");
        return read;
    }
    void OnReference(const ReferenceReport& report) override {
        const ReferencePlace place = report.site.Describe();
        Require(place.line <= m_lines, "references stand on lines of the text");
        if (m_quoted && place.rule != "companion file")
            Require(place.line >= 1 && m_text.at(place.offset - 1) == '"', "behind a quote");
        for (const auto& candidate : report.candidates) {
            std::string key;
            Require(NormaliseKey(candidate.key, key) && key == candidate.key, "a key each");
            if (candidate.exists) m_first.push_back(candidate.key);
        }
        m_second.insert(m_second.end(), report.companions.begin(), report.companions.end());
    }
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}

private:
    const std::string& m_text;
    const bool m_quoted;
    const std::size_t m_lines;
    CDependencyBase::List m_first, m_second;
};

}  // namespace vexa::fuzz
