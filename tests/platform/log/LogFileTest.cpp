#include "log/log_file.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/fakes/FailingCalls.h"
#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"

using quorvel::desktop::LogFile;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

// Limits the size of each file that this process writes to, as a full disk does. The destructor
// removes the limit.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes) : m_Handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_Before);
        const rlimit limit{bytes, m_Before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_Before);
        (void)std::signal(SIGXFSZ, m_Handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*m_Handler)(int);
    rlimit m_Before{};
};

class LogFileTest : public testing::Test {
protected:
    LogFile Open(std::size_t maxBytes, std::size_t oldFiles, std::size_t startBytes = 10000) const {
        return {m_Path, {maxBytes, oldFiles, startBytes}};
    }

    static void Write(LogFile& file, const std::string& text) {
        file.Write("I/QEL     (12345): " + text + "\n");
    }

    // Writes a line on a full disk, which accepts only "I/QEL     (". The next line fails too.
    void WritePart(LogFile& file) const {
        const FileSizeLimit limit(fs::file_size(m_Path) + std::string("I/QEL     (").size());
        EXPECT_THROW(Write(file, "two"), std::runtime_error);
        EXPECT_THROW(Write(file, "two"), std::runtime_error);
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
    // The length of a line whose message has three letters.
    const std::size_t m_ThreeLetters = std::string("I/QEL     (12345): one\n").size();
};

TEST_F(LogFileTest, KeepsLinesOfEarlierProcesses) {
    for (const char* text : {"one", "two"}) {
        LogFile file = Open(1000, 2);
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.log"), ElementsAre("one", "two"));
}

TEST_F(LogFileTest, RotatesAndRemovesOldestFile) {
    LogFile file = Open(50, 2);
    for (const char* text : {"one", "two", "three", "four", "five", "six", "seven"}) {
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.2.log"), ElementsAre("three", "four"));
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("five", "six"));
    EXPECT_THAT(Messages("a.log"), ElementsAre("seven"));
    EXPECT_FALSE(fs::exists(m_Folder / "a.3.log"));
}

TEST_F(LogFileTest, FillsFileUpToMaximumSize) {
    LogFile file = Open(2 * m_ThreeLetters, 1);
    Write(file, "one");
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("one", "two"));
    Write(file, "ten");
    EXPECT_THAT(Messages("a.log"), ElementsAre("ten"));
}

TEST_F(LogFileTest, EmptiesLogThatCannotBeRenamed) {
    fs::create_directories(m_Folder / "a.1.log/folder");
    LogFile file = Open(50, 1);
    for (const char* text : {"one", "two", "three"}) {
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.log"), ElementsAre("three"));
}

TEST_F(LogFileTest, KeepsLineLongerThanMaximumSize) {
    LogFile file = Open(50, 1);
    const std::string text(500, 'x');
    Write(file, "one");
    Write(file, text);
    EXPECT_THAT(Messages("a.1.log"), ElementsAre("one"));
    EXPECT_THAT(Messages("a.log"), ElementsAre(text));
}

TEST_F(LogFileTest, FollowsRotationByAnotherProgram) {
    LogFile file = Open(50, 2);
    LogFile other = Open(50, 2);
    Write(file, "one");
    for (const char* text : {"two", "three", "four"}) {
        Write(other, text);
    }
    Write(file, "five");
    EXPECT_THAT(Messages("a.log"), ElementsAre("four", "five"));
}

TEST_F(LogFileTest, CreatesFileAgainAfterRemoval) {
    LogFile file = Open(1000, 2);
    Write(file, "one");
    fs::remove_all(m_Folder);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, CreatesFileAgainAfterRenameOfFolder) {
    LogFile file = Open(1000, 2);
    Write(file, "one");
    fs::rename(m_Folder, m_Folders.Root() / "other");
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
    EXPECT_THAT(MessagesOf(ReadFile(m_Folders.Root() / "other/a.log")), ElementsAre("one"));
}

// The folder of the log does not change, so only a regular check detects the removal.
TEST_F(LogFileTest, CreatesFileBehindLinkAfterRemoval) {
    fs::create_directories(m_Folder);
    const fs::path target = m_Folders.Root() / "target.log";
    fs::create_symlink(target, m_Path);
    LogFile file = Open(10000, 2);
    Write(file, "one");
    fs::remove(target);
    EXPECT_TRUE(Await([&] {
        Write(file, "two");
        return fs::exists(target);
    }));
}

// The system limits the number of inotify instances of a user.
TEST_F(LogFileTest, CreatesFileAgainWithoutWatch) {
    const FailingCallScope failing(FailingCall::kWatch);
    LogFile file = Open(1000, 2);
    Write(file, "one");
    fs::remove(m_Path);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, KeepsFirstLinesDespiteRotation) {
    LogFile file = Open(2 * m_ThreeLetters, 1, 3 * m_ThreeLetters);
    for (const char* text : {"one", "two", "ten", "six", "ten", "six", "ten"}) {
        Write(file, text);
    }
    EXPECT_THAT(Messages("a.start.log"), ElementsAre("one", "two", "ten"));
    EXPECT_EQ(ModeOf("a.start.log"), static_cast<fs::perms>(0600));
}

TEST_F(LogFileTest, KeepsFirstLinesOfLastProcessOnly) {
    for (const char* text : {"one", "two"}) {
        LogFile file = Open(1000, 1, m_ThreeLetters);
        Write(file, text);
        Write(file, "ten");
    }
    EXPECT_THAT(Messages("a.start.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, CreatesNoStartFileForFewLines) {
    LogFile file = Open(1000, 1, 2 * m_ThreeLetters);
    Write(file, "one");
    Write(file, "two");
    EXPECT_FALSE(fs::exists(m_Folder / "a.start.log"));
}

// A process that is killed can leave the file with the temporary name.
TEST_F(LogFileTest, ReplacesUnfinishedStartFile) {
    fs::create_directories(m_Folder);
    std::ofstream(m_Folder / "a.start.log.new") << "part";
    LogFile file = Open(1000, 1, m_ThreeLetters);
    Write(file, "one");
    Write(file, "two");
    EXPECT_THAT(Messages("a.start.log"), ElementsAre("one"));
    EXPECT_FALSE(fs::exists(m_Folder / "a.start.log.new"));
}

TEST_F(LogFileTest, OmitsLineThatExceedsStartFile) {
    LogFile file = Open(10000, 1, m_ThreeLetters);
    Write(file, std::string(500, 'x'));
    Write(file, "one");
    EXPECT_FALSE(fs::exists(m_Folder / "a.start.log"));
}

TEST_F(LogFileTest, ReportsUnwritableStartFileOnceAndKeepsLines) {
    LogFile file = Open(10000, 1, m_ThreeLetters);
    fs::create_directories(m_Folder / "a.start.log/folder");
    Write(file, "one");
    EXPECT_THROW(Write(file, "two"), std::runtime_error);
    Write(file, "ten");
    EXPECT_THAT(Messages("a.log"), ElementsAre("one", "two", "ten"));
}

// A write must fail fast, because a thread that logs blocks all other threads that log.
TEST_F(LogFileTest, FailsFastWhileFileCannotBeOpened) {
    LogFile file = Open(1000, 2);
    fs::remove(m_Path);
    fs::create_directory(m_Path);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i) {
        EXPECT_THROW(Write(file, "one"), std::runtime_error);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    fs::remove(m_Path);
    Write(file, "two");
    EXPECT_THAT(Messages("a.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, EndsPartOfLineOnFullDisk) {
    LogFile file = Open(10000, 2);
    LogFile other = Open(10000, 2);
    Write(file, "one");
    WritePart(file);
    Write(other, "ten");
    Write(file, "six");
    EXPECT_EQ(
        ReadFile(m_Path),
        "I/QEL     (12345): one\nI/QEL     \nI/QEL     (12345): ten\nI/QEL     (12345): six\n");
}

TEST_F(LogFileTest, EndsPartOfLineWithNextLineWhenOverwritingFails) {
    LogFile file = Open(10000, 2);
    {
        const FailingCallScope failing(FailingCall::kOverwrite);
        WritePart(file);
    }
    Write(file, "one");
    EXPECT_EQ(ReadFile(m_Path), "I/QEL     \nI/QEL     (12345): one\n");
}

TEST_F(LogFileTest, OverwritesNothingInNewFile) {
    LogFile file = Open(10000, 2);
    {
        const FailingCallScope failing(FailingCall::kOverwrite);
        WritePart(file);
    }
    fs::remove(m_Path);
    Write(file, "one");
    EXPECT_EQ(ReadFile(m_Path), "I/QEL     (12345): one\n");
}

TEST_F(LogFileTest, CreatesPrivateFilesInSharedFolder) {
    fs::create_directories(m_Folder);
    fs::permissions(m_Folder, static_cast<fs::perms>(0755));
    LogFile file = Open(50, 2);
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
    const LogFile file = Open(1000, 2);
    EXPECT_EQ(ModeOf("a.log"), static_cast<fs::perms>(0600));
    EXPECT_THAT(Messages("a.log"), ElementsAre("one"));
}

}  // namespace
