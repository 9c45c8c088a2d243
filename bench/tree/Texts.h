#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/tree/Layout.h"

namespace bench {

// What a document names, in this order.
struct Names {
    std::vector<std::string> files;
    std::vector<std::string> textures;
    std::vector<std::string> missing;  // where no file is
};

struct Contents {
    std::string bytes;
    // What a reader of the bytes finds, resolved or not: attributes of XML, strings of JSON,
    // includes, texture annotations and shaders of passes, paths.
    std::uint64_t values = 0;
};

// The contents of files as a project has them, with attributes and members that are no references.
// Names are keys.
Contents DocumentText(const File& file, const Names& names);  // scenes to maps in JSON
Contents SurfaceText(const std::string& shader, const std::vector<std::string>& textures);
Contents ShaderText(const File& file);
// `include` is relative to the effect's folder.
Contents EffectText(const std::string& include, const std::string& vertexShader,
                    const std::string& pixelShader, const std::vector<std::string>& textures);
Contents SpriteText(const std::string& texture);
Contents ChunkBytes(const File& file, const std::string& surface,
                    const std::vector<std::string>& textures);
Contents AnimationBytes(const std::string& resource);
Contents TextureBytes(const File& file);

// A key as files write it that name others relative to their own folder.
std::string Relative(const std::string& key);

}  // namespace bench
