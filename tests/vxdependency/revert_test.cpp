// The way back: texts for renamed resources.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>

#include "tests/support/Project.h"
#include "vexa/common/FileService.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {
namespace {

struct Case {
    std::string text;
    int mask;
    std::string oldPath;
    std::string newPath;
    std::string expected;
    bool named = true;
};

void Check(const std::string& file, const std::vector<Case>& cases) {
    for (const auto& [text, mask, oldPath, newPath, expected, named] : cases) {
        SCOPED_TRACE(testing::Message() << text << " in " << file << " to " << newPath
                                        << ", mask 0x" << std::hex << mask);
        const std::string made = FileNameProcessor::Revert(file, text, mask, newPath, oldPath);
        EXPECT_EQ(made, expected);
        EXPECT_EQ(FileNameProcessor::Names(file, made, mask, newPath), named);
    }
}

constexpr const char* kScene = "level\\scene.xml";

TEST(Revert, KeepsTheFormOfThePath) {
    const test::Project project;
    const std::string absolute = project.Resource("");
    Check(
        kScene,
        {{"a.png", 0x1, "level/a.png", "level/b.png", "b.png"},
         {"a.png", 0x5, "level/a.png", "level/sub/b c.png", "sub/b c.png"},
         {"a.png", 0x1, "level/a.png", "b.png", "../b.png"},
         {"a.png", 0x1, "a.png", "level/b.png", "level/b.png"},
         {"a.png", 0x1, "", "tex/b.png", "../tex/b.png"},
         {"a.png", 0x2, "a.png", "tex/b.png", "tex/b.png"},
         {"..\\tex\\a.png", 0x1, "tex/a.png", "t\xC3\xA4/\xE4.x.png", "..\\t\xC3\xA4\\\xE4.x.png"},
         {".\\a.png", 0x1, "level/a.png", "level/sub/b.png", ".\\sub\\b.png"},
         {"./tex/a.png", 0, "tex/a.png", "b.png", "./b.png"},
         // A folder that stays keeps its spelling.
         {"..//level\\.\\a.png", 0x1, "level/a.png", "level/b.png", "..//level\\.\\b.png"},
         {"/tex/a.png", 0x9, "tex/a.png", "level/b.png", "/level/b.png"},
         {"/tex/a.png", 0x9, "level/tex/a.png", "level/b.png", "/b.png"},
         {"\\res\\tex\\a.png", 0x9, "tex/a.png", "fx/b.png", "\\res\\fx\\b.png"},
         {"res/a.png", 0x8, "a.png", "res/b.png", "res/res/b.png"},
         {"tex/a.png", 0x8, "tex/a.png", "res/b.png", "./res/b.png"},
         {absolute + "tex/a.png", 0x3, "tex/a.png", "b.png", absolute + "b.png"},
         {"a.png", 0x0, "a.png", "C:/b.png", "./C:/b.png"}});
    Check(".\\top.xml", {{"tex/a.png", 0x1, "tex/a.png", "b.png", "b.png"}});
    Check("a\\b\\c.xml", {{"x.png", 0x1, "a/b/x.png", "d/x.png", "../../d/x.png"}});
}

TEST(Revert, KeepsWhatStandsBesideThePath) {
    const test::Project project;
    Check(kScene, {{"a.png?v=2/3", 0x29, "level/a.png", "tex/b.png", "../tex/b.png?v=2/3"},
                   {"\\a.png|x\\y", 0x28, "a.png", "tex/b.png", "\\tex\\b.png|x\\y"},
                   {"a.png#x", 0x1, "level/a.png#x", "level/b.png", "b.png"},
                   {"a.png#x", 0x21, "level/a.png", "level/a#b.png", "a#b.png"},
                   {"a.png#x", 0x20, "a.png", "a#b.png", "a#b.png#x", false},
                   {"glow", 0x10, "level/glow.nfx", "fx/shine.nfx", "../fx/shine"},
                   {"fx/glow", 0x10, "fx/glow.nfx", "fx/shine.nfx", "fx/shine"},
                   {"glow", 0x10, "level/glow.nfx", "level/glow.fx", "level/glow.fx"}});
}

TEST(Revert, GoesByTheFilesThatAreThere) {
    const test::Project project;
    project.Touch("tex/oak.png", "tex/elm.png", "tex/elm.tga", "tex/ash.png", "tex/ash.dds",
                  "level/b.png", "b.png", "geod.gaj", "field/geod.bson", "level/geod.gax");
    Check(kScene, {{"../tex/wood.tga", 0x101, "tex/wood.png", "tex/oak.png", "../tex/oak.tga"},
                   {"tex/wood.tga", 0x100, "tex/wood.png", "tex/oak.png", "tex/oak.tga"},
                   {"tex/wood.tga#1", 0x120, "tex/wood.png", "tex/oak.png", "tex/oak.tga#1"},
                   {"tex/wood.tga", 0x100, "tex/wood.png", "tex/elm.png", "tex/elm.png"},
                   {"tex/wood.bmp", 0x100, "tex/wood.png", "tex/ash.png", "tex/ash.png"},
                   // "b.png" would name both.
                   {"a.png", 0x1, "a.png", "b.png", "../b.png"},
                   {"a.png", 0x1, "level/a.png", "level/b.png", "level/b.png"},
                   {"land\\", 0x800, "land/geod.bson", "field/geod.bson", "field\\"},
                   {"land", 0x800, "level/land/geod.bson", "field/geod.bson", "../field"},
                   {".", 0x800, "level/geod.bson", "field/geod.bson", "../field"},
                   {"land", 0x800, "land/geod.bson", "field/other.bson", "field/other.bson"}});
    Check("top.xml", {{"land", 0x800, "land/geod.gaj", "geod.gaj", "."}});
}

TEST(Revert, OfNoPathIsThatText) {
    const test::Project project;
    EXPECT_EQ(FileNameProcessor::Revert(kScene, "/a.png#x", 0x29, "", "a.png"), "");
    EXPECT_EQ(FileNameProcessor::Revert(kScene, "a.png", 0x1, "../b.png", "a.png"), "../b.png");
}

rc::Gen<std::string> AnyKey() {
    using Names = std::vector<std::string>;
    const auto folder = rc::gen::element<std::string>("a/", "res/", "c d/", "..e/");
    const auto name =
        rc::gen::element<std::string>("a.png", "a.tga", "b.DDS", "c.nfx", "geod.bson", "d.e.f",
                                      "r.rawanimation", "\xE4 x", ".g", "h#1.png");
    return rc::gen::map(rc::gen::pair(rc::gen::resize(3, rc::gen::container<Names>(folder)), name),
                        [](const auto& parts) {
                            std::string key;
                            for (const std::string& part : parts.first) key += part;
                            return key + parts.second;
                        });
}

// A text that may have named the path.
rc::Gen<std::string> AnyText(const std::string& path) {
    const auto lead = rc::gen::element<std::string>("", "/", "./", "res/", "../", "\\res\\");
    const auto rest = rc::gen::element(path, GeneratorForm(path), vxio::GetStem(path),
                                       vxio::GetStem(path) + ".jpg", vxio::GetDirName(path));
    const auto selector = rc::gen::element<std::string>("", "#s", "?a/b|c");
    return rc::gen::map(rc::gen::tuple(lead, rest, selector), [](const auto& parts) {
        return std::get<0>(parts) + std::get<1>(parts) + std::get<2>(parts);
    });
}

TEST(Revert, MakesTextsThatNameTheNewPath) {
    const test::Project project;
    EXPECT_TRUE(rc::check("for any reference in any tree", [&] {
        const auto file = GeneratorForm(*AnyKey());
        const auto key = *AnyKey();
        const auto oldKey = *AnyKey();
        const auto text = *AnyText(oldKey);
        const auto mask = *rc::gen::inRange(0, 0x2000);
        const bool cut = (mask & 0x20) != 0;
        const bool looksCut = cut && key.find('#') != std::string::npos;
        RC_PRE(!looksCut || (mask & 0x3) != 0);
        project.Remove("");
        for (const std::string& other :
             *rc::gen::resize(5, rc::gen::container<std::vector<std::string>>(AnyKey())))
            project.Touch(other);
        project.Touch(key);

        const auto known = *rc::gen::element<std::string>("", oldKey);
        const auto made = FileNameProcessor::Revert(file, text, mask, key, known);
        RC_LOG() << file << ": " << text << " -> " << made << " for " << key << ", mask " << mask;
        RC_ASSERT(FileNameProcessor::Names(file, made, mask, key));
        const std::size_t end =
            cut ? std::min(text.find_first_of("#?|"), text.size()) : text.size();
        if (!looksCut) RC_ASSERT(made.ends_with(text.substr(end)));
        const std::string body = text.substr(0, end);
        if (body.find('\\') == std::string::npos || body.find('/') != std::string::npos) return;
        RC_ASSERT(made.substr(0, made.size() - (text.size() - end)).find('/') == std::string::npos);
    }));
}

TEST(Revert, ToTheSamePathChangesNothing) {
    const test::Project project;
    EXPECT_TRUE(rc::check("for any reference that names it", [&] {
        const auto file = GeneratorForm(*AnyKey());
        const auto key = *AnyKey();
        const auto text = *AnyText(key);
        const auto mask = *rc::gen::inRange(0, 0x2000);
        project.Remove("");
        project.Touch(key);
        if (!FileNameProcessor::Names(file, text, mask, key)) return;
        RC_LOG() << file << ": " << text << " for " << key << ", mask " << mask;
        RC_ASSERT(FileNameProcessor::Revert(file, text, mask, key, key) == text);
    }));
}

TEST(Revert, LetsGeneratorsListAgainWhatTheyListed) {
    const test::Project project;
    auto& xml = *new CDependencyXML("xall");
    auto& json = *new CDependencyJSON("jall");
    const auto check = [&](CDependencyBase& generator, bool moves, int mask,
                           const std::string& prefix, const std::string& suffix) {
        const auto folder = vxio::GetDirName(*AnyKey());
        const auto file = folder + "f." + generator.GetExtension();
        const auto newFile = moves ? "x/" + file : file;
        const auto oldKey = *AnyKey();
        const auto newKey = moves ? oldKey : *AnyKey();
        RC_PRE(oldKey != newKey || moves);
        RC_PRE((mask & 0x20) == 0 || (mask & 0x3) != 0 || newKey.find('#') == newKey.npos);
        project.Remove("");
        project.Touch(*AnyKey(), *AnyKey());
        project.Remove(newKey);
        project.Touch(oldKey);
        auto text = *AnyText(oldKey);
        std::ranges::replace(text, '\\', '/');  // which JSON would escape
        project.Write(file, prefix + text + suffix);
        project.Write(newFile, prefix + text + suffix);
        FileNameProcessor::List before, after, bound;
        RC_ASSERT(generator.GenerateDependency(file, before, bound));
        project.Remove(oldKey);
        project.Touch(newKey);
        if (moves) RC_ASSERT(generator.UpdateSelfReferences(file, newFile));
        if (!moves) generator.RenameReference(file, oldKey, newKey);
        const std::string bytes = project.Read(newFile);
        RC_LOG() << file << ": " << text << " becomes " << bytes << " for " << newKey;
        RC_ASSERT(bytes.starts_with(prefix) && bytes.ends_with(suffix));
        RC_ASSERT(!before.empty() || bytes == prefix + text + suffix);
        RC_ASSERT(generator.GenerateDependency(newFile, after, bound));
        if (moves && before.size() > 1) return;  // one of them is enough
        RC_ASSERT(!std::ranges::count(before, oldKey) || std::ranges::count(after, newKey));
    };
    EXPECT_TRUE(rc::check("for every strategy", [&] {
        const int mask = *rc::gen::inRange(0, 0x2000) & ~0x240;
        const std::string name = "m" + std::to_string(mask);
        xml.AddRule("r", name, mask);
        json.AddRule(name, "", mask);
        const std::string start = "\xEF\xBB\xBF<r\r\n\t" + name + " ='";
        check(xml, false, mask, start, "' x = '&#65;'/><!-- -->\r\n");
        check(xml, true, mask, start, "'/>");
        check(json, false, mask, "{\t\"" + name + "\" : \"", "\", \"n\": 1.50 } // c\r\n");
    }));
}

}  // namespace
}  // namespace vexa
