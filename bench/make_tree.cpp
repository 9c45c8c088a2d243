// Makes a project of small XML or JSON files that name one another and a set of textures, the same
// for the same numbers: bench_tree DIR FILES REFERENCES [json|shared]
//
// References are skewed as in real projects: half of them go to the first hundredth of the
// textures, so that a few textures have thousands of users and many have one. With "shared" the
// last reference of every file names one and the same texture.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr int kFilesPerFolder = 100;

struct Tree {
    fs::path root;
    std::int64_t files;
    std::int64_t textures;
    int references;
    bool json;
    bool shared;
};

std::string FolderOf(std::int64_t index) {
    const std::int64_t folder = index / kFilesPerFolder;
    return "part" + std::to_string(folder / 100) + "/set" + std::to_string(folder % 100);
}

std::string SceneOf(const Tree& tree, std::int64_t index) {
    return FolderOf(index) + "/scene" + std::to_string(index) + (tree.json ? ".json" : ".xml");
}

std::string TextureOf(std::int64_t index) {
    return "textures/" + FolderOf(index) + "/tex" + std::to_string(index) + ".png";
}

void Write(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) {
        std::fprintf(stderr, "%s: cannot be written\n", path.c_str());
        std::exit(1);
    }
}

template <class Name>
void MakeFolders(const Tree& tree, std::int64_t count, Name name) {
    for (std::int64_t i = 0; i < count; i += kFilesPerFolder) {
        fs::create_directories((tree.root / "res" / name(i)).parent_path());
    }
}

struct Pieces {
    std::string begin, include, includeEnd, object, texture, objectEnd, end;
};

const Pieces kXml = {"<?xml version=\"1.0\"?>\n<scene>\n",
                     "  <include file=\"",
                     "\"/>\n",
                     "  <object id=\"o",
                     "\" x=\"1.5\" y=\"-2\" texture=\"",
                     "\"/>\n",
                     "</scene>\n"};
const Pieces kJson = {"{\n",
                      "  \"include\": \"",
                      "\",\n  \"objects\": [\n",
                      "    {\"id\": \"o",
                      "\", \"x\": 1.5, \"y\": -2, \"texture\": \"",
                      "\"},\n",
                      "    {}\n  ]\n}\n"};

std::string SceneText(const Tree& tree, std::mt19937_64& random) {
    const Pieces& pieces = tree.json ? kJson : kXml;
    std::string text = pieces.begin;
    for (int i = 0; i < tree.references; ++i) {
        const auto number = static_cast<std::int64_t>(random() >> 1);
        if (i == 0) {
            text += pieces.include + SceneOf(tree, number % tree.files) + pieces.includeEnd;
        } else {
            const std::int64_t popular = tree.textures / 100 + 1;
            const bool all = tree.shared && i + 1 == tree.references;
            const std::int64_t range = all ? 1 : i % 2 == 0 ? popular : tree.textures;
            text += pieces.object + std::to_string(i) + pieces.texture + TextureOf(number % range) +
                    pieces.objectEnd;
        }
    }
    return text + pieces.end;
}

void MakeRules(const Tree& tree) {
    const fs::path folder = tree.root / "builtin/res/builtin/dependency_config";
    fs::create_directories(folder);
    Write(folder / "xml_config.json",
          "{\"xml\": {\"name_list\": [\n"
          "  {\"element\": \"include\", \"attribute\": \"file\", \"strategy\": 2},\n"
          "  {\"element\": \"object\", \"attribute\": \"texture\", \"strategy\": 2}\n"
          "]}}\n");
    Write(folder / "json_config.json",
          "{\"json\": {\"name_list\": [\n"
          "  {\"member\": \"include\", \"strategy\": 2},\n"
          "  {\"member\": \"texture\", \"strategy\": 2}\n"
          "]}}\n");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc == 5 ? argv[4] : "";
    if (argc < 4 || argc > 5 || (argc == 5 && kind != "json" && kind != "shared")) {
        std::fprintf(stderr, "usage: bench_tree DIR FILES REFERENCES [json|shared]\n");
        return 2;
    }
    const std::int64_t files = std::atoll(argv[2]);
    const Tree tree{argv[1],        files,           files / 5 + 1, std::atoi(argv[3]),
                    kind == "json", kind == "shared"};
    MakeRules(tree);
    const auto scene = [&tree](std::int64_t i) { return SceneOf(tree, i); };
    MakeFolders(tree, tree.files, scene);
    MakeFolders(tree, tree.textures, TextureOf);
    std::mt19937_64 random(1);
    for (std::int64_t i = 0; i < tree.files; ++i) {
        Write(tree.root / "res" / scene(i), SceneText(tree, random));
    }
    for (std::int64_t i = 0; i < tree.textures; ++i) {
        Write(tree.root / "res" / TextureOf(i), "\x89PNG " + std::to_string(i));
    }
    return 0;
}
