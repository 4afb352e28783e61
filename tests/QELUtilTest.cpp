// Tests the file counters and the table cells of QELUtil.

#include "QELUtil.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "fakes/FakeLog.h"
#include "fixtures/PrivateData.h"

namespace fs = std::filesystem;

namespace {

const char* const kCounter = "num_of_launch";

class QELUtilTest : public testing::Test {
protected:
    void SetUp() override { PrivateData::Clean(); }
    void TearDown() override { PrivateData::Clean(); }
};

TEST_F(QELUtilTest, CountsMissingFileAsZero) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_EQ(PrivateData::Read(kCounter), "1\n");
    EXPECT_TRUE(FakeLog::Lines().empty());
}

TEST_F(QELUtilTest, CountsEachCall) {
    for (int i = 1; i <= 12; ++i) {
        EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
        EXPECT_EQ(PrivateData::Read(kCounter), std::to_string(i) + "\n");
    }
}

struct CountCase {
    const char* before;
    const char* after;
};

class QELUtilNumberTest : public QELUtilTest, public testing::WithParamInterface<CountCase> {};

TEST_P(QELUtilNumberTest, WritesNextNumber) {
    PrivateData::Write(kCounter, GetParam().before);
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_EQ(PrivateData::Read(kCounter), GetParam().after);
    EXPECT_TRUE(FakeLog::Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(Contents, QELUtilNumberTest,
                         testing::Values(CountCase{"41\n", "42\n"}, CountCase{"41", "42\n"},
                                         CountCase{"  7 extra", "8\n"}, CountCase{"-3", "-2\n"},
                                         CountCase{"-1", "0\n"}, CountCase{"+5\n", "6\n"},
                                         CountCase{"12abc\n", "13\n"}, CountCase{"0x10", "1\n"},
                                         CountCase{"007", "8\n"}, CountCase{"\n\t 9\n10\n", "10\n"},
                                         CountCase{"3.9", "4\n"},
                                         CountCase{"2147483646", "2147483647\n"},
                                         CountCase{"-2147483648", "-2147483647\n"},
                                         // The count wraps from the largest to the smallest int
                                         // without undefined behaviour.
                                         CountCase{"2147483647", "-2147483648\n"}));

class QELUtilInvalidNumberTest : public QELUtilTest,
                                 public testing::WithParamInterface<const char*> {};

TEST_P(QELUtilInvalidNumberTest, LogsErrorAndKeepsFile) {
    PrivateData::Write(kCounter, GetParam());
    const auto written = fs::last_write_time(PrivateData::Path(kCounter));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_EQ(PrivateData::Read(kCounter), GetParam());
    EXPECT_EQ(fs::last_write_time(PrivateData::Path(kCounter)), written);
    EXPECT_THAT(FakeLog::Lines(), testing::ElementsAre(ErrorLine("failed to get data",
                                                                 "QELUtil.cpp", "IncreaseCount")));
}

INSTANTIATE_TEST_SUITE_P(Contents, QELUtilInvalidNumberTest,
                         testing::Values("abc", "", "\n", "  \t\n", "-", "x1", "2147483648",
                                         "-2147483649", "99999999999999999999"));

TEST_F(QELUtilTest, FailsUntilInvalidFileIsRemoved) {
    const std::string path = PrivateData::Path(kCounter);
    PrivateData::Write(kCounter, "abc");
    EXPECT_FALSE(QELUtil::IncreaseCount(path));
    EXPECT_FALSE(QELUtil::IncreaseCount(path));
    fs::remove(path);
    EXPECT_TRUE(QELUtil::IncreaseCount(path));
    EXPECT_EQ(PrivateData::Read(kCounter), "1\n");
}

TEST_F(QELUtilTest, RejectsFolderInsteadOfFile) {
    fs::create_directory(PrivateData::Path(kCounter));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
    EXPECT_TRUE(fs::is_directory(PrivateData::Path(kCounter)));
}

TEST_F(QELUtilTest, ReturnsTrueForMissingFolder) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path("missing/counter")));
    EXPECT_TRUE(FakeLog::Lines().empty());
    EXPECT_TRUE(PrivateData::Names().empty());
}

TEST_F(QELUtilTest, RejectsFifoWithoutBlocking) {
    ASSERT_EQ(mkfifo(PrivateData::Path(kCounter).c_str(), 0600), 0);
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
}

TEST_F(QELUtilTest, RejectsEndlessDevice) {
    fs::create_symlink("/dev/zero", PrivateData::Path(kCounter));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
}

TEST_F(QELUtilTest, CreatesOnlyCounterFile) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    EXPECT_THAT(PrivateData::Names(), testing::ElementsAre(kCounter));
}

// A thread reads the file repeatedly while the count changes. A process that exits while the file
// is empty would lose the count.
TEST_F(QELUtilTest, KeepsFileNonEmptyDuringUpdates) {
    const std::string path = PrivateData::Path(kCounter);
    std::atomic<bool> isDone = false;
    int emptyReads = 0;
    std::thread watcher([&] {
        while (!isDone) {
            std::ifstream in(path);
            std::string word;
            if (in.is_open() && !(in >> word)) {
                ++emptyReads;
            }
        }
    });
    for (int i = 0; i < 3000; ++i) {
        if (i % 100 == 0) {
            fs::remove(path);
        }
        QELUtil::IncreaseCount(path);
    }
    isDone = true;
    watcher.join();
    EXPECT_EQ(emptyReads, 0);
}

// A limit on the size of files simulates a full disk.
TEST_F(QELUtilTest, LeavesNoFileWhenNewCounterCannotBeWritten) {
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(kCounter)));
    setrlimit(RLIMIT_FSIZE, &before);
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_TRUE(fs::is_empty(fs::path(PrivateData::Path(kCounter)).parent_path()));
}

// rename rejects an empty path. The temporary file is ".new" in the working folder.
TEST_F(QELUtilTest, LeavesNoFileWhenNewCounterCannotBeRenamed) {
    const fs::path before = fs::current_path();
    fs::current_path(fs::path(PrivateData::Path(kCounter)).parent_path());
    EXPECT_TRUE(QELUtil::IncreaseCount(""));
    fs::current_path(before);
    EXPECT_TRUE(PrivateData::Names().empty());
}

// /proc/self/stat begins with a number, and even root cannot write to the file.
TEST_F(QELUtilTest, ReturnsTrueForFailedWrite) {
    EXPECT_TRUE(QELUtil::IncreaseCount("/proc/self/stat"));
    EXPECT_TRUE(FakeLog::Lines().empty());
}

TEST_F(QELUtilTest, RejectsLocationWithoutCell) {
    const auto location = static_cast<app_table_location_e>(8);
    EXPECT_FALSE(QELUtil::PackAt(nullptr, nullptr, location, {location}));
}

TEST_F(QELUtilTest, CountsInTwoFilesOnTwoThreads) {
    const int times = 50;
    std::thread worker([] {
        for (int i = 0; i < times; ++i) {
            QELUtil::IncreaseCount(PrivateData::CaptureCounter());
        }
    });
    for (int i = 0; i < times; ++i) {
        QELUtil::IncreaseCount(PrivateData::LaunchCounter());
    }
    worker.join();
    EXPECT_EQ(PrivateData::Read("num_of_launch"), "50\n");
    EXPECT_EQ(PrivateData::Read("num_of_log_capture"), "50\n");
}

}  // namespace
