#pragma once

#include <string>
#include <utility>

#include "vexa/terrain/ChunkData.h"

namespace vexa::terrain {

class ChunkData::Texture final : public ITexture {
public:
    Texture(std::string fileName, std::size_t offset)
        : m_fileName(std::move(fileName)), m_offset(offset) {}

    const char* GetFileName() const override { return m_fileName.c_str(); }
    std::size_t GetNameOffset() const override { return m_offset; }
    const std::string& Name() const { return m_fileName; }

private:
    const std::string m_fileName;
    const std::size_t m_offset;
};

}  // namespace vexa::terrain
