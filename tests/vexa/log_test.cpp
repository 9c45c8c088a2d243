#include "vexa/common/Log.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "tests/support/LogCapture.h"

namespace vexa {
namespace {

using Messages = std::vector<test::LogCapture::Message>;

TEST(Log, FormatsAsPrintfAndKeepsSeverityAndOrder) {
    test::LogCapture log;
    const std::string longText(100000, 'x');
    Log(0, "%d %% of %s\n", 12, "a");
    LogWarning("%s", longText.c_str());
    LogError("failed： 0x%x!", 0x20u);
    Log(1, "dropped");
    SetLogLevel(2);
    Log(2, "kept");
    EXPECT_EQ(log.Take(), (Messages{{LogSeverity::Info, "12 % of a"},
                                    {LogSeverity::Warning, longText},
                                    {LogSeverity::Error, "failed： 0x20!"},
                                    {LogSeverity::Info, "kept"}}));
}

TEST(Log, SurvivesASinkThatThrowsAndASinkThatLogs) {
    int calls = 0;
    SetLogSink([&](LogSeverity, const std::string& text) {
        ++calls;
        if (text == "logs") LogWarning("from the sink");
        if (text == "throws") throw std::runtime_error("disk full");
    });
    Log(0, "throws");
    Log(0, "logs");
    FlushLog();
    FlushLog();  // the message that the sink logged
    EXPECT_EQ(calls, 3);
}

TEST(LogDeathTest, WritesToStandardErrorWhatIsLoggedUntilTheVeryEnd) {
    struct Late {
        ~Late() { LogError("late"); }
    };
    EXPECT_EXIT(
        {
            static const Late late;
            Log(0, "plain");
            LogWarning("two");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^plain\nwarning: two\nerror: late\n$");
}

}  // namespace
}  // namespace vexa
