#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace bench {

// The formats of a made project, in the order in which files are made.
enum class Kind : std::uint8_t {
    Scene,
    Model,
    Map,
    Sheet,
    Gltf,
    MapJson,
    Surface,
    Effect,
    Shader,
    Sprite,
    Chunk,
    Animation,
    Texture
};
constexpr std::size_t kKinds = 13;
constexpr std::array<const char*, kKinds> kKindNames = {
    "scn", "xml",    "tmx", "json",  "gltf",         "tmj", "surf",
    "nfx", "shader", "spr", "chunk", "rawanimation", "png"};

struct File {
    Kind kind;
    std::uint64_t index;  // among those of its kind
    friend bool operator==(const File&, const File&) = default;
};

// The sources of one folder of shaders: one that includes nothing, one that includes it, and others
// that include the second.
constexpr std::uint64_t kShadersInFolder = 100;
constexpr std::uint64_t kFirstPlainShader = 2;
constexpr std::uint64_t kFirstVertexShader = 20;
constexpr std::uint64_t kFirstPixelShader = 60;

// Which files there are, and where.
class Layout {
public:
    // A project of all formats in the proportions of a real one; 1000 files or more.
    explicit Layout(std::uint64_t files);
    // Scenes and textures alone.
    Layout(std::uint64_t scenes, std::uint64_t textures);

    std::uint64_t Count(Kind kind) const { return m_counts[static_cast<std::size_t>(kind)]; }
    std::uint64_t Files() const;
    // Those in XML and JSON that list many textures: the first kinds.
    std::uint64_t Documents() const;
    // The number-th of all files of the first kinds, up to the effects.
    File NamedFile(std::uint64_t number) const;
    std::uint64_t NamedFiles() const;

    // "textures/part0/set7/texture712.png". Every folder is three levels deep.
    static std::string KeyOf(const File& file);

private:
    std::uint64_t CountUpTo(Kind last) const;
    std::array<std::uint64_t, kKinds> m_counts{};
};

}  // namespace bench
