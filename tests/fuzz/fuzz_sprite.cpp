// A sprite: the generator's answer against a second reading of the fourth line.
// Seeds: *.spr

#include <optional>

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/manager/DependencyManager.h"

namespace {

bool IsBreak(char c) {
    return c == '\r' || c == '\n';
}

std::optional<std::string> SecondReading(const std::string& text) {
    std::string line;
    std::size_t at = 0;
    for (int i = 0; i < 4; ++i) {
        line.clear();
        while (at < text.size() && !IsBreak(text[at])) line += text[at++];
        while (at < text.size() && IsBreak(text[at])) ++at;
    }
    if (at == text.size()) return std::nullopt;
    std::string image;
    for (std::size_t i = 0; i < line.size() && i < 284; ++i) {
        if (line[i] == ' ' || line[i] == '\0') break;
        image += line[i];
    }
    return image;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vexa::fuzz::ShippedProject();
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    const vexa::test::MemoryFiles files(text, [](const std::string&) { return false; });
    auto* const sprites = vexa::CDependencyManager::GetSingleton().GetDependencyGenerator("s.spr");
    vexa::CDependencyBase::List first;
    vexa::CDependencyBase::List second;
    const bool read = sprites->GenerateDependency("dir\\s.spr", first, second);
    const std::optional<std::string> expected = SecondReading(text);
    vexa::fuzz::Require(read == expected.has_value(), "both readings find an image or none");
    vexa::fuzz::Require(first.size() == (read ? 1 : 0) && second.empty(), "one image at most");
    vexa::fuzz::Require(!read || first.front() == *expected, "both readings find the same image");
    return 0;
}
