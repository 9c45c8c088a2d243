// A configuration text for either family: it makes generators, or ends in the one exception that
// it may end in.
// Seeds: *.json

#include <stdexcept>
#include <string_view>

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vexa/io/JsonData.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/GeneratorConfig.h"
#include "vxdependency/manager/GeneratorRegistry.h"

namespace {

using vexa::fuzz::Require;

bool Loads(std::string (*load)(const std::string&)) {
    try {
        load("config.json");
        return true;
    } catch (const std::out_of_range& error) {
        Require(error.what() == std::string_view("invalid vector subscript"), "the one exception");
        return false;
    }
}

// The members of the root that have a name.
std::size_t RootKeys(const std::string& text) {
    vexa::vxio::JsonData document;
    if (document.LoadText(text) != 0) return 0;
    std::size_t count = 0;
    for (const auto& [name, value] : document.GetRoot()->to_object()) count += !name.empty();
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vexa::fuzz::ShippedProject();
    auto& registry = vexa::GeneratorRegistry::Instance();
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    const vexa::test::MemoryFiles files(text, [](const std::string&) { return true; });
    for (const auto load : {vexa::LoadXmlGenerators, vexa::LoadJsonGenerators}) {
        registry.DeleteAll();
        const bool complete = Loads(load);
        std::vector<std::string> extensions;
        registry.Extensions(extensions);
        const std::size_t keys = RootKeys(text);
        Require(complete ? extensions.size() == keys : extensions.size() <= keys,
                "a generator for each key");
        for (const std::string& extension : extensions) {
            vexa::CDependencyBase& generator = *registry.Find(extension);
            generator.GetImplicitBindingFiles("");
            vexa::CDependencyBase::List first;
            vexa::CDependencyBase::List second;
            generator.GenerateDependency("dir\\f." + extension, first, second);
        }
    }
    return 0;
}
