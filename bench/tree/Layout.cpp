#include "bench/tree/Layout.h"

#include <algorithm>
#include <numeric>

namespace bench {

namespace {

constexpr std::uint64_t kFilesInFolder = 100;

// Of a thousand files; the textures are the rest.
constexpr std::array<std::uint64_t, kKinds> kProportions = {200, 200, 50, 120, 50, 30, 30,
                                                            15,  20,  10, 15,  10, 0};

struct Place {
    const char* area;
    const char* stem;
};
constexpr std::array<Place, kKinds> kPlaces = {{{"levels", "level"},
                                                {"models", "model"},
                                                {"maps", "map"},
                                                {"sheets", "sheet"},
                                                {"meshes", "mesh"},
                                                {"worlds", "world"},
                                                {"surfaces", "surface"},
                                                {"effects", "effect"},
                                                {"shaders", "shader"},
                                                {"sprites", "sprite"},
                                                {"terrain", "chunk"},
                                                {"animations", "animation"},
                                                {"textures", "texture"}}};

std::string ExtensionOf(const File& file) {
    if (file.kind != Kind::Shader) return kKindNames[static_cast<std::size_t>(file.kind)];
    const std::uint64_t place = file.index % kShadersInFolder;
    return place < kFirstVertexShader ? "hlsl" : place < kFirstPixelShader ? "vs" : "ps";
}

}  // namespace

Layout::Layout(std::uint64_t files) {
    for (std::size_t i = 0; i < kKinds; ++i) m_counts[i] = files * kProportions[i] / 1000;
    std::uint64_t& shaders = m_counts[static_cast<std::size_t>(Kind::Shader)];
    shaders = std::max(shaders / kShadersInFolder, std::uint64_t{1}) * kShadersInFolder;
    m_counts[static_cast<std::size_t>(Kind::Texture)] = files - Files();
}

Layout::Layout(std::uint64_t scenes, std::uint64_t textures) {
    m_counts[static_cast<std::size_t>(Kind::Scene)] = scenes;
    m_counts[static_cast<std::size_t>(Kind::Texture)] = textures;
}

std::uint64_t Layout::CountUpTo(Kind last) const {
    const auto end = m_counts.begin() + static_cast<std::ptrdiff_t>(last) + 1;
    return std::accumulate(m_counts.begin(), end, std::uint64_t{0});
}

std::uint64_t Layout::Files() const {
    return CountUpTo(Kind::Texture);
}

std::uint64_t Layout::Documents() const {
    return CountUpTo(Kind::MapJson);
}

std::uint64_t Layout::NamedFiles() const {
    return CountUpTo(Kind::Effect);
}

File Layout::NamedFile(std::uint64_t number) const {
    std::size_t kind = 0;
    while (number >= m_counts[kind]) number -= m_counts[kind++];
    return {static_cast<Kind>(kind), number};
}

std::string Layout::KeyOf(const File& file) {
    const Place& place = kPlaces[static_cast<std::size_t>(file.kind)];
    const std::uint64_t folder = file.index / kFilesInFolder;
    return std::string(place.area) + "/part" + std::to_string(folder / 100) + "/set" +
           std::to_string(folder % 100) + '/' + place.stem + std::to_string(file.index) + '.' +
           ExtensionOf(file);
}

}  // namespace bench
