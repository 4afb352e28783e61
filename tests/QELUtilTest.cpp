// QELUtil: the file counters.

#include "QELUtil.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "fakes/FakeLog.h"
#include "fixtures/PrivateData.h"

namespace fs = std::filesystem;

namespace {

const char* const COUNTER = "num_of_launch";

class QELUtilCounterTest : public testing::Test {
protected:
    void SetUp() override { PrivateData::Clean(); }
    void TearDown() override { PrivateData::Clean(); }
};

TEST_F(QELUtilCounterTest, MissingFileCountsAsZero) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_EQ(PrivateData::Read(COUNTER), "1\n");
    EXPECT_TRUE(FakeLog::Lines().empty());
}

TEST_F(QELUtilCounterTest, CountsOnAndOn) {
    for (int i = 1; i <= 12; ++i) {
        EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
        EXPECT_EQ(PrivateData::Read(COUNTER), std::to_string(i) + "\n");
    }
}

struct Counted_s {
    const char* before;
    const char* after;
};

class QELUtilNumberTest : public QELUtilCounterTest,
                          public testing::WithParamInterface<Counted_s> {};

TEST_P(QELUtilNumberTest, IsReplacedByTheNextOne) {
    PrivateData::Write(COUNTER, GetParam().before);
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_EQ(PrivateData::Read(COUNTER), GetParam().after);
    EXPECT_TRUE(FakeLog::Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Contents, QELUtilNumberTest,
    testing::Values(Counted_s{"41\n", "42\n"}, Counted_s{"41", "42\n"},
                    Counted_s{"  7 extra", "8\n"}, Counted_s{"-3", "-2\n"}, Counted_s{"-1", "0\n"},
                    Counted_s{"+5\n", "6\n"}, Counted_s{"12abc\n", "13\n"},
                    Counted_s{"0x10", "1\n"}, Counted_s{"007", "8\n"},
                    Counted_s{"\n\t 9\n10\n", "10\n"}, Counted_s{"3.9", "4\n"},
                    Counted_s{"2147483646", "2147483647\n"},
                    Counted_s{"-2147483648", "-2147483647\n"},
                    // The top of the range goes on at its bottom, without undefined behaviour.
                    Counted_s{"2147483647", "-2147483648\n"}));

class QELUtilNoNumberTest : public QELUtilCounterTest,
                            public testing::WithParamInterface<const char*> {};

TEST_P(QELUtilNoNumberTest, IsReportedAndLeftAlone) {
    PrivateData::Write(COUNTER, GetParam());
    const auto written = fs::last_write_time(PrivateData::Path(COUNTER));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_EQ(PrivateData::Read(COUNTER), GetParam());
    EXPECT_EQ(fs::last_write_time(PrivateData::Path(COUNTER)), written);
    EXPECT_THAT(FakeLog::Lines(), testing::ElementsAre(ErrorLine("failed to get data",
                                                                 "QELUtil.cpp", "IncreaseCount")));
}

INSTANTIATE_TEST_SUITE_P(Contents, QELUtilNoNumberTest,
                         testing::Values("abc", "", "\n", "  \t\n", "-", "x1", "2147483648",
                                         "-2147483649", "99999999999999999999"));

TEST_F(QELUtilCounterTest, StaysStuckUntilTheFileIsRemoved) {
    const std::string path = PrivateData::Path(COUNTER);
    PrivateData::Write(COUNTER, "abc");
    EXPECT_FALSE(QELUtil::IncreaseCount(path));
    EXPECT_FALSE(QELUtil::IncreaseCount(path));
    fs::remove(path);
    EXPECT_TRUE(QELUtil::IncreaseCount(path));
    EXPECT_EQ(PrivateData::Read(COUNTER), "1\n");
}

TEST_F(QELUtilCounterTest, FolderInsteadOfFileIsNoNumber) {
    fs::create_directory(PrivateData::Path(COUNTER));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
    EXPECT_TRUE(fs::is_directory(PrivateData::Path(COUNTER)));
}

TEST_F(QELUtilCounterTest, MissingFolderGoesUnnoticed) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path("missing/counter")));
    EXPECT_TRUE(FakeLog::Lines().empty());
    EXPECT_TRUE(PrivateData::Names().empty());
}

TEST_F(QELUtilCounterTest, RejectsAFifoWithoutBlocking) {
    ASSERT_EQ(mkfifo(PrivateData::Path(COUNTER).c_str(), 0600), 0);
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
}

TEST_F(QELUtilCounterTest, RejectsADeviceWithoutEnd) {
    fs::create_symlink("/dev/zero", PrivateData::Path(COUNTER));
    EXPECT_FALSE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_TRUE(LoggedError("failed to get data", "QELUtil.cpp"));
}

TEST_F(QELUtilCounterTest, LeavesOnlyTheCounter) {
    EXPECT_TRUE(QELUtil::IncreaseCount(PrivateData::Path(COUNTER)));
    EXPECT_THAT(PrivateData::Names(), testing::ElementsAre(COUNTER));
}

// A watcher opens the file again and again while it is counted: an empty read would be a count that
// a process exit at that moment leaves behind.
TEST_F(QELUtilCounterTest, NeverLeavesAnEmptyFile) {
    const std::string path = PrivateData::Path(COUNTER);
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

// The kernel's file begins with the number of this process and cannot be written, not even by root.
TEST_F(QELUtilCounterTest, FailedWriteGoesUnnoticed) {
    EXPECT_TRUE(QELUtil::IncreaseCount("/proc/self/stat"));
    EXPECT_TRUE(FakeLog::Lines().empty());
}

TEST_F(QELUtilCounterTest, TwoThreadsCountInTwoFiles) {
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
