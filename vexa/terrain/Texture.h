#pragma once

#include <cstddef>

namespace vexa::terrain {

// A texture that a terrain chunk names. Owned by the chunk.
class ITexture {
public:
    // The path as it stands in the chunk, never empty.
    virtual const char* GetFileName() const = 0;
    // Where its first byte stands in the file; 0 in a chunk that was not read.
    virtual std::size_t GetNameOffset() const = 0;

protected:
    virtual ~ITexture() = default;
};

}  // namespace vexa::terrain
