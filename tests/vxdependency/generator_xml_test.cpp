// Reading references from XML files.

#include "tests/support/Reading.h"

namespace vexa::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kConfig = R"({
    "doc": {"name_list": [
        {"e": "Item_*", "a": "file", "s": 1}, {"e": "Item_*", "a": "second", "s": 2},
        {"e": "group", "a": "model", "s": 65},
        {"e": "bound", "a": "mat", "s": 129}, {"e": "part", "a": "source", "s": 33}]},
    "mat": {"name_list": [{"e": "", "a": ".bin", "s": 0}, {"e": "", "a": "_x.bin", "s": 4096},
                          {"e": "", "a": ".none", "s": 0}, {"e": "use", "a": "file", "s": 1}]}})";

class XmlReading : public ReadingTest {
protected:
    XmlReading() : ReadingTest(kConfig) {}
};

std::string Utf16(const std::string& ascii) {
    std::string text = "\xFF\xFE";
    for (const char c : ascii) text.append({c, '\0'});
    return text;
}

TEST_F(XmlReading, FindsTheReferencesThatRulesName) {
    project.Touch("a.png", "dir/a.png", "dir/b.png", "dir/c d.png", "dir/sub/c.png", "dir/x#1.png");
    const std::string plain = "<r><Item_1 file='b.png'/></r>";
    const std::vector<ReadingCase> cases = {
        {"numbered elements share a rule",
         "<r><Item_1 file='b.png'/><Item_22 file='a.png'/></r>",
         {"dir/b.png", "dir/a.png", "a.png"}},
        {"rules in their order, not the attributes'",
         "<Item_1 second='dir/sub/c.png' file='b.png'/>",
         {"dir/b.png", "dir/sub/c.png"}},
        {"outer before inner, in document order",
         "<r><Item_1 file='b.png'><Item_2 file='sub/c.png'/></Item_1><Item_3 file='c "
         "d.png'/></r>",
         {"dir/b.png", "dir/sub/c.png", "dir/c d.png"}},
        {"the children's attribute, of any name",
         "<r><group model='a.png'><x model='b.png'><y model='sub/c.png'/></x></group></r>",
         {"dir/b.png"}},
        {"other names, no children, empty and missing attributes",
         "<r><Item file='b.png'/><group model='b.png'/><Item_1 file=''/><Item_2 "
         "other='b.png'/></r>",
         {}},
        {"missing, and folders", "<r><Item_1 file='no.png'/><Item_2 file='sub'/></r>", {}},
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
        {"UTF-16", Utf16(plain), {"dir/b.png"}},
        {"comments and texts",
         "<r><!-- <Item_1 file='a.png'/> --><![CDATA[<Item_1 file='a.png'/>]]>"
         "<Item_1 file='b.png'>text</Item_1></r>",
         {"dir/b.png"}},
        {"deep nesting", Repeat("<n>", 100'000) + plain + Repeat("</n>", 100'000), {"dir/b.png"}},
    };
    ExpectLists("dir/f.doc", cases);
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
    ExpectRefusals("broken.mat", "XML: line 2, column 21: start-end tags mismatch");
}

TEST_F(XmlReading, CopyingNeverOverwrites) {
    project.Write("a.mat", "new");
    project.Write("dir/old.mat", "old");
    CDependencyBase& generator = Generator("a.mat");
    LogCapture log;
    EXPECT_TRUE(generator.CopyResourceFile(".\\a.mat", "dir\\b.mat"));
    EXPECT_EQ(project.Read("dir/b.mat"), "new");
    EXPECT_FALSE(generator.CopyResourceFile("a.mat", "dir/old.mat"));
    EXPECT_EQ(project.Read("dir/old.mat"), "old");
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre("[Dependency]Copy File from a.mat to dir/old.mat failed!"));
}

}  // namespace
}  // namespace vexa::test
