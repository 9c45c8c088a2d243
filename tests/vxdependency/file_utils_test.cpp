#include <gmock/gmock.h>

#include <boost/filesystem/exception.hpp>
#include <filesystem>

#include "tests/support/TempDir.h"
#include "vxdependency/rename/FileUtils.h"

namespace vexa {
namespace {

class CopyDirTest : public testing::Test {
protected:
    bool Copy(const std::string& source, const std::string& destination,
              FileUtils::OnFile onFile = nullptr) {
        testing::internal::CaptureStderr();
        const bool copied =
            FileUtils::CopyDir(m_dir.Path(source), m_dir.Path(destination), std::move(onFile));
        m_message = testing::internal::GetCapturedStderr();
        return copied;
    }

    test::TempDir m_dir;
    std::string m_message;
};

TEST_F(CopyDirTest, CopiesEveryDepth) {
    m_dir.Write("from/a b.txt", "a");
    m_dir.Write("from/deep/er/#.txt", "b");
    std::filesystem::create_directory(m_dir.Path("from/empty"));
    ASSERT_TRUE(Copy("from", "to"));
    EXPECT_EQ(m_dir.Read("to/a b.txt"), "a");
    EXPECT_EQ(m_dir.Read("to/deep/er/#.txt"), "b");
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path("to/empty")));
    EXPECT_THROW(Copy("from", "to"), boost::filesystem::filesystem_error) << "nothing is replaced";
}

TEST_F(CopyDirTest, LeavesFilesToTheCallback) {
    m_dir.Write("from/a.txt", "a");
    m_dir.Write("from/deep/b.txt", "b");
    std::vector<std::string> calls;
    const auto onFile = [&calls](const std::string& source, const auto& target) {
        EXPECT_TRUE(std::filesystem::is_directory(target.parent_path().string()));
        calls.push_back(source + " " + target.string());
    };
    ASSERT_TRUE(Copy("from", "to", onFile));
    EXPECT_THAT(calls, testing::UnorderedElementsAre(
                           m_dir.Path("from/a.txt ") + m_dir.Path("to/a.txt"),
                           m_dir.Path("from/deep/b.txt ") + m_dir.Path("to/deep/b.txt")));
    EXPECT_FALSE(m_dir.Exists("to/a.txt"));
}

TEST_F(CopyDirTest, SaysWhatIsInTheWay) {
    m_dir.Write("file", "");
    EXPECT_FALSE(Copy("file", "to"));
    EXPECT_EQ(m_message, "Source directory " + m_dir.Path("file") +
                             " does not exist or is not a directory.\n");
    EXPECT_FALSE(m_dir.Exists("to"));
    m_dir.Write("from/deep/a.txt", "a");
    EXPECT_FALSE(Copy("from", "no/parent"));
    EXPECT_EQ(m_message, "Unable to create destination directory" + m_dir.Path("no/parent") + "\n");
}

}  // namespace
}  // namespace vexa
