// A terrain chunk: what is read is written so that it reads back the same.
// Seeds: *.chunk

#include <cstring>

#include "tests/fuzz/Fuzz.h"
#include "tests/support/MemoryFiles.h"
#include "vexa/terrain/ChunkData.h"

using vexa::fuzz::Require;
using vexa::terrain::ChunkData;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text = vexa::fuzz::TextOf(bytes, size);
    ChunkData chunk(1, 2);
    const bool read = chunk.ReadDirectly(vexa::test::MemoryFile(text));
    Require(read == chunk.GetError().empty(), "a reason exactly for what is refused");
    if (!read) {
        Require(chunk.ToBytes() == ChunkData(0, 0).ToBytes(), "a refused chunk is empty");
        return 0;
    }
    for (const auto* texture : chunk.GetAllTexture()) {
        if (!texture) continue;
        const char* const name = texture->GetFileName();
        Require(text.compare(texture->GetNameOffset(), std::strlen(name), name) == 0,
                "each name stands where it says");
    }
    const std::string written = chunk.ToBytes();
    Require(written.size() == size, "nothing is left out");
    ChunkData again(0, 0);
    Require(again.ReadDirectly(vexa::test::MemoryFile(written)), "what is written can be read");
    Require(again.ToBytes() == written, "and reads back the same");
    return 0;
}
