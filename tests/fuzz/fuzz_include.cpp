// The include scan finds what its rules say, in any text.
// Seeds: *.hlsl *.vs *.ps *.h

#include <cstdint>
#include <cstdlib>

#include "tests/support/IncludeRules.h"
#include "vxdependency/generators/IncludeScan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> expected = vexa::test::IncludesByRules(text);
    const std::vector<vexa::IncludeName> found = vexa::ScanIncludes(text);
    if (found.size() != expected.size()) std::abort();
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i].name != expected[i] || found[i].offset > size) std::abort();
    }
    return 0;
}
