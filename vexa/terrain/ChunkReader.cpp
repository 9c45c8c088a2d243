// Reading of chunk files.

#include <fmt/format.h>

#include <bit>
#include <cstring>

#include "vexa/io/BinaryStreamReader.h"
#include "vexa/terrain/ChunkData.h"
#include "vexa/terrain/ChunkFormat.h"
#include "vexa/terrain/ChunkTexture.h"

namespace vexa::terrain {

// Goes through the file once. Every count and length is compared with the bytes that remain before
// anything is allocated for it.
class ChunkData::Reader {
public:
    Reader(const IFile& file, ChunkData& chunk)
        : m_input({file.GetData(), file.GetSize()}), m_chunk(chunk) {}

    bool ReadAll() {
        return ReadHeader() && ReadSurfaceName() && ReadLayers() && ReadHeights() && ReadEnd();
    }

private:
    bool ReadHeader() {
        char magic[kMagic.size()];
        if (!m_reader.Read(magic, sizeof magic) || std::string_view(magic, sizeof magic) != kMagic)
            return Fail(0, "not a terrain chunk");
        std::uint32_t version = 0;
        if (!ReadU32(version, "version")) return false;
        if (version != kVersion) return Fail(4, fmt::format("version {} is unknown", version));
        return ReadI32(m_chunk.m_column, "tile column") && ReadI32(m_chunk.m_row, "tile row");
    }

    bool ReadSurfaceName() {
        const std::size_t at = Position();
        char* const name = m_chunk.m_surfaceName;
        if (!m_reader.Read(name, kSurfaceNameSize)) return FailAtEnd(at, "surface name");
        auto* const end = static_cast<char*>(std::memchr(name, '\0', kSurfaceNameSize));
        if (!end) return Fail(at, "the surface name has no end");
        std::memset(end, 0, static_cast<std::size_t>(name + kSurfaceNameSize - end));
        return true;
    }

    bool ReadLayers() {
        std::uint32_t count = 0;
        if (!ReadCount(count, kSmallestLayer, "the chunk", "layers")) return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!ReadLayer(m_chunk.m_layers.emplace_back(), fmt::format("layer {}", i)))
                return false;
        }
        return true;
    }

    bool ReadLayer(Layer& layer, const std::string& name) {
        std::uint32_t bits = 0;
        std::uint32_t count = 0;
        if (!ReadU32(bits, name + "'s repeats")) return false;
        layer.repeats = std::bit_cast<float>(bits);
        if (!ReadCount(count, kLengthSize, name, "textures")) return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!ReadTexture(layer, name)) return false;
        }
        return true;
    }

    bool ReadTexture(Layer& layer, const std::string& owner) {
        const std::size_t at = Position();
        std::string fileName;
        if (!m_reader.ReadString(fileName)) return FailAtEnd(at, owner + "'s texture");
        if (fileName.find('\0') != std::string::npos)
            return Fail(at, owner + "'s texture has a NUL in its path");
        const std::size_t offset = at + kLengthSize;
        layer.textures.push_back(
            fileName.empty() ? nullptr : std::make_unique<Texture>(std::move(fileName), offset));
        return true;
    }

    bool ReadHeights() {
        const std::size_t at = Position();
        std::uint32_t& columns = m_chunk.m_heightColumns;
        std::uint32_t& rows = m_chunk.m_heightRows;
        if (!ReadU32(columns, "columns of heights") || !ReadU32(rows, "rows of heights"))
            return false;
        const std::uint64_t room = m_input.Remaining() / kSampleSize;
        if (columns > 0 && rows > room / columns)
            return Fail(at, fmt::format("there is no room for {} by {} heights", columns, rows));
        return m_reader.ReadBytes(m_chunk.m_heights, kSampleSize * std::uint64_t{columns} * rows) ||
               FailAtEnd(at, "heights");
    }

    bool ReadEnd() {
        return m_input.Remaining() == 0 ||
               Fail(Position(), fmt::format("{} bytes follow the heights", m_input.Remaining()));
    }

    bool ReadU32(std::uint32_t& value, const std::string& what) {
        const std::size_t at = Position();
        return m_reader.ReadU32(value) || FailAtEnd(at, what);
    }

    bool ReadI32(std::int32_t& value, const std::string& what) {
        std::uint32_t bits = 0;
        if (!ReadU32(bits, what)) return false;
        value = static_cast<std::int32_t>(bits);
        return true;
    }

    // Reads a number of things that take `smallest` bytes at least.
    bool ReadCount(std::uint32_t& count, std::size_t smallest, const std::string& owner,
                   const char* things) {
        const std::size_t at = Position();
        if (!ReadU32(count, fmt::format("number of {}", things))) return false;
        if (count <= m_input.Remaining() / smallest) return true;
        return Fail(at,
                    fmt::format("{} has {} {}, for which there is no room", owner, count, things));
    }

    std::size_t Position() const { return static_cast<std::size_t>(m_input.Position()); }

    bool Fail(std::size_t offset, const std::string& reason) {
        m_chunk.Clear();
        m_chunk.m_error = fmt::format("offset {}: {}", offset, reason);
        return false;
    }
    bool FailAtEnd(std::size_t offset, const std::string& what) {
        return Fail(offset, "the file ends before the end of the " + what);
    }

    vxio::MemoryInput m_input;
    vxio::BinaryStreamReader m_reader{m_input};
    ChunkData& m_chunk;
};

bool ChunkData::ReadDirectly(const IFile& file) {
    Clear();
    return Reader(file, *this).ReadAll();
}

}  // namespace vexa::terrain
