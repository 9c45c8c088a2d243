// Reading references from XML files.

#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using List = CDependencyBase::List;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kConfig = R"({
    "doc": {"name_list": [
        {"e": "Item_*", "a": "file", "s": 1}, {"e": "Item_*", "a": "second", "s": 2},
        {"e": "group", "a": "model", "s": 65},
        {"e": "bound", "a": "mat", "s": 129}, {"e": "part", "a": "source", "s": 33}]},
    "mat": {"name_list": [{"e": "", "a": ".bin", "s": 0}, {"e": "", "a": "_x.bin", "s": 4096},
                          {"e": "", "a": ".none", "s": 0}, {"e": "use", "a": "file", "s": 1}]}})";

class XmlReading : public testing::Test {
protected:
    CDependencyBase& Generator(const std::string& key) {
        return *CDependencyManager::GetSingletonPtr()->GetDependencyGenerator(key);
    }
    bool Read(const std::string& key) {
        first.clear();
        second.clear();
        return Generator(key).GenerateDependency(GeneratorForm(key), first, second);
    }

    test::Project project{kConfig};
    List first;
    List second;
};

std::string Utf16(const std::string& ascii) {
    std::string text = "\xFF\xFE";
    for (const char c : ascii) text.append({c, '\0'});
    return text;
}

std::string Repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

TEST_F(XmlReading, FindsTheReferencesThatRulesName) {
    project.Touch("a.png", "dir/a.png", "dir/b.png", "dir/c d.png", "dir/sub/c.png", "dir/x#1.png");
    const std::string plain = "<r><Item_1 file='b.png'/></r>";
    const struct {
        const char* what;
        std::string text;
        List expected;
    } cases[] = {
        {"numbered elements share a rule",
         "<r><Item_1 file='b.png'/><Item_22 file='a.png'/></r>",
         {"dir/b.png", "dir/a.png", "a.png"}},
        {"other names do not", "<r><Item file='b.png'/><item_1 file='b.png'/></r>", {}},
        {"rules in their order, not the attributes'",
         "<Item_1 second='dir/sub/c.png' file='b.png'/>",
         {"dir/b.png", "dir/sub/c.png"}},
        {"outer before inner, in document order",
         "<r><Item_1 file='b.png'><Item_2 file='sub/c.png'/></Item_1><Item_3 file='c d.png'/></r>",
         {"dir/b.png", "dir/sub/c.png", "dir/c d.png"}},
        {"the children's attribute, of any name",
         "<r><group model='a.png'><x model='b.png'><y model='sub/c.png'/></x></group></r>",
         {"dir/b.png"}},
        {"no children", "<r><group model='b.png'/></r>", {}},
        {"empty and missing attributes", "<r><Item_1 file=''/><Item_2 other='b.png'/></r>", {}},
        {"what is not there, and folders",
         "<r><Item_1 file='no.png'/><Item_2 file='sub'/></r>",
         {}},
        {"every reference once",
         "<r><Item_1 file='b.png'/><Item_2 file='./b.png'/></r>",
         {"dir/b.png"}},
        {"other spellings",
         "<r><Item_1 file='..\\dir\\b.png'/><Item_1 file='sub/../c&#x20;d.png'/></r>",
         {"dir/b.png", "dir/c d.png"}},
        {"above the root",
         "<r><Item_1 file='../../a.png'/><Item_1 file='../a.png'/></r>",
         {"a.png"}},
        {"texts that are no path",
         "<r><part source='#ffffff99'/><Item_1 file='*.png'/><Item_2 file='" +
             std::string(70'000, 'p') + "'/><Item_2 file='" + Repeat("p/", 300) + "'/></r>",
         {}},
        {"with a selector, and a name like one",
         "<r><part source='b.png#1'/><part source='x#1.png'/></r>",
         {"dir/b.png", "dir/x#1.png"}},
        {"several roots",
         "<Item_1 file='b.png'/><Item_1 file='sub/c.png'/>",
         {"dir/b.png", "dir/sub/c.png"}},
        {"byte order mark", "\xEF\xBB\xBF" + plain, {"dir/b.png"}},
        {"UTF-16", Utf16(plain), {"dir/b.png"}},
        {"line ends",
         "<?xml version='1.0'?>\r\n<r>\r\n\t<Item_1\r\n file='b.png'/>\r</r>\r\n",
         {"dir/b.png"}},
        {"comments and texts",
         "<r><!-- <Item_1 file='a.png'/> --><![CDATA[<Item_1 file='a.png'/>]]>"
         "<Item_1 file='b.png'>text</Item_1></r>",
         {"dir/b.png"}},
        {"deep nesting", Repeat("<n>", 100'000) + plain + Repeat("</n>", 100'000), {"dir/b.png"}},
    };
    for (const auto& [what, text, expected] : cases) {
        SCOPED_TRACE(what);
        project.Write("dir/f.doc", text);
        EXPECT_TRUE(Read("dir/f.doc"));
        EXPECT_EQ(first, expected);
        EXPECT_THAT(second, IsEmpty());
    }
}

TEST_F(XmlReading, ReportsCompanionFilesFirst) {
    // The stem ends at the first "." of the name, wherever the directory has some.
    project.Touch("v1.2/stone.bin", "v1.2/stone_x.bin", "v1.2/a.png", "stone.bin");
    for (const std::string key : {"v1.2/stone.old.mat", "stone.mat"}) {
        project.Write(key, "<use file='a.png'/>");
    }
    EXPECT_TRUE(Read("v1.2/stone.old.mat"));
    EXPECT_THAT(first, ElementsAre("v1.2/stone.bin", "v1.2/stone_x.bin", "v1.2/a.png"));
    EXPECT_TRUE(Read("stone.mat"));
    EXPECT_THAT(first, ElementsAre("stone.bin"));
}

TEST_F(XmlReading, FilesBoundToAResourceGoToTheSecondList) {
    project.Touch("dir/stone.bin", "dir/stone_x.bin");
    project.Write("dir/f.doc", "<r><bound mat='stone.mat'/><bound mat='./stone.mat'/></r>");
    EXPECT_TRUE(Read("dir/f.doc"));
    EXPECT_THAT(first, IsEmpty()) << "stone.mat is not there";
    EXPECT_THAT(second, ElementsAre("dir/stone.bin", "dir/stone_x.bin"));
}

TEST_F(XmlReading, UnreadableFilesLeaveTheListsAlone) {
    project.Touch("a.png", "broken.bin");
    project.Write("broken.mat", "<r>\n<use file='a.png'></r>");
    CDependencyBase& generator = Generator("broken.mat");
    first = {"x", "x"};
    test::LogCapture log;
    EXPECT_FALSE(generator.GenerateDependency(".\\broken.mat", first, second));
    EXPECT_THAT(log.TakeTexts(), ElementsAre(testing::AllOf(
                                     testing::StartsWith("broken.mat: cannot be read as XML: "),
                                     HasSubstr("line 2"))));
    EXPECT_FALSE(generator.GenerateDependency("dir\\gone.mat", first, second));
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre("dir/gone.mat: cannot be read: there is no such file"));
    EXPECT_FALSE(generator.GenerateDependency("..\\out.mat", first, second));
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr("..\\out.mat: cannot be read")));
    EXPECT_THAT(first, ElementsAre("x", "x"));
    EXPECT_THAT(second, IsEmpty());
}

TEST_F(XmlReading, CopyingNeverOverwrites) {
    project.Write("a.mat", "new");
    project.Write("dir/old.mat", "old");
    CDependencyBase& generator = Generator("a.mat");
    test::LogCapture log;
    EXPECT_TRUE(generator.CopyResourceFile(".\\a.mat", "dir\\b.mat"));
    EXPECT_EQ(project.Read("dir/b.mat"), "new");
    EXPECT_FALSE(generator.CopyResourceFile("a.mat", "dir/old.mat"));
    EXPECT_EQ(project.Read("dir/old.mat"), "old");
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre("[Dependency]Copy File from a.mat to dir/old.mat failed!"));
}

}  // namespace
}  // namespace vexa
