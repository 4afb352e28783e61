// Tests the search for runs in folders.

#include "runs/runs.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/fixtures/ArchiveFile.h"
#include "tools/fixtures/RunFolder.h"

namespace quorvel::runs {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class RunsTest : public testing::Test {
protected:
    SearchResult Find(const std::string& place = "stick") const {
        return FindRuns(m_Folder.Path(place));
    }
    std::vector<std::string> SerialNumbers(const std::string& place = "stick") const {
        std::vector<std::string> numbers;
        for (const runs::Run& run : Find(place).runs) {
            numbers.push_back(run.serialNumber);
        }
        return numbers;
    }

    RunFolder m_Folder;
};

TEST_F(RunsTest, ReturnsRunOfFolder) {
    m_Folder.WriteRun("stick", "SN1");
    const SearchResult result = Find();
    ASSERT_THAT(result.runs, SizeIs(1));
    EXPECT_EQ(result.runs[0].path, m_Folder.Path("stick"));
    EXPECT_EQ(result.runs[0].folder, m_Folder.Path("stick"));
    EXPECT_EQ(result.runs[0].unpacked, nullptr);
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_EQ(result.failure, "");
}

TEST_F(RunsTest, ReturnsFolderOfResultFile) {
    m_Folder.WriteRun("stick", "SN1");
    m_Folder.Write("stick/qelRnscXml.xml", "<a/>");
    m_Folder.WriteRun("stick/other", "SN2");
    EXPECT_THAT(SerialNumbers("stick/qelRnscXml.xml"), ElementsAre("SN1"));
}

TEST_F(RunsTest, FollowsLinkGivenAsPath) {
    m_Folder.WriteRun("elsewhere", "SN1");
    fs::create_symlink(m_Folder.Path("elsewhere"), m_Folder.Path("link"));
    fs::create_symlink(m_Folder.Path("elsewhere/qelXml.xml"), m_Folder.Path("file"));
    EXPECT_THAT(SerialNumbers("link"), ElementsAre("SN1"));
    EXPECT_THAT(SerialNumbers("file"), ElementsAre("SN1"));
}

TEST_F(RunsTest, FindsRunsAndArchivesBelowPath) {
    m_Folder.WriteRun("stick/a/b", "SN1");
    m_Folder.WriteRun("stick/c", "SN2");
    ArchiveFile(m_Folder.Path("stick/c/old.ZIP.zip"))
        .Add("qelXml.xml", ComposeMainFile("SN3", "2023-01-01 00:00:00"));
    EXPECT_THAT(SerialNumbers(), UnorderedElementsAre("SN1", "SN2", "SN3"));
}

TEST_F(RunsTest, SortsByStartTimeNewestFirst) {
    m_Folder.WriteRun("stick/a", "middle", "2024-11-18 09:40:42");
    m_Folder.WriteRun("stick/b", "oldest", "2023-12-31 23:59:59");
    m_Folder.WriteRun("stick/c", "newest", "2024-11-18 09:40:43");
    EXPECT_THAT(SerialNumbers(), ElementsAre("newest", "middle", "oldest"));
}

TEST_F(RunsTest, SortsByFileTimeWithoutStartTime) {
    m_Folder.WriteRun("stick/a", "dated", "2024-11-18 09:40:42");
    m_Folder.WriteRun("stick/b", "older", "after lunch");
    m_Folder.WriteRun("stick/c", "newer", "");
    const auto at = [this](const std::string& place, std::time_t time) {
        const timespec times[] = {{time, 0}, {time, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, m_Folder.Path(place).c_str(), times, 0), 0);
    };
    at("stick/b/qelXml.xml", 1731922841);
    at("stick/c/qelXml.xml", 1731922843);
    EXPECT_THAT(SerialNumbers(), ElementsAre("newer", "dated", "older"));
}

TEST_F(RunsTest, FollowsNoLinksBelowPath) {
    m_Folder.WriteRun("elsewhere", "SN1");
    fs::create_symlink(m_Folder.Path("elsewhere"), m_Folder.Path("stick/link"));
    fs::create_symlink(m_Folder.Path("stick"), m_Folder.Path("stick/loop"));
    EXPECT_THAT(Find().runs, IsEmpty());
}

TEST_F(RunsTest, ReportsResultFileThatIsLink) {
    m_Folder.WriteRun("elsewhere", "SN1");
    fs::create_symlink(m_Folder.Path("elsewhere/qelXml.xml"), m_Folder.Path("stick/qelXml.xml"));
    const SearchResult result = Find();
    ASSERT_THAT(result.runs, SizeIs(1));
    EXPECT_EQ(result.runs[0].files[0].state, FileState::kUnreadable);
    EXPECT_EQ(result.runs[0].files[0].problem, "is a symbolic link");
}

TEST_F(RunsTest, SearchesSixLevelsOfFolders) {
    m_Folder.WriteRun("stick/1/2/3/4/5/6", "SN6");
    m_Folder.WriteRun("stick/1/2/3/4/5/6/7", "SN7");
    const SearchResult result = Find();
    ASSERT_THAT(result.runs, SizeIs(1));
    EXPECT_EQ(result.runs[0].serialNumber, "SN6");
    EXPECT_THAT(result.problems, IsEmpty());
}

TEST_F(RunsTest, ReportsTooDeepFoldersWhenNoRunIsFound) {
    m_Folder.WriteRun("stick/1/2/3/4/5/6/7", "SN7");
    const SearchResult result = Find();
    EXPECT_THAT(result.runs, IsEmpty());
    EXPECT_THAT(result.problems,
                ElementsAre(m_Folder.Path("stick") + ": folders below level 6 are not searched"));
}

TEST_F(RunsTest, StopsAtLimitOfEntries) {
    m_Folder.WriteRun("stick", "SN1");
    m_Folder.WriteRun("stick/a/b", "SN2");
    Limits limits;
    limits.entries = 2;
    const SearchResult result = FindRuns(m_Folder.Path("stick"), limits);
    EXPECT_THAT(result.runs, SizeIs(1));
    EXPECT_THAT(result.problems, ElementsAre(HasSubstr("too many entries")));
}

TEST_F(RunsTest, ReadsNoResultFileThroughLink) {
    m_Folder.WriteRun("elsewhere", "secret");
    fs::create_symlink(m_Folder.Path("elsewhere/qelXml.xml"), m_Folder.Path("stick/qelXml.xml"));
    const runs::Run run = Find().runs.at(0);
    EXPECT_EQ(run.serialNumber, "");
    EXPECT_EQ(run.items, 0U);
    m_Folder.Write("stick/qelRnscXml.xml", "<a/>");
    EXPECT_EQ(Find().runs.at(0).serialNumber, "");
}

class RunsInsideArchiveTest : public RunsTest {
protected:
    RunsInsideArchiveTest() {
        ArchiveFile file(m_Folder.Path("stick/log.tar.gz"));
        file.Add("a/qelXml.xml", ComposeMainFile("SN1", ""));
        file.Add("a/b/qelXml.xml", ComposeMainFile("SN2", ""));
        file.Add("ab/qelXml.xml", ComposeMainFile("SN3", ""));
    }
};

TEST_F(RunsInsideArchiveTest, ReturnsRunsOfFolder) {
    for (const std::string place : {"a", "a/", "./a", "a/qelXml.xml", "ab/../a"}) {
        EXPECT_THAT(SerialNumbers("stick/log.tar.gz/" + place), UnorderedElementsAre("SN1", "SN2"))
            << place;
    }
    EXPECT_THAT(SerialNumbers("stick/log.tar.gz/ab"), ElementsAre("SN3"));
    EXPECT_THAT(SerialNumbers("stick/log.tar.gz/"), SizeIs(3));
}

TEST_F(RunsInsideArchiveTest, FindsEachRunAtItsPath) {
    for (const runs::Run& run : Find().runs) {
        const SearchResult result = FindRuns(run.path);
        ASSERT_THAT(result.runs, testing::Not(IsEmpty())) << run.path;
        const auto found = [&run](const runs::Run& other) {
            return other.path == run.path && other.serialNumber == run.serialNumber;
        };
        EXPECT_TRUE(std::any_of(result.runs.begin(), result.runs.end(), found)) << run.path;
    }
}

TEST_F(RunsInsideArchiveTest, ReturnsNoRunForOtherPath) {
    for (const std::string place : {"c", "..", "../stick", "a/c", "qelXml.xml/x"}) {
        EXPECT_THAT(SerialNumbers("stick/log.tar.gz/" + place), IsEmpty()) << place;
    }
}

TEST_F(RunsTest, OmitsUnfinishedCaptures) {
    m_Folder.WriteRun("stick/a", "SN1");
    m_Folder.WriteRun("stick/.quorvel-unfinished-x", "SN2");
    const SearchResult result = Find();
    ASSERT_THAT(result.runs, SizeIs(1));
    EXPECT_EQ(result.runs[0].serialNumber, "SN1");
    EXPECT_THAT(result.problems, ElementsAre(m_Folder.Path("stick/.quorvel-unfinished-x") +
                                             ": unfinished capture, left out"));
    EXPECT_THAT(SerialNumbers("stick/.quorvel-unfinished-x"), ElementsAre("SN2"));
    ArchiveFile(m_Folder.Path("log.zip"))
        .Add(".quorvel-unfinished-x/qelXml.xml", ComposeMainFile("SN3", ""));
    EXPECT_THAT(SerialNumbers("log.zip"), IsEmpty());
}

TEST_F(RunsTest, FindsRunOfGivenFolderDespiteLimitOfEntries) {
    m_Folder.WriteRun("stick", "SN1");
    Limits limits;
    limits.entries = 0;
    EXPECT_THAT(FindRuns(m_Folder.Path("stick"), limits).runs, SizeIs(1));
}

TEST_F(RunsTest, ReportsMissingPath) {
    const SearchResult result = Find("nothing");
    EXPECT_EQ(result.failure, m_Folder.Path("nothing") + ": No such file or directory");
    EXPECT_THAT(result.runs, IsEmpty());
}

TEST_F(RunsTest, ReportsUnsupportedFile) {
    m_Folder.Write("stick/photo.jpg", "x");
    EXPECT_EQ(Find("stick/photo.jpg").failure,
              m_Folder.Path("stick/photo.jpg") + ": not a folder, a result file or an archive");
    ASSERT_EQ(mkfifo(m_Folder.Path("stick/pipe.zip").c_str(), 0600), 0);
    EXPECT_THAT(Find("stick/pipe.zip").failure, HasSubstr("not a folder"));
}

TEST_F(RunsTest, SkipsFifoWithNameOfArchive) {
    ASSERT_EQ(mkfifo(m_Folder.Path("stick/pipe.tar.gz").c_str(), 0600), 0);
    const SearchResult result = Find();
    EXPECT_THAT(result.runs, IsEmpty());
    EXPECT_THAT(result.problems, IsEmpty());
}

TEST_F(RunsTest, ReturnsNoRunForFolderWithoutResultFiles) {
    m_Folder.Write("stick/photo.jpg", "x");
    const SearchResult result = Find();
    EXPECT_THAT(result.runs, IsEmpty());
    EXPECT_EQ(result.failure, "");
}

}  // namespace

}  // namespace quorvel::runs
