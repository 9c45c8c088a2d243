// A raw animation: what is read is written byte for byte.
// Seeds: *.rawanimation

#include "tests/fuzz/Fuzz.h"
#include "vexa/io/RawAnimation.h"

using vexa::fuzz::Require;
using vexa::vxio::RawAnimation;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    RawAnimation head;
    RawAnimation whole;
    vexa::vxio::MemoryInput forHead(text);
    vexa::vxio::MemoryInput forWhole(text);
    const bool read = whole.Read(forWhole);
    Require(head.ReadHead(forHead) == read, "head and whole are refused together");
    if (!read) return 0;

    Require(head.reference == whole.reference, "head and whole name the same");
    Require(
        text.compare(RawAnimation::kReferenceOffset, head.reference.size(), head.reference) == 0,
        "the reference stands where it says");
    std::string written;
    vexa::vxio::MemoryOutput output(written);
    Require(whole.Write(output) && written == text, "every byte is kept");
    return 0;
}
