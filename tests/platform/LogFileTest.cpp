#include "log_file.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/LoggedLines.h"
#include "support/PrivateFolders.h"

using quorvel::desktop::LogFile;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

class LogFileTest : public testing::Test {
protected:
    static void Write(LogFile& file, const std::string& text) {
        file.Write({"QEL", spdlog::level::info, text});
    }

    std::vector<std::string> Messages(const std::string& name) const {
        return MessagesOf(ReadFile(m_Folder / name));
    }

    PrivateFolders m_Folders;
    fs::path m_Folder = m_Folders.Root() / "new/folder";
    std::string m_Path = m_Folder / "a.log";
};

TEST_F(LogFileTest, KeepsTheLinesOfEarlierRuns) {
    for (const char* text : {"one", "two"}) {
        LogFile file(m_Path, 1000, 2);
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.log"), ElementsAre("one", "two"));
}

TEST_F(LogFileTest, RotatesAndDropsTheOldest) {
    LogFile file(m_Path, 100, 2);
    for (const char* text : {"one", "two", "three", "four", "five", "six", "seven"}) {
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.2.log"), ElementsAre("three", "four"));
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("five", "six"));
    EXPECT_THAT(Messages("a.log"), ElementsAre("seven"));
    EXPECT_FALSE(fs::exists(m_Folder / "a.3.log"));
}

TEST_F(LogFileTest, LineLongerThanAFileIsNotCut) {
    LogFile file(m_Path, 100, 1);
    const std::string text(500, 'x');
    Write(file, "one");
    Write(file, text);
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("one"));
    EXPECT_THAT(Messages("a.log"), ElementsAre(text));
}

TEST_F(LogFileTest, FollowsARotationByAnotherProgram) {
    LogFile file(m_Path, 100, 2);
    LogFile other(m_Path, 100, 2);
    Write(file, "one");
    for (const char* text : {"two", "three", "four"}) {
        Write(other, text);
    }
    Write(file, "five");
    EXPECT_THAT(Messages("a.log"), ElementsAre("four", "five"));
}

TEST_F(LogFileTest, ComesBackAfterItsRemoval) {
    LogFile file(m_Path, 1000, 2);
    Write(file, "one");
    fs::remove_all(m_Folder);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

}  // namespace
