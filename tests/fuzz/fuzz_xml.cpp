// An XML text under rules that ship: the lists are exactly what the observer is told of. (Those of
// surfaces are more, as they are read through their shaders.)
// Seeds: *.scn *.svg *.tmx

#include <algorithm>

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vexa/util/XmlDoc.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace {

using List = vexa::CDependencyBase::List;
using vexa::fuzz::Require;

class Observer final : public vexa::IReferenceObserver {
public:
    explicit Observer(std::size_t lines) : m_lines(lines) {}

    void OnReference(const vexa::ReferenceReport& report) override {
        const vexa::ReferencePlace place = report.site.Describe();
        Require(place.line <= m_lines, "references stand on lines of the text");
        for (const auto& candidate : report.candidates) {
            std::string key;
            Require(vexa::NormaliseKey(candidate.key, key) && key == candidate.key, "a key each");
            if (candidate.exists) first.push_back(candidate.key);
        }
        second.insert(second.end(), report.companions.begin(), report.companions.end());
    }
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}

    List first;
    List second;

private:
    const std::size_t m_lines;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vexa::fuzz::ShippedProject();
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    const vexa::test::MemoryFiles files(text,
                                        [](const std::string& key) { return key.size() % 2 == 0; });
    vexa::XmlDoc document;
    const bool wellFormed = document.OpenText(text);
    auto& manager = vexa::CDependencyManager::GetSingleton();
    for (const std::string file : {"dir\\f.scn", "dir\\f.svg", "dir\\f.tmx"}) {
        Observer observer(static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1);
        const vexa::ObserverUse use(&observer);
        List first;
        List second;
        const bool read =
            manager.GetDependencyGenerator(file)->GenerateDependency(file, first, second);
        Require(read == wellFormed, "what is well-formed is read");
        manager.MakeVectorUnique(observer.first);
        manager.MakeVectorUnique(observer.second);
        Require(first == observer.first && second == observer.second, "what is listed is reported");
    }
    return 0;
}
