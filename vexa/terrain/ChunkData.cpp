#include "vexa/terrain/ChunkData.h"

#include <bit>
#include <cstring>

#include "vexa/io/BinaryStreamReader.h"
#include "vexa/io/BinaryStreamWriter.h"
#include "vexa/terrain/ChunkFormat.h"
#include "vexa/terrain/ChunkTexture.h"

namespace vexa::terrain {

ChunkData::ChunkData(std::int32_t column, std::int32_t row) : m_column(column), m_row(row) {}

ChunkData::~ChunkData() = default;

std::vector<ITexture*> ChunkData::GetAllTexture() const {
    std::vector<ITexture*> all;
    for (const Layer& layer : m_layers) {
        for (const auto& texture : layer.textures) all.push_back(texture.get());
    }
    return all;
}

float ChunkData::GetHeight(std::uint32_t column, std::uint32_t row) const {
    if (column >= m_heightColumns || row >= m_heightRows) return 0;
    const std::size_t sample = std::size_t{row} * m_heightColumns + column;
    vxio::MemoryInput input(std::string_view(m_heights).substr(sample * kSampleSize, kSampleSize));
    std::uint32_t bits = 0;
    vxio::BinaryStreamReader(input).ReadU32(bits);
    return std::bit_cast<float>(bits);
}

bool ChunkData::SetSurfaceName(std::string_view name) {
    if (name.size() >= kSurfaceNameSize || name.find('\0') != std::string_view::npos) return false;
    std::memset(m_surfaceName, 0, sizeof m_surfaceName);
    name.copy(m_surfaceName, name.size());
    return true;
}

void ChunkData::AddLayer(float repeats) {
    m_layers.emplace_back().repeats = repeats;
}

bool ChunkData::AddTexture(std::string_view fileName) {
    if (m_layers.empty() || fileName.find('\0') != std::string_view::npos) return false;
    auto texture = fileName.empty() ? nullptr : std::make_unique<Texture>(std::string(fileName), 0);
    m_layers.back().textures.push_back(std::move(texture));
    return true;
}

bool ChunkData::SetHeights(std::uint32_t columns, std::uint32_t rows,
                           const std::vector<float>& samples) {
    if (std::uint64_t{columns} * rows != samples.size()) return false;
    m_heightColumns = columns;
    m_heightRows = rows;
    m_heights.clear();
    vxio::MemoryOutput output(m_heights);
    vxio::BinaryStreamWriter writer(output);
    for (const float sample : samples) writer.WriteU32(std::bit_cast<std::uint32_t>(sample));
    return true;
}

std::string ChunkData::ToBytes() const {
    std::string bytes;
    vxio::MemoryOutput output(bytes);
    vxio::BinaryStreamWriter writer(output);
    writer.Write(kMagic.data(), kMagic.size());
    writer.WriteU32(kVersion);
    writer.WriteU32(static_cast<std::uint32_t>(m_column));
    writer.WriteU32(static_cast<std::uint32_t>(m_row));
    writer.Write(m_surfaceName, sizeof m_surfaceName);
    writer.WriteU32(static_cast<std::uint32_t>(m_layers.size()));
    for (const Layer& layer : m_layers) {
        writer.WriteU32(std::bit_cast<std::uint32_t>(layer.repeats));
        writer.WriteU32(static_cast<std::uint32_t>(layer.textures.size()));
        for (const auto& texture : layer.textures) {
            writer.WriteString(texture ? texture->Name() : std::string());
        }
    }
    writer.WriteU32(m_heightColumns);
    writer.WriteU32(m_heightRows);
    writer.Write(m_heights.data(), m_heights.size());
    return bytes;
}

void ChunkData::Clear() {
    m_column = m_row = 0;
    std::memset(m_surfaceName, 0, sizeof m_surfaceName);
    m_layers.clear();
    m_heightColumns = m_heightRows = 0;
    m_heights.clear();
    m_error.clear();
}

}  // namespace vexa::terrain
