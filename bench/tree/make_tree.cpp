// Makes a project, the same for the same arguments, and tells on standard output, as JSON, what it
// has made:
//
//   bench_tree DIR FILES              so many files in all, of every format, in the proportions of
//                                     a real project: ten references a file, some of them missing
//   bench_tree DIR SCENES together    every scene names one and the same texture
//   bench_tree DIR SCENES spread      as many references, spread evenly over a thousand textures
//
// DIR/res must not be there.

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "bench/tree/Layout.h"
#include "bench/tree/Popularity.h"
#include "bench/tree/Texts.h"
#include "bench/tree/TreeFiles.h"

namespace bench {

namespace {

constexpr std::uint64_t kMostUsers = 50000;
constexpr std::uint64_t kTexturesInSpread = 1000;
constexpr std::uint64_t kMiddlingUsers = 20;
constexpr std::uint64_t kPopularUsers = 10000;

// A document in so many is small. The others name so many textures on average that the project has
// ten references a file.
constexpr std::uint64_t kSmallEvery = 8;
constexpr std::size_t kTexturesOfSmall = 3;
constexpr std::size_t kFewestTextures = 5;
constexpr std::uint64_t kTextureRange = 19;
constexpr double kMeanTextures = 14;
constexpr std::size_t kNamedFiles = 2;
constexpr std::uint64_t kMissingEvery = 13;  // documents: one reference of 200

Popularity::Plan PlanOf(const Layout& layout) {
    const std::uint64_t documents =
        layout.Documents() - (layout.Documents() + kSmallEvery - 1) / kSmallEvery;
    return {layout.Count(Kind::Texture), documents,
            static_cast<std::uint64_t>(static_cast<double>(documents) * kMeanTextures),
            std::min(kMostUsers, layout.Files() / 2)};
}

std::string TextureKey(std::uint64_t index) {
    return Layout::KeyOf({Kind::Texture, index});
}

class TreeMaker {
public:
    TreeMaker(const std::string& root, const Layout& layout)
        : m_layout(layout), m_files(root + "/res"), m_popularity(PlanOf(layout), m_random) {}

    void MakeAll() {
        for (std::size_t kind = 0; kind < kKinds; ++kind) {
            const std::uint64_t count = m_layout.Count(static_cast<Kind>(kind));
            for (std::uint64_t i = 0; i < count; ++i) Make({static_cast<Kind>(kind), i});
        }
    }

    void Report() const {
        const auto& users = m_popularity.Users();
        const std::uint64_t popular = m_popularity.DocumentsFavouriteOf(kPopularUsers);
        const auto middling = std::ranges::find(users, kMiddlingUsers);
        fmt::print(
            "{{\"files\": {}, \"parsed\": {}, \"values\": {}, \"references\": {}, \"missing\": "
            "{},\n"
            " \"popular\": {{\"key\": \"{}\", \"users\": {}}},\n"
            " \"middling\": {{\"key\": \"{}\", \"users\": {}}},\n \"kinds\": {{",
            m_layout.Files(), m_layout.Files() - m_layout.Count(Kind::Texture), m_values,
            m_references, m_missing, TextureKey(popular), users[popular], TextureKey(static_cast<std::uint64_t>(middling - users.begin())), *middling);
        for (std::size_t kind = 0; kind < kKinds; ++kind) {
            fmt::print("{}\"{}\": {}", kind == 0 ? "" : ", ", kKindNames[kind],
                       m_layout.Count(static_cast<Kind>(kind)));
        }
        fmt::print("}}}}\n");
    }

private:
    void Make(const File& file) {
        const Contents contents = ContentsOf(file);
        m_values += contents.values;
        m_files.Write(Layout::KeyOf(file), contents.bytes);
    }

    Contents ContentsOf(const File& file) {
        switch (file.kind) {
            case Kind::Surface:
                return Surface();
            case Kind::Effect:
                return Effect();
            case Kind::Shader:
                return Shader(file);
            case Kind::Sprite:
                return Sprite();
            case Kind::Chunk:
                return Chunk(file);
            case Kind::Animation:
                return Animation();
            case Kind::Texture:
                return TextureBytes(file);
            default:
                return Document(file);
        }
    }

    Contents Document(const File& file) {
        Names names;
        const bool small = m_documents++ % kSmallEvery == 0;
        names.textures = small ? Textures(kTexturesOfSmall) : PopularTextures();
        AddNamedFiles(file, names.files);
        if (m_random.Below(kMissingEvery) == 0)
            names.missing.push_back(fmt::format("textures/part0/gone{}.png", m_missing++));
        m_references += names.textures.size() + names.files.size();
        return DocumentText(file, names);
    }

    void AddNamedFiles(const File& file, std::vector<std::string>& names) {
        const std::string self = Layout::KeyOf(file);
        while (names.size() < kNamedFiles) {
            std::string name = NamedFile();
            if (name != self && std::ranges::find(names, name) == names.end())
                names.push_back(std::move(name));
        }
    }

    std::string NamedFile() {
        return Layout::KeyOf(m_layout.NamedFile(m_random.Below(m_layout.NamedFiles())));
    }

    static std::vector<std::string> Keys(const std::vector<std::uint64_t>& textures) {
        std::vector<std::string> keys;
        for (const std::uint64_t texture : textures) keys.push_back(TextureKey(texture));
        return keys;
    }

    std::vector<std::string> Textures(std::size_t count) { return Keys(m_popularity.AnyOf(count)); }

    std::vector<std::string> PopularTextures() {
        return Keys(m_popularity.NextDocument(kFewestTextures + m_random.Below(kTextureRange)));
    }

    // A source of a folder of shaders, between two places of it.
    std::string ShaderOf(std::uint64_t folder, std::uint64_t begin, std::uint64_t end) {
        const std::uint64_t place = begin + m_random.Below(end - begin);
        return Layout::KeyOf({Kind::Shader, folder * kShadersInFolder + place});
    }

    std::uint64_t ShaderFolder() {
        return m_random.Below(m_layout.Count(Kind::Shader) / kShadersInFolder);
    }

    // Refers also to the two sources that its shader includes.
    Contents Surface() {
        const std::string shader = ShaderOf(ShaderFolder(), kFirstPlainShader, kFirstVertexShader);
        m_references += 3 + 4;
        return SurfaceText(shader, Textures(4));
    }

    // Refers to two shaders and the two sources that these include.
    Contents Effect() {
        const std::uint64_t folder = ShaderFolder();
        const std::string include = ShaderOf(folder, 1, 2);
        const std::string vertex = ShaderOf(folder, kFirstVertexShader, kFirstPixelShader);
        const std::string pixel = ShaderOf(folder, kFirstPixelShader, kShadersInFolder);
        m_references += 4 + 4;
        return EffectText(Relative(include), vertex, pixel, Textures(4));
    }

    Contents Shader(const File& file) {
        Contents text = ShaderText(file);
        m_references += text.values;
        return text;
    }

    Contents Sprite() {
        ++m_references;
        return SpriteText(Textures(1).front());
    }

    Contents Chunk(const File& file) {
        const File surface{Kind::Surface, m_random.Below(m_layout.Count(Kind::Surface))};
        m_references += 1 + 8;
        return ChunkBytes(file, Layout::KeyOf(surface), Textures(8));
    }

    Contents Animation() {
        ++m_references;
        return AnimationBytes(NamedFile());
    }

    const Layout m_layout;
    Random m_random;
    TreeFiles m_files;
    Popularity m_popularity;
    std::uint64_t m_documents = 0;
    std::uint64_t m_references = 0;  // that name a file, each once
    std::uint64_t m_missing = 0;
    std::uint64_t m_values = 0;
};

void MakeEven(const std::string& root, std::uint64_t scenes, std::uint64_t textures) {
    const Layout layout(scenes, kTexturesInSpread);
    TreeFiles files(root + "/res");
    for (std::uint64_t i = 0; i < scenes; ++i) {
        const File scene{Kind::Scene, i};
        files.Write(Layout::KeyOf(scene),
                    DocumentText(scene, {{}, {TextureKey(i % textures)}, {}}).bytes);
    }
    for (std::uint64_t i = 0; i < kTexturesInSpread; ++i)
        files.Write(TextureKey(i), TextureBytes({Kind::Texture, i}).bytes);
    fmt::print("{{\"files\": {}, \"references\": {}, \"scenes\": {}, \"named\": {}}}\n",
               layout.Files(), scenes, scenes, textures);
}

int Usage() {
    std::fputs("usage: bench_tree DIR FILES | bench_tree DIR SCENES together|spread\n", stderr);
    return 2;
}

}  // namespace

}  // namespace bench

int main(int count, char** arguments) {
    if (count < 3 || count > 4) return bench::Usage();
    const std::string root = arguments[1];
    const std::uint64_t files = std::strtoull(arguments[2], nullptr, 10);
    const std::string_view how = count == 4 ? arguments[3] : "";
    if (files < 1000) return bench::Usage();
    if (how == "together") {
        bench::MakeEven(root, files, 1);
    } else if (how == "spread") {
        bench::MakeEven(root, files, bench::kTexturesInSpread);
    } else if (how.empty()) {
        bench::TreeMaker maker(root, bench::Layout(files));
        maker.MakeAll();
        maker.Report();
    } else {
        return bench::Usage();
    }
    return 0;
}
