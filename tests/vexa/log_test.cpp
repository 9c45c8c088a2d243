#include "vexa/common/Log.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vexa {
namespace {

using Messages = std::vector<std::pair<LogSeverity, std::string>>;

class LogTest : public testing::Test {
protected:
    LogTest() {
        SetLogSink([this](LogSeverity severity, const std::string& text) {
            m_messages.emplace_back(severity, text);
        });
    }
    ~LogTest() override {
        FlushLog();
        SetLogSink({});
    }
    const Messages& Flushed() {
        FlushLog();
        return m_messages;
    }
    Messages m_messages;
};

TEST_F(LogTest, FormatsAsPrintfAndKeepsSeverityAndOrder) {
    const std::string longText(100000, 'x');
    Log(0, "%d %% of %s\n", 12, "a");
    LogWarning("%s", longText.c_str());
    LogError("failed： 0x%x!", 0x20u);
    EXPECT_EQ(Flushed(), (Messages{{LogSeverity::Info, "12 % of a"},
                                   {LogSeverity::Warning, longText},
                                   {LogSeverity::Error, "failed： 0x20!"}}));
}

TEST_F(LogTest, DropsMessagesAboveTheLevel) {
    Log(1, "dropped");
    SetLogLevel(2);
    Log(2, "kept");
    EXPECT_EQ(Flushed(), (Messages{{LogSeverity::Info, "kept"}}));
}

TEST_F(LogTest, SurvivesASinkThatThrowsAndASinkThatLogs) {
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
