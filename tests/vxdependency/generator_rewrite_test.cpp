// What generators do to files when resources are renamed.

#include <gmock/gmock.h>

#include "tests/support/AnyReference.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vexa/common/FileServiceLayer.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using List = CDependencyBase::List;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kXml = R"({
    "xdoc": {"name_list": [
        {"e": "Item_*", "a": "file", "s": 1}, {"e": "Item_*", "a": "file", "s": 2},
        {"e": "group", "a": "file", "s": 65}, {"e": "tex", "a": "file", "s": 289},
        {"e": "land", "a": "dir", "s": 2049}]},
    "xmat": {"name_list": [{"e": "", "a": ".bin", "s": 0}, {"e": "", "a": "_x.bin", "s": 4096}]},
    "surf": {"name_list": [{"e": "use", "a": "file", "s": 1}]}})";
constexpr const char* kJson = R"({
    "jdoc": {"ignore": ["extras"], "name_list": [
        {"n": "file", "s": 1}, {"n": "file", "s": 0}, {"n": "tex", "s": 289},
        {"n": "model", "extra": ".png", "s": 513}, {"n": "table", "s": 512}]},
    "jmat": {"name_list": [{"n": "", "extra": ".bin", "s": 0}]}})";

// The disk, which counts what is saved, or refuses it.
struct CountingFiles : FileServiceLayer {
    using FileServiceLayer::FileServiceLayer;
    bool Save(const std::string& path, std::string_view bytes, std::string& error) override {
        ++saves;
        error = "disk full";
        return !full && FileServiceLayer::Save(path, bytes, error);
    }
    int saves = 0;
    bool full = false;
};

class Rewriting : public testing::Test, public IReferenceObserver {
protected:
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    CDependencyBase& Generator(const std::string& key) {
        return *manager.GetDependencyGenerator(key);
    }
    // Announces renames that have happened.
    void Renamed(const Pairs& pairs) {
        for (const auto& [from, to] : pairs) project.Touch(to);
        manager.SetReadyToChange({pairs.begin(), pairs.end()});
    }
    void OnReference(const ReferenceReport&) override {}
    void OnAbsent(const std::string&) override { ADD_FAILURE() << "nothing is being listed"; }
    void OnReadThrough(const std::string&) override { OnAbsent(""); }
    void OnRewrite(const ReferenceRewrite& rewrite) override {
        rewrites += rewrite.file + ":" + std::to_string(rewrite.place.offset) + " " +
                    rewrite.oldText + ">" + rewrite.newText + " (" + rewrite.place.rule + ")\n";
    }

    test::Project project{kXml, kJson};
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    std::string rewrites;
};

TEST_F(Rewriting, FollowsEveryRenameUnderWayOnce) {
    Renamed({{"dir/a.png", "tex/b.png"},
             {"dir/c1.png", "dir/c2.png"},
             {"dir/c2.png", "dir/c3.png"},
             {"dir/s1.png", "dir/s2.png"},
             {"dir/s2.png", "dir/s1.png"},
             {"m.png", "m2.png"},
             {"dir/w.png", "dir/oak.png"},
             {"dir/land/geod.gaj", "field/geod.gaj"},
             {"dir/n.png", "dir/\xC3\xA4&'\"#1 %20.png"},
             {"m_old.png", "m_old.tga"}});
    const std::string odd = "\xC3\xA4&amp;&apos;\"#1 %20.png";
    const std::array<std::string, 3> cases[] = {
        {"f.xdoc", "\xEF\xBB\xBF<r>\r\n\t<Item_1  file = 'a.png' x='&#65;'/><!-- a.png --></r>\r\n",
         "\xEF\xBB\xBF<r>\r\n\t<Item_1  file = '../tex/b.png' x='&#65;'/><!-- a.png --></r>\r\n"},
        {"f.xdoc", "<r><Item_1 file='c1.png'/><Item_2 file='c2.png'/><Item_3 file='c3.png'/></r>",
         "<r><Item_1 file='c2.png'/><Item_2 file='c3.png'/><Item_3 file='c3.png'/></r>"},
        {"f.xdoc", "<group file='s1.png'><x file='s1.png'/><y file='dir\\s2.png'/></group>",
         "<group file='s1.png'><x file='s2.png'/><y file='dir\\s1.png'/></group>"},
        {"f.xdoc", "<r><tex file='w.tga#1'/><land dir='land\\'/><tex file='n&#x2E;png'/></r>",
         "<r><tex file='oak.tga#1'/><land dir='..\\field\\'/><tex file='" + odd + "'/></r>"},
        {"f.jdoc", "\xEF\xBB\xBF{\r\n\t\"file\": [\"dir\\/c1.png\", \"c2.png\"], // c2.png\r\n}",
         ""},
        {"f.jdoc", R"({"file": ["dir\/c1.png", "c2.png", 1.50], "extras": {"file": "c1.png"}})",
         R"({"file": ["dir\/c2.png", "c3.png", 1.50], "extras": {"file": "c1.png"}})"},
        {"f.jdoc", R"({"tex":"n.png","model":["m","m_old"],"t":{"x":"dir/s1.png","table":""}})",
         "{\"tex\":\"\xC3\xA4&'\\\"#1 %20.png\",\"model\":[\"m2\",\"m_old\"],"
         "\"t\":{\"x\":\"dir/s2.png\",\"table\":\"\"}}"},
    };
    test::LogCapture log;
    for (const auto& [name, before, after] : cases) {
        const bool valid = !after.empty();
        project.Write("dir/" + name, before);
        CountingFiles files(InterfaceBox::Instance().GetFileService());
        const FileServiceUse use(files);
        const bool isJson = name == "f.jdoc";
        const auto rename = [&] {
            EXPECT_EQ(Generator(name).RenameReference("dir\\" + name, "m.png", "m2.png"), isJson);
        };
        files.full = true;
        rename();
        EXPECT_EQ(project.Read("dir/" + name), before);
        EXPECT_THAT(log.Take(),
                    ElementsAre(testing::FieldsAre(
                        valid ? LogSeverity::Error : LogSeverity::Warning,
                        HasSubstr(valid ? "disk full" : "dir/f.jdoc: cannot be read"))));
        files.full = false;
        rename();
        EXPECT_EQ(project.Read("dir/" + name), valid ? after : before);
        EXPECT_EQ(files.saves, valid ? 2 : 0);
        log.Take();
    }
}

TEST_F(Rewriting, LeavesAloneWhatIsNotConcernedAndReportsTheRest) {
    CountingFiles files(InterfaceBox::Instance().GetFileService());
    const FileServiceUse use(files);
    const ObserverUse observed(this);
    const std::string xml = "<r><Item_1 file='a.png'/><tex file='b.png#x'/></r>";
    const std::string json = R"({"file": "a.png", "table": "", "x": "dir/a.png"})";
    project.Write("dir/f.xdoc", xml);
    project.Write("dir/f.jdoc", json);
    for (const std::string file : {"dir/f.xdoc", "dir/f.jdoc"}) {
        Generator(file).RenameReference(file, "tex/a.png", "tex/c.png");
        Generator(file).RenameReference(file, "dir/a.png", "../c.png");
    }
    EXPECT_EQ(files.saves, 0);
    vxio::JsonData loaded;
    ASSERT_EQ(loaded.Load("dir/f.jdoc"), 0);
    EXPECT_TRUE(Generator("f.jdoc").RenameReferenceInData(loaded, "dir/a.png", "dir/c.png"));
    EXPECT_EQ(loaded.ToText(), R"({"file": "c.png", "table": "", "x": "dir/c.png"})");
    EXPECT_EQ(rewrites, "");
    EXPECT_TRUE(Generator("f.jdoc").RemoveReference("dir/f.jdoc", "dir/a.png"));
    EXPECT_FALSE(Generator("f.xdoc").RemoveReference("dir/f.xdoc", "dir/b.png"));
    EXPECT_EQ(project.Read("dir/f.jdoc"), R"({"file": "", "table": "", "x": ""})");
    EXPECT_EQ(project.Read("dir/f.xdoc"), "<r><Item_1 file='a.png'/><tex file=''/></r>");
    EXPECT_EQ(rewrites,
              "dir/f.jdoc:10 a.png> (member \"file\")\n"
              "dir/f.jdoc:37 dir/a.png> (member \"x\" (path table))\n"
              "dir/f.xdoc:36 b.png#x> (tex file)\n");
}

TEST_F(Rewriting, MovedFilesKeepNamingWhatTheyNamed) {
    Renamed({{"a/f.xdoc", "b/c/f.xdoc"},
             {"a/f.jdoc", "b/c/f.jdoc"},
             {"a/r1.png", "d/r2.png"},
             {"a/along.png", "b/c/along.png"},
             {"d/late.png", "b/c/taken.png"},
             {"a/w.rawanimation", "b/c/w.rawanimation"},
             {"a/s1.png", "b/c/s2.png"},
             {"a/s2.png", "b/c/s1.png"}});
    project.Touch("a/stay.png", "a/taken.png", "a/both.png", "b/c/both.png", "root.png");
    const std::string head(40, 'h');
    struct Case {
        std::string text, xml, raw, json;
    };  // what becomes of it, by format
    const Case cases[] = {
        {"stay.png", "../../a/stay.png", "../../a/stay.png", "stay.png"},
        {"..\\a\\stay.png", "..\\..\\a\\stay.png", "..\\..\\a\\stay.png", "..\\a\\stay.png"},
        {"along.png", "along.png", "along.png", "along.png"},
        {"r1.png", "../../d/r2.png", "../../d/r2.png", "../../d/r2.png"},
        {"s1.png", "s2.png", "s2.png", "s2.png"},
        {"taken.png", "../../a/taken.png", "../../a/taken.png", "taken.png"},
        {"both.png", "../../a/both.png", "both.png", "both.png"},
        {"root.png", "root.png", "../../a/root.png", "root.png"},
        {"none.png", "none.png", "../../a/none.png", "none.png"},
    };
    const auto raw = [&](const std::string& text) {
        return head + static_cast<char>(text.size()) + std::string(3, '\0') + text + "body";
    };
    for (const auto& [text, xmlAfter, rawAfter, jsonAfter] : cases) {
        SCOPED_TRACE(text);
        project.Write("b/c/f.xdoc", "<Item_1 file='" + text + "'/>");
        EXPECT_TRUE(Generator("f.xdoc").Rename("a\\f.xdoc", "b\\c\\f.xdoc", false));
        EXPECT_EQ(project.Read("b/c/f.xdoc"), "<Item_1 file='" + xmlAfter + "'/>");
        project.Write("b/c/w.rawanimation", raw(text));
        EXPECT_TRUE(
            Generator("w.rawanimation").Rename("a\\w.rawanimation", "b\\c\\w.rawanimation", false));
        EXPECT_EQ(project.Read("b/c/w.rawanimation"), raw(rawAfter));
        vxio::JsonData document;
        document.LoadText(R"({"file": ""})");
        document.GetRoot()->to_object()[0].second.set_string(text);
        project.Write("b/c/f.jdoc", document.ToText());
        EXPECT_TRUE(Generator("f.jdoc").Rename("a\\f.jdoc", "b\\c\\f.jdoc", false));
        EXPECT_TRUE(Generator("f.jdoc").RenameReference("b/c/f.jdoc", "a/r1.png", "d/r2.png"));
        document.GetRoot()->to_object()[0].second.set_string(jsonAfter);
        EXPECT_EQ(project.Read("b/c/f.jdoc"), document.ToText());
    }
    EXPECT_FALSE(Generator("f.xdoc").UpdateSelfReferences("a/no.xdoc", "b/no.xdoc"));
}

TEST_F(Rewriting, FilesThatBelongToAResourceMoveWithIt) {
    Renamed({{"a/part.h", "b/part.h"}});
    project.Touch("a/s.bin", "a/s_x.bin", "b/full.bin", "a/e.x.vs", "a/e_gl.vs", "a/in.h",
                  "a/c.hlsl", "fx/c.hlsl", "fx/d.hlsl", "a/k.bin", "b/k_x.bin", "a/k_x.bin");
    project.Write("b/e.y.nfx",
                  "#include \"in.h\"\n#include \"in.h\"\n#include \"no.h\"\n"
                  "#include \"part.h\"\n#include \"../b/../in.h\"");
    project.Write("b/t.surf", "<r><use file='fx/c.hlsl'/><use file='fx/d.hlsl'/></r>");
    test::LogCapture log;
    EXPECT_TRUE(Generator("x.xmat").Rename("a\\s.xmat", "b\\full.xmat", false));
    EXPECT_TRUE(Generator("x.jmat").Rename("a\\s.jmat", "b\\t.jmat", false));
    EXPECT_TRUE(Generator("x.jmat").Rename("b\\t.jmat", "b\\t.old.jmat", false));
    EXPECT_TRUE(Generator("x.xmat").MoveCompanionFiles("a\\k.xmat", "b\\k.xmat"));
    EXPECT_TRUE(Generator("x.nfx").Rename("a/e.x.nfx", "b/e.y.nfx", false));
    EXPECT_TRUE(Generator("x.surf").Rename("a\\t.surf", "b\\t.surf", false));
    const std::string move = "Move File from ";
    EXPECT_THAT(
        log.TakeTexts(),
        testing::IsSupersetOf({move + "a\\s.bin to b\\full.bin failed!",
                               "[Dependency]" + move + "a\\k_x.bin to b\\k_x.bin failed!",
                               move + "a\\no.h to b\\no.h failed!",
                               std::string("Copy hlsl file,hlsl file not found!:a\\d.hlsl")}));
    for (const char* there : {"b/t.bin", "a/s_x.bin", "b/k.bin", "a/k.bin", "b/e.y.vs", "a/e_gl.vs",
                              "b/in.h", "b/c.hlsl", "fx/c.hlsl", "b/part.h"})
        EXPECT_TRUE(project.Directory().Exists(std::string("res/") + there)) << there;
    EXPECT_TRUE(Generator("x.nfx").Rename("b\\e.y.nfx", "b\\e.z.nfx", false));
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
}

TEST_F(Rewriting, WhatWasListedIsListedUnderItsNewName) {
    Generator("f.xdoc");  // makes the configured ones
    auto& xml = *new CDependencyXML("xall");
    auto& json = *new CDependencyJSON("jall");
    const auto check = [&](CDependencyBase& generator, bool moves, int mask,
                           const std::string& prefix, const std::string& suffix) {
        const auto anyFile = [&] {
            return vxio::GetDirName(*test::AnyKey()) + "f." + generator.GetExtension();
        };
        const std::string file = anyFile();
        const std::string newFile = moves ? anyFile() : file;
        const auto oldKey = *test::AnyKey();
        const auto newKey = moves ? oldKey : *test::AnyKey();
        RC_PRE(oldKey != newKey || file != newFile);
        RC_PRE((mask & 0x20) == 0 || (mask & 0x3) != 0 || newKey.find('#') == newKey.npos);
        project.Remove("");
        project.Touch(*test::AnyKey(), *test::AnyKey());
        project.Remove(newKey);
        project.Touch(oldKey);
        auto text = *test::AnyText(oldKey);
        std::ranges::replace(text, '\\', '/');  // which JSON would escape
        project.Write(file, prefix + text + suffix);
        List before, after, bound;
        RC_ASSERT(generator.GenerateDependency(file, before, bound));
        const bool named = std::ranges::count(before, oldKey) > 0;
        project.Remove(oldKey);
        project.Touch(newKey);
        project.Write(newFile, prefix + text + suffix);
        if (moves) RC_ASSERT(generator.UpdateSelfReferences(file, newFile));
        if (!moves) generator.RenameReference(file, oldKey, newKey);
        const std::string bytes = project.Read(newFile);
        RC_LOG() << file << ": " << text << " for " << oldKey << " in " << newFile << ": " << bytes
                 << " for " << newKey;
        RC_ASSERT(bytes.starts_with(prefix) && bytes.ends_with(suffix));
        RC_ASSERT(!before.empty() || bytes == prefix + text + suffix);
        RC_ASSERT(generator.GenerateDependency(newFile, after, bound));
        if (moves && before.size() > 1) return;
        RC_ASSERT(!named || std::ranges::count(after, newKey) > 0);
    };
    EXPECT_TRUE(rc::check("for every strategy", [&] {
        const int mask = *rc::gen::inRange(0, 0x2000) & ~0x240;
        const std::string name = "m" + std::to_string(mask);
        xml.AddRule("r", name, mask);
        json.AddRule(name, "", mask);
        const std::string start = "\xEF\xBB\xBF<r\r\n\t" + name + " ='";
        check(xml, false, mask, start, "' x = '&#65;'/><!-- -->\r\n");
        check(xml, true, mask, start, "'/>");
        check(json, false, mask, "\xEF\xBB\xBF{\t\"" + name + "\" : \"",
              "\", \"n\": 1.50 } // c\r\n");
    }));
}

}  // namespace
}  // namespace vexa
