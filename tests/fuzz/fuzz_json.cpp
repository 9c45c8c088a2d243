// A JSON text under rules of every kind: the lists are exactly what the observer is told of, and
// references stand where they say. Saved, it has the changes that were made and no other.
// Seeds: *.json *.gltf *.tmj *.tsj *.world

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vexa/io/JsonData.h"
#include "vxdependency/generators/DependencyJSON.h"

namespace {

using vexa::fuzz::Require;

vexa::CDependencyJSON& MakeGenerator() {
    auto& generator = *new vexa::CDependencyJSON("fuzz");  // the manager's
    for (const char* const member : {"uri", "image", "source", "a"})
        generator.AddRule(member, "", 9);
    generator.AddRule("a", ".png", vexa::CDependencyJSON::kExtraFlag | 0x121);
    generator.AddRule("b", "", vexa::CDependencyJSON::kExtraFlag);
    generator.AddRule("PATH", "", 1);
    generator.AddRule("", ".bin", 0);
    generator.AddIgnored("extras");
    return generator;
}

void SetStrings(vexa::ujson::value& root, const std::string& addition) {
    std::vector<vexa::ujson::value*> pending{&root};
    while (!pending.empty()) {
        vexa::ujson::value& v = *pending.back();
        pending.pop_back();
        if (v.is_string()) v.set_string(v.to_string("") + addition);
        for (auto& element : v.to_array()) pending.push_back(&element);
        for (auto& [name, element] : v.to_object()) pending.push_back(&element);
    }
}

void SaveChanged(vexa::vxio::JsonData& document) {
    vexa::ujson::value& root = *document.GetRoot();
    SetStrings(root, "");
    Require(document.ToText() == document.GetSource(), "strings set to themselves change nothing");
    SetStrings(root, "/\"\\\n");
    vexa::vxio::JsonData changed;
    Require(changed.LoadText(document.ToText()) == 0, "what is saved can be read");
    vexa::ujson::value around(vexa::ujson::value::kind::Array);
    around.to_array().push_back(std::move(root));
    root = std::move(around);
    vexa::vxio::JsonData anew;
    Require(anew.LoadText(document.ToText()) == 0, "what is written anew can be read");
    *changed.GetRoot() = std::move(anew.GetRoot()->to_array().at(0));
    Require(changed.ToText() == changed.GetSource(), "both ways write the same values");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vexa::fuzz::ShippedProject();
    static vexa::CDependencyJSON& generator = MakeGenerator();
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    const vexa::test::MemoryFiles files(text,
                                        [](const std::string& key) { return key.size() % 2 == 0; });
    vexa::vxio::JsonData document;
    const bool wellFormed = document.LoadText(text) == 0;
    Require(wellFormed == document.GetError().empty(), "a reason exactly for what is refused");

    const bool read = vexa::fuzz::ListingObserver(text, true).Read(generator, "dir\\f.fuzz");
    Require(read == wellFormed, "what is well-formed is read");
    if (wellFormed) SaveChanged(document);
    return 0;
}
