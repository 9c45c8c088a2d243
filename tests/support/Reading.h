#pragma once

#include <gmock/gmock.h>

#include <string>
#include <string_view>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa::test {

using List = CDependencyBase::List;

struct ReadingCase {
    const char* what;
    std::string text;
    List expected;
};

// Notes what it is told, as "FILE:LINE RULE TEXT missing" and keys.
struct NotingObserver final : IReferenceObserver {
    void OnReference(const ReferenceReport& report) override {
        const ReferencePlace place = report.site.Describe();
        references.push_back(report.file + ":" + std::to_string(place.line) + " " + place.rule +
                             " " + report.text + (report.candidates[0].exists ? "" : " missing"));
    }
    void OnAbsent(const std::string& key) override { absent.push_back(key); }
    void OnReadThrough(const std::string& key) override { readThrough.push_back(key); }

    List references, absent, readThrough;
    ObserverUse use{this};
};

// A project in which generators read files.
class ReadingTest : public testing::Test {
protected:
    explicit ReadingTest(std::string_view xmlConfig, std::string_view jsonConfig = "{}")
        : project(xmlConfig, jsonConfig) {}

    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    CDependencyBase& Generator(const std::string& key) {
        return *Manager().GetDependencyGenerator(key);
    }
    // Whether the generator reads the file, of which it lists what it names.
    bool Read(const std::string& key) {
        first.clear();
        second.clear();
        return Generator(key).GenerateDependency(GeneratorForm(key), first, second);
    }
    void ExpectLists(const std::string& key, const std::vector<ReadingCase>& cases) {
        for (const auto& [what, text, expected] : cases) {
            SCOPED_TRACE(what);
            project.Write(key, text);
            EXPECT_TRUE(Read(key));
            EXPECT_EQ(first, expected);
            EXPECT_THAT(second, testing::IsEmpty());
        }
    }
    // That the file and ones that are not there are refused with a reason, and nothing is listed.
    void ExpectRefusals(const std::string& broken, const std::string& reason) {
        CDependencyBase& generator = Generator(broken);
        const std::string gone = "gone." + std::string(generator.GetExtension());
        first = {"x", "x"};
        LogCapture log;
        EXPECT_FALSE(generator.GenerateDependency(GeneratorForm(broken), first, second));
        EXPECT_FALSE(generator.GenerateDependency("dir\\" + gone, first, second));
        EXPECT_FALSE(generator.GenerateDependency("..\\" + gone, first, second));
        EXPECT_THAT(log.TakeTexts(),
                    testing::ElementsAre(broken + ": cannot be read as " + reason,
                                         "dir/" + gone + ": cannot be read: there is no such file",
                                         testing::HasSubstr("..\\" + gone + ": cannot be read")));
        EXPECT_THAT(first, testing::ElementsAre("x", "x"));
        EXPECT_THAT(second, testing::IsEmpty());
    }

    static std::string Repeat(const std::string& text, int times) {
        std::string result;
        for (int i = 0; i < times; ++i) result += text;
        return result;
    }

    const Project project;
    List first, second;
};

}  // namespace vexa::test
