// Entering animations into animation configurations.

#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AnimConfig : public testing::Test {
protected:
    AnimConfig() { project.Write("m/r.skeleton", "<Skeleton/>"); }

    void WriteConfig(const std::string& key, const std::string& text) {
        project.Write(key, text);
        CDependencyManager::GetSingleton().GenerateDependency(key, "");
    }
    // Enters an animation for m/r.skeleton, by the generator of its file.
    void Enter(const std::string& animation) {
        CDependencyManager& manager = CDependencyManager::GetSingleton();
        manager.GetDependencyGenerator(animation)->UpdateAnimConfig("m\\r.skeleton", animation);
    }
    // What a file holds, without the numbers behind underscores.
    std::string Shape(const std::string& key) {
        std::string shape;
        for (const char c : project.Read(key)) {
            const bool inNumber = !shape.empty() && shape.back() == '_' && c >= '0' && c <= '9';
            if (!inNumber) shape += c;
        }
        return shape;
    }

    test::Project project{R"({"animation": {}, "skeleton": {},
        "animconfig": {"name_list": [{"e": "AnimConfig", "a": "skeleton", "s": 0}]},
        "AnimConfig": {"name_list": [{"e": "AnimConfig", "a": "skeleton", "s": 0}]}})",
                          R"({"animation": {}})"};
};

const std::string kHead = "<AnimConfig skeleton='m/r.skeleton'>\n\t<AnimationList>\n";
const std::string kTail = "\t</AnimationList>\n</AnimConfig>";

TEST_F(AnimConfig, TheFirstUserOfTheResourceGetsTheAnimation) {
    WriteConfig("a/one.AnimConfig", kHead + kTail);
    WriteConfig("m/two.animconfig", kHead + kTail);
    WriteConfig("a/three.animconfig", kHead + kTail);
    project.Write("m/x/walk.v2.animation", "{}");
    Enter("m/x/walk.v2.animation");
    project.Write("run.animation", "<a/>");
    Enter(".\\run.animation");
    Enter(project.Resource("run.animation"));
    EXPECT_EQ(Shape("m/two.animconfig"),
              kHead + "\t\t<Animation Name=\"walk.v2_\" FileName=\"x/walk.v2.animation\"/>\n" +
                  "\t\t<Animation Name=\"run_\" FileName=\"../run.animation\"/>\n" +
                  "\t\t<Animation Name=\"run_\" FileName=\"../run.animation\"/>\n" + kTail);
    EXPECT_EQ(Shape("a/one.AnimConfig"), kHead + kTail);
    EXPECT_EQ(Shape("a/three.animconfig"), kHead + kTail);
}

TEST_F(AnimConfig, FilesThatCannotTakeItStayAsTheyAre) {
    test::LogCapture log;
    Enter("run.animation");
    EXPECT_THAT(log.TakeTexts(), IsEmpty()) << "no configuration, no message";
    const std::string path = project.Resource("a/c.animconfig");
    WriteConfig("a/c.animconfig", "<AnimConfig skeleton='m/r.skeleton'><Other/></AnimConfig>");
    Enter("run.animation");
    EXPECT_THAT(log.TakeTexts(), ElementsAre(testing::StartsWith(path + ": ")));
    EXPECT_THAT(project.Read("a/c.animconfig"), HasSubstr("><Other/></"));
    project.Write("a/c.animconfig", "<AnimConfig>");
    Enter("run.animation");
    EXPECT_THAT(log.TakeTexts(), Contains(HasSubstr("cannot be read as XML")));
    EXPECT_EQ(project.Read("a/c.animconfig"), "<AnimConfig>");
}

}  // namespace
}  // namespace vexa
