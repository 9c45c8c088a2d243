#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/common/FileService.h"
#include "vexa/terrain/Texture.h"

namespace vexa::terrain {

// One tile of a terrain: the surface that it is drawn with, layers of textures, and heights.
//
// A chunk file, little-endian, without gaps:
//
//   bytes  what
//   4      "VXTC"
//   4      version, unsigned: 1
//   4 + 4  tile column and tile row, signed
//   264    surface name: ends at its first NUL, which must be there; what follows does not count
//   4      number of layers, unsigned; then each layer:
//            4      repeats of its textures across the tile, IEEE 754 single precision
//            4      number of textures, unsigned; then each texture:
//              4      length of its path in bytes, unsigned; 0 for no texture
//              n      the path, without a NUL in it or behind it
//   4 + 4  columns and rows of height samples, unsigned
//   4 each the samples, row by row, IEEE 754 single precision, metres
//
// Nothing follows. A chunk must not be used by two threads at once.
class ChunkData {
public:
    static constexpr std::size_t kSurfaceNameOffset = 16;
    static constexpr std::size_t kSurfaceNameSize = 264;  // with the NUL

    // An empty chunk for a tile. Reading a file replaces the tile by the file's.
    ChunkData(std::int32_t column, std::int32_t row);
    ~ChunkData();
    ChunkData(const ChunkData&) = delete;
    ChunkData& operator=(const ChunkData&) = delete;

    // Reads a chunk file in place of what the chunk held. False when it is none; then the chunk is
    // empty and GetError says why: "offset 284: layer 0 has 9 textures, for which there is no
    // room". The file stays the caller's and is not needed afterwards.
    bool ReadDirectly(const IFile& file);
    const std::string& GetError() const { return m_error; }

    std::int32_t GetColumn() const { return m_column; }
    std::int32_t GetRow() const { return m_row; }

    // Zero-terminated, "" for none; lives as long as the chunk is not read anew.
    const char* GetSurfaceName() const { return m_surfaceName; }

    // The textures of all layers in order, null where a layer has a place without texture. They
    // live as long as the chunk is not read anew.
    std::vector<ITexture*> GetAllTexture() const;

    std::size_t GetLayerCount() const { return m_layers.size(); }

    // In metres; 0 outside of the samples.
    float GetHeight(std::uint32_t column, std::uint32_t row) const;

    // Building a chunk. False, with nothing changed, for a surface name that does not fit or holds
    // a NUL, for a texture without a layer or with a NUL in its name, and for samples whose number
    // is not columns * rows.
    bool SetSurfaceName(std::string_view name);
    void AddLayer(float repeats);
    bool AddTexture(std::string_view fileName);  // to the last layer; "" for none
    bool SetHeights(std::uint32_t columns, std::uint32_t rows, const std::vector<float>& samples);

    // The bytes of the chunk's file.
    std::string ToBytes() const;

private:
    class Texture;
    class Reader;
    struct Layer {
        float repeats = 1;
        std::vector<std::unique_ptr<Texture>> textures;
    };

    void Clear();

    std::int32_t m_column;
    std::int32_t m_row;
    char m_surfaceName[kSurfaceNameSize] = {};
    std::vector<Layer> m_layers;
    std::uint32_t m_heightColumns = 0;
    std::uint32_t m_heightRows = 0;
    std::string m_heights;  // the samples as they stand in the file
    std::string m_error;
};

}  // namespace vexa::terrain
