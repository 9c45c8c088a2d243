// What generators do to files when resources are renamed.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vexa/common/InterfaceBox.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using List = CDependencyBase::List;

constexpr const char* kXml = R"({
    "xdoc": {"name_list": [{"e": "Item_*", "a": "file", "s": 1}, {"e": "Item_*", "a": "file", "s": 2},
        {"e": "group", "a": "file", "s": 65}, {"e": "tex", "a": "file", "s": 289},
        {"e": "land", "a": "dir", "s": 2049}]},
    "xmat": {"name_list": [{"e": "", "a": ".bin", "s": 0}, {"e": "", "a": "_x.bin", "s": 4096}]},
    "surf": {"name_list": [{"e": "use", "a": "file", "s": 1}]}})";
constexpr const char* kJson = R"({
    "jdoc": {"ignore": ["extras"], "name_list": [{"n": "file", "s": 1}, {"n": "file", "s": 0},
        {"n": "tex", "s": 289}, {"n": "model", "extra": ".png", "s": 513}, {"n": "table", "s": 512}]},
    "jmat": {"name_list": [{"n": "", "extra": ".bin", "s": 0}]}})";

class Rewriting : public testing::Test, public IReferenceObserver {
protected:
    CDependencyBase& Generator(const std::string& key) {
        return *manager.GetDependencyGenerator(key);
    }
    // Announces renames that have happened: "old new old new ...".
    void Renamed(const std::string& list) {
        std::istringstream names(list);
        for (std::string from, to; names >> from >> to; manager.SetReadyToChange({{from, to}}))
            project.Touch(to);
    }
    void OnReference(const ReferenceReport&) override { ADD_FAILURE(); }
    void OnAbsent(const std::string&) override { ADD_FAILURE(); }
    void OnReadThrough(const std::string&) override { ADD_FAILURE(); }
    void OnRewrite(const ReferenceRewrite& rewrite) override {
        rewrites += std::to_string(rewrite.place.offset) + " " + rewrite.oldText + ">" +
                    rewrite.newText + " (" + rewrite.place.rule + ") ";
    }

    test::Project project{kXml, kJson};
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    test::LogCapture log;
    std::string rewrites;
};

TEST_F(Rewriting, FollowsEveryRenameUnderWayOnce) {
    Renamed(
        "dir/a.png tex/b.png dir/c1.png dir/c2.png dir/c2.png dir/c3.png m.png m2.png "
        "dir/s1.png dir/s2.png dir/s2.png dir/s1.png dir/w.png dir/oak.png m_old.png m_old.tga "
        "dir/land/geod.gaj field/geod.gaj dir/n.png dir/\xC3\xA4&'\"#1%20.png");
    const std::array<std::string, 3> cases[] = {
        {"f.xdoc",
         "\xEF\xBB\xBF<r>\r\n\t<Item_1  file = 'a.png' x='&#65;'/><!-- a.png -->\r\n"
         "<group file='s1.png'><x file='s1.png'/><y file='dir\\s2.png'/><Item_2 file='c1.png'/>"
         "</group><tex file='w.tga#1'/><land dir='land\\'/><tex file='n&#x2E;png'/></r>\r\n",
         "\xEF\xBB\xBF<r>\r\n\t<Item_1  file = '../tex/b.png' x='&#65;'/><!-- a.png -->\r\n"
         "<group file='s1.png'><x file='s2.png'/><y file='dir\\s1.png'/><Item_2 file='c2.png'/>"
         "</group><tex file='oak.tga#1'/><land dir='..\\field\\'/>"
         "<tex file='\xC3\xA4&amp;&apos;\"#1%20.png'/></r>\r\n"},
        {"f.jdoc",
         "\xEF\xBB\xBF{\"file\": [\"dir\\/c1.png\", \"c2.png\", 1.50], // c2.png\r\n"
         R"("extras": {"file": "c1.png"}, "model":["m","m_old"], )"
         R"("tex":"n.png", "t":{"x":"dir/s1.png","table":""}})",
         "\xEF\xBB\xBF{\"file\": [\"dir\\/c2.png\", \"c3.png\", 1.50], // c2.png\r\n"
         R"("extras": {"file": "c1.png"}, "model":["m2","m_old"], )"
         "\"tex\":\"\xC3\xA4&'\\\"#1%20.png\", \"t\":{\"x\":\"dir/s2.png\",\"table\":\"\"}}"}};
    for (const auto& [name, before, after] : cases) {
        project.Write("dir/" + name, before);
        EXPECT_EQ(Generator(name).RenameReference("dir\\" + name, "m.png", "m2.png"),
                  name == "f.jdoc");
        EXPECT_EQ(project.Read("dir/" + name), after);
    }
}

TEST_F(Rewriting, ReportsWhatItChangesAndSavesNothingElse) {
    const ObserverUse observed(this);
    project.Write("d/f.xdoc", "<r><Item_1 file='a.png'/><tex file='b.png#x'/></r>");
    project.Write("d/f.jdoc", R"({"file": "a.png", "table": "", "x": "d/a.png"})");
    vxio::JsonData loaded;
    ASSERT_EQ(loaded.Load("d/f.jdoc"), 0);
    EXPECT_TRUE(Generator("f.jdoc").RenameReferenceInData(loaded, "d/a.png", "d/c.png"));
    EXPECT_EQ(loaded.ToText(), R"({"file": "c.png", "table": "", "x": "d/c.png"})");
    for (const std::string file : {"d/f.xdoc", "d/f.jdoc", "d/no.xdoc", "d/no.jdoc"}) {
        const test::FullDisk full(0);
        Generator(file).RenameReference(file, "tex/a.png", "tex/c.png");
        EXPECT_EQ(log.Take().size(), file.find("no") != file.npos) << "nothing is saved";
        Generator(file).RenameReference(file, "d/a.png", "d/c.png");
        EXPECT_EQ(log.Take().size(), 1) << "it cannot be saved, or read";
    }
    EXPECT_FALSE(Generator("f.xdoc").UpdateSelfReferences("a/no.xdoc", "d/no.xdoc"));
    rewrites.clear();
    EXPECT_TRUE(Generator("f.jdoc").RemoveReference("d/f.jdoc", "d/a.png"));
    EXPECT_FALSE(Generator("f.xdoc").RemoveReference("d/f.xdoc", "d/b.png"));
    EXPECT_EQ(project.Read("d/f.jdoc"), R"({"file": "", "table": "", "x": ""})");
    EXPECT_EQ(project.Read("d/f.xdoc"), "<r><Item_1 file='a.png'/><tex file=''/></r>");
    EXPECT_EQ(rewrites,
              "10 a.png> (member \"file\") 37 d/a.png> (member \"x\" (path table)) "
              "36 b.png#x> (tex file) ");
}

TEST_F(Rewriting, MovedFilesKeepNamingWhatTheyNamed) {
    Renamed(
        "a/f.xdoc b/c/f.xdoc a/f.jdoc b/c/f.jdoc a/w.rawanimation b/c/w.rawanimation "
        "a/r1.png d/r2.png a/along.png b/c/along.png d/late.png b/c/taken.png "
        "a/s1.png b/c/s2.png a/s2.png b/c/s1.png");
    project.Touch("a/stay.png", "a/taken.png", "a/both.png", "b/c/both.png", "root.png");
    const std::array<std::string, 4> cases[] = {
        // the text, and what becomes of it in XML, a raw animation and JSON
        {"stay.png", "../../a/stay.png", "../../a/stay.png", "stay.png"},
        {"along.png", "along.png", "along.png", "along.png"},
        {"r1.png", "../../d/r2.png", "../../d/r2.png", "../../d/r2.png"},
        {"s1.png", "s2.png", "s2.png", "s2.png"},
        {"taken.png", "../../a/taken.png", "../../a/taken.png", "taken.png"},
        {"both.png", "../../a/both.png", "both.png", "both.png"},
        {"root.png", "root.png", "../../a/root.png", "root.png"},
        {"none.png", "none.png", "../../a/none.png", "none.png"},
    };
    const auto xml = [](const std::string& text) { return "<Item_1 file='" + text + "'/>"; };
    const auto json = [](const std::string& text) { return R"({"file": ")" + text + "\"}"; };
    const auto raw = [](const std::string& text) {
        return std::string(40, 'h') + char(text.size()) + std::string(3, '\0') + text + "body";
    };
    const auto moved = [&](const std::string& name, const std::string& before) {
        project.Write("b/c/" + name, before);
        EXPECT_TRUE(Generator(name).Rename("a\\" + name, "b\\c\\" + name, false));
        return project.Read("b/c/" + name);
    };
    for (const auto& [text, xmlAfter, rawAfter, jsonAfter] : cases) {
        EXPECT_EQ(moved("f.xdoc", xml(text)), xml(xmlAfter));
        EXPECT_EQ(moved("w.rawanimation", raw(text)), raw(rawAfter));
        EXPECT_EQ(moved("f.jdoc", json(text)), json(text));
        Generator("f.jdoc").RenameReference("b/c/f.jdoc", "a/r1.png", "d/r2.png");
        EXPECT_EQ(project.Read("b/c/f.jdoc"), json(jsonAfter));
    }
}

TEST_F(Rewriting, FilesThatBelongToAResourceMoveWithIt) {
    Renamed("a/part.h b/part.h");
    project.Touch("a/s.bin", "a/s_x.bin", "b/full.bin", "a/e.x.vs", "a/e_gl.vs", "a/in.h",
                  "a/c.hlsl", "fx/c.hlsl", "fx/d.hlsl", "a/k.bin", "b/k_x.bin", "a/k_x.bin");
    project.Write("b/e.y.nfx",
                  "#include \"in.h\"\n#include \"in.h\"\n#include \"no.h\"\n"
                  "#include \"part.h\"\n#include \"../b/../in.h\"");
    project.Write("b/t.surf", "<r><use file='fx/c.hlsl'/><use file='fx/d.hlsl'/></r>");
    EXPECT_TRUE(Generator("x.xmat").MoveBindingFiles("a\\s.xmat", "b\\full.xmat", false));
    EXPECT_TRUE(Generator("x.jmat").Rename("a\\s.jmat", "b\\t.jmat", false));
    EXPECT_TRUE(Generator("x.jmat").Rename("b\\t.jmat", "b\\t.old.jmat", false));
    EXPECT_TRUE(Generator("x.xmat").MoveCompanionFiles("a\\k.xmat", "b\\k.xmat"));
    EXPECT_TRUE(Generator("x.nfx").Rename("a/e.x.nfx", "b/e.y.nfx", false));
    EXPECT_TRUE(Generator("x.surf").Rename("a\\t.surf", "b\\t.surf", false));
    EXPECT_TRUE(Generator("x.nfx").Rename("b\\e.y.nfx", "b\\e.z.nfx", false));
    EXPECT_THAT(log.TakeTexts(), testing::IsSupersetOf(
                                     {"Move File from a\\s.bin to b\\full.bin failed!",
                                      "[Dependency]Move File from a\\k_x.bin to b\\k_x.bin failed!",
                                      "Move File from a\\no.h to b\\no.h failed!",
                                      "Copy hlsl file,hlsl file not found!:a\\d.hlsl"}));
    for (const std::string there : {"b/t.bin", "a/s_x.bin", "b/k.bin", "a/k.bin", "b/e.z.vs",
                                    "a/e_gl.vs", "b/in.h", "b/c.hlsl", "fx/c.hlsl", "b/part.h"})
        EXPECT_TRUE(InterfaceBox::Instance().GetFileService().FileExists(there)) << there;
}

}  // namespace
}  // namespace vexa
