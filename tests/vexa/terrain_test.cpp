#include <gmock/gmock.h>

#include "tests/support/MemoryFiles.h"
#include "vexa/terrain/ChunkData.h"

namespace vexa::terrain {
namespace {

bool Read(ChunkData& chunk, const std::string& bytes) {
    return chunk.ReadDirectly(test::MemoryFile(bytes));
}

std::string SmallChunk() {
    ChunkData chunk(-3, 7);
    chunk.SetSurfaceName("surfaces/rock.surf");
    chunk.AddLayer(4);
    for (const char* name : {"a.png", "", "dir/b.png"}) chunk.AddTexture(name);
    chunk.AddLayer(0.5F);
    chunk.SetHeights(3, 2, {0, 1, 2, 10, 11, 12.5F});
    return chunk.ToBytes();
}

TEST(Chunk, ReadsWhatWasWritten) {
    const std::string bytes = SmallChunk();
    ChunkData chunk(0, 0);
    ASSERT_TRUE(Read(chunk, bytes)) << chunk.GetError();
    EXPECT_EQ(chunk.GetColumn(), -3);
    EXPECT_EQ(chunk.GetRow(), 7);
    EXPECT_STREQ(chunk.GetSurfaceName(), "surfaces/rock.surf");
    EXPECT_EQ(chunk.GetLayerCount(), 2U);
    EXPECT_EQ(chunk.GetHeight(2, 1), 12.5F);
    EXPECT_EQ(chunk.GetHeight(3, 0), 0);
    const std::vector<ITexture*> textures = chunk.GetAllTexture();
    ASSERT_EQ(textures.size(), 3U);
    EXPECT_EQ(textures[1], nullptr);
    for (const std::size_t i : {0, 2}) {
        const std::string name = textures[i]->GetFileName();
        EXPECT_EQ(bytes.substr(textures[i]->GetNameOffset(), name.size()), name);
    }
    EXPECT_EQ(chunk.ToBytes(), bytes);

    EXPECT_FALSE(chunk.SetSurfaceName(std::string(264, 'x')));
    EXPECT_FALSE(chunk.AddTexture(std::string("a\0b", 3)));
    EXPECT_FALSE(ChunkData(0, 0).AddTexture("a.png"));
}

TEST(Chunk, IsRefusedWithTheOffsetAndTheReason) {
    const std::string bytes = SmallChunk();
    ChunkData chunk(0, 0);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ASSERT_FALSE(Read(chunk, bytes.substr(0, size))) << size;
        EXPECT_THAT(chunk.GetError(), testing::StartsWith("offset ")) << size;
        EXPECT_THAT(chunk.GetAllTexture(), testing::IsEmpty()) << size;
    }
    const auto with = [&](std::size_t offset, const std::string& patch) {
        return std::string(bytes).replace(offset, patch.size(), patch);
    };
    const std::string huge = "\xFF\xFF\xFF\xFF";
    const std::pair<std::string, const char*> cases[] = {
        {with(4, "\2"), "offset 4: version 2 is unknown"},
        {with(16, std::string(264, 'x')), "offset 16: the surface name has no end"},
        {with(280, huge),
         "offset 280: the chunk has 4294967295 layers, for which there is no room"},
        {with(288, huge),
         "offset 288: layer 0 has 4294967295 textures, for which there is no room"},
        {with(296, std::string(1, '\0')), "offset 292: layer 0's texture has a NUL in its path"},
        {with(326, huge + huge),
         "offset 326: there is no room for 4294967295 by 4294967295 heights"},
        {bytes + "x", "offset 358: 1 bytes follow the heights"},
    };
    for (const auto& [text, reason] : cases) {
        EXPECT_FALSE(Read(chunk, text)) << reason;
        EXPECT_EQ(chunk.GetError(), reason);
    }
}

}  // namespace
}  // namespace vexa::terrain
