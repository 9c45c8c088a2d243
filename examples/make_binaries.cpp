// Makes the binary files of the example project anew: small, and the same every time.
//
//     make_binaries harbour/res            writes them
//     make_binaries harbour/res --check    tells whether the files there are the same

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/io/RawAnimation.h"
#include "vexa/io/Stream.h"
#include "vexa/os/AtomicFile.h"
#include "vexa/os/FileAccess.h"
#include "vexa/terrain/ChunkData.h"

namespace {

using vexa::terrain::ChunkData;
using vexa::vxio::RawAnimation;

// The harbour's ground: a quay of stone that falls off to the sea, a quarter of a metre a step.
std::string HarbourChunk() {
    constexpr int kSide = 9;
    ChunkData chunk(3, -2);
    chunk.SetSurfaceName("surfaces/stone.surf");
    chunk.AddLayer(16);
    for (const char* name : {"textures/stone.png", "textures/stone_normal.png", ""})
        chunk.AddTexture(name);
    chunk.AddLayer(4);
    for (const char* name : {"textures\\foam.png", "textures/water.png"}) chunk.AddTexture(name);
    std::vector<float> heights;
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column)
            heights.push_back(static_cast<float>(row < 3 ? 8 : 8 - row - column) / 4);
    }
    chunk.SetHeights(kSide, kSide, heights);
    return chunk.ToBytes();
}

// A gull that waves: the blocks and the body are the engine's.
std::string WaveAnimation() {
    RawAnimation animation;
    std::string_view("gull wave, 24 frames\0\0\0\x18", 24).copy(animation.blockA.data(), 24);
    for (char i = 0; i < 16; ++i) animation.blockB[static_cast<std::size_t>(i)] = i;
    animation.reference = "..\\models\\gull\\gull.skeleton";
    for (int frame = 0; frame < 24; ++frame)
        animation.body += static_cast<char>(frame < 12 ? frame * 7 : (24 - frame) * 7);
    std::string bytes;
    vexa::vxio::MemoryOutput output(bytes);
    animation.Write(output);
    return bytes;
}

bool IsSame(const std::string& path, const std::string& bytes) {
    const vexa::os::FileContents file = vexa::os::ReadWholeFile(path);
    if (file.bytes && bytes == std::string_view(file.bytes.get(), file.size)) return true;
    std::fprintf(stderr, "%s: not what make_binaries makes\n", path.c_str());
    return false;
}

bool Save(const std::string& path, const std::string& bytes) {
    std::string error;
    if (vexa::os::SaveFile(path, bytes, error)) return true;
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
}

}  // namespace

int main(int count, char** arguments) {
    const bool check = count == 3 && std::string_view(arguments[2]) == "--check";
    if (count != 2 && !check) {
        std::fprintf(stderr, "usage: make_binaries FOLDER [--check]\n");
        return 2;
    }
    const auto treat = check ? IsSame : Save;
    const std::string folder = arguments[1];
    const bool chunk = treat(folder + "/terrain/harbour.chunk", HarbourChunk());
    const bool animation = treat(folder + "/animations/wave.rawanimation", WaveAnimation());
    return chunk && animation ? 0 : 1;
}
