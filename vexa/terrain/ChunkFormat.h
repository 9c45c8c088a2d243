#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Constants of the chunk file (see ChunkData.h).
namespace vexa::terrain {

constexpr std::string_view kMagic = "VXTC";
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kSampleSize = 4;
constexpr std::size_t kSmallestLayer = 8;  // repeats, number of textures
constexpr std::size_t kLengthSize = 4;     // of a texture, the least that it takes

}  // namespace vexa::terrain
