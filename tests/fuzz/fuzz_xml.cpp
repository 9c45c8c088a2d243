// An XML text under rules that ship: the lists are exactly what the observer is told of. (Those of
// surfaces are more, as they are read through their shaders.)
// Seeds: *.scn *.svg *.tmx

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vexa/util/XmlDoc.h"
#include "vxdependency/manager/DependencyManager.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vexa::fuzz::ShippedProject();
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    const vexa::test::MemoryFiles files(text,
                                        [](const std::string& key) { return key.size() % 2 == 0; });
    vexa::XmlDoc document;
    const bool wellFormed = document.OpenText(text);
    auto& manager = vexa::CDependencyManager::GetSingleton();
    for (const std::string file : {"dir\\f.scn", "dir\\f.svg", "dir\\f.tmx"}) {
        const bool read = vexa::fuzz::ListingObserver(text, false)
                              .Read(*manager.GetDependencyGenerator(file), file);
        vexa::fuzz::Require(read == wellFormed, "what is well-formed is read");
    }
    return 0;
}
