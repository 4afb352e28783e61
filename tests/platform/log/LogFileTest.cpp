#include "log/log_file.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"

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

    fs::perms ModeOf(const std::string& name) const {
        return fs::status(m_Folder / name).permissions();
    }

    PrivateFolders m_Folders;
    fs::path m_Folder = m_Folders.Root() / "new/folder";
    std::string m_Path = m_Folder / "a.log";
};

TEST_F(LogFileTest, KeepsLinesOfEarlierRuns) {
    for (const char* text : {"one", "two"}) {
        LogFile file(m_Path, 1000, 2);
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.log"), ElementsAre("one", "two"));
}

TEST_F(LogFileTest, RotatesAndRemovesOldestFile) {
    LogFile file(m_Path, 100, 2);
    for (const char* text : {"one", "two", "three", "four", "five", "six", "seven"}) {
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.2.log"), ElementsAre("three", "four"));
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("five", "six"));
    EXPECT_THAT(Messages("a.log"), ElementsAre("seven"));
    EXPECT_FALSE(fs::exists(m_Folder / "a.3.log"));
}

TEST_F(LogFileTest, KeepsLineLongerThanMaximumSize) {
    LogFile file(m_Path, 100, 1);
    const std::string text(500, 'x');
    Write(file, "one");
    Write(file, text);
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("one"));
    EXPECT_THAT(Messages("a.log"), ElementsAre(text));
}

TEST_F(LogFileTest, FollowsRotationByAnotherProgram) {
    LogFile file(m_Path, 100, 2);
    LogFile other(m_Path, 100, 2);
    Write(file, "one");
    for (const char* text : {"two", "three", "four"}) {
        Write(other, text);
    }
    Write(file, "five");
    EXPECT_THAT(Messages("a.log"), ElementsAre("four", "five"));
}

TEST_F(LogFileTest, CreatesFileAgainAfterRemoval) {
    LogFile file(m_Path, 1000, 2);
    Write(file, "one");
    fs::remove_all(m_Folder);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

// A thread that logs blocks all other threads that log.
TEST_F(LogFileTest, FailsFastWhileFileCannotBeOpened) {
    LogFile file(m_Path, 1000, 2);
    fs::remove(m_Path);
    fs::create_directory(m_Path);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i) {
        EXPECT_THROW(Write(file, "one"), spdlog::spdlog_ex);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    fs::remove(m_Path);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, CreatesPrivateFilesInSharedFolder) {
    fs::create_directories(m_Folder);
    fs::permissions(m_Folder, static_cast<fs::perms>(0755));
    LogFile file(m_Path, 100, 2);
    for (const char* text : {"one", "two", "three"}) {
        Write(file, text);
    }
    EXPECT_EQ(ModeOf("a.log"), static_cast<fs::perms>(0600));
    EXPECT_EQ(ModeOf("a.1.log"), static_cast<fs::perms>(0600));
}

TEST_F(LogFileTest, RestrictsPermissionsOfExistingFile) {
    fs::create_directories(m_Folder);
    std::ofstream(m_Path) << "x): one\n";
    fs::permissions(m_Path, static_cast<fs::perms>(0644));
    const LogFile file(m_Path, 1000, 2);
    EXPECT_EQ(ModeOf("a.log"), static_cast<fs::perms>(0600));
    EXPECT_THAT(Messages("a.log"), ElementsAre("one"));
}

}  // namespace
