#include "log_copy/log_copy.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/fakes/FailingCalls.h"
#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/CopyFixture.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"

namespace fs = std::filesystem;
using quorvel::desktop::AwaitLogCopies;
using quorvel::desktop::AwaitLogCopyThreads;
using quorvel::desktop::FailNoStorage;
using quorvel::desktop::FailStorage;
using quorvel::desktop::LogCopyName;
using quorvel::desktop::OutsideLinks;
using quorvel::desktop::UsbStorage;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class LogCopyTest : public CopyFixture {
protected:
    // Returns the index of the first call of this kind in a successful copy.
    std::size_t IndexOf(FileCall call) {
        FaultyFileIo io(m_Storage);
        EXPECT_EQ(Run(io), 0);
        ResetStorage();
        for (std::size_t i = 0; i < io.Performed().size(); ++i) {
            if (io.Performed()[i].call == call) {
                return i;
            }
        }
        ADD_FAILURE() << "no such call";
        return 0;
    }
};

TEST_F(LogCopyTest, CopiesLogsAndResultFilesIntoOneFolder) {
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
    EXPECT_THAT(m_Errors, IsEmpty());
    EXPECT_THAT(m_Infos, ElementsAre("log copy: the logs are stored in (" +
                                     (m_Storage / m_CopyName).string() + ")"));
}

TEST_F(LogCopyTest, NamesFolderByApplicationHostAndLocalTime) {
    std::tm local{};
    local.tm_year = 124;
    local.tm_mon = 1;
    local.tm_mday = 3;
    local.tm_hour = 4;
    local.tm_min = 5;
    local.tm_sec = 6;
    local.tm_isdst = -1;
    EXPECT_EQ(LogCopyName("line-7.factory", std::mktime(&local)),
              "quorvel-line-7.factory-20240203-040506");
}

TEST_F(LogCopyTest, NamesFolderByNumberWhenTimeHasNoDate) {
    EXPECT_EQ(LogCopyName("h", std::numeric_limits<std::time_t>::max()),
              "quorvel-h-" + std::to_string(std::numeric_limits<std::time_t>::max()));
}

TEST_F(LogCopyTest, ReplacesSpecialCharactersInFolderName) {
    EXPECT_THAT(LogCopyName("a:b/c\\d*e?\"<>|\n", 0), StartsWith("quorvel-a_b_c_d_e______-"));
    EXPECT_THAT(LogCopyName("\xc3\xa4", 0), StartsWith("quorvel-__-"));
    EXPECT_THAT(LogCopyName("../..", 0), StartsWith("quorvel-.._..-"));
    EXPECT_THAT(LogCopyName("", 0), StartsWith("quorvel-unnamed-"));
    EXPECT_LT(LogCopyName(std::string(5000, 'h'), 0).size(), 100U);
}

TEST_F(LogCopyTest, AcceptsHostNameWithSpecialCharacters) {
    m_Job.host = "../:\n";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After(LogCopyName(m_Job.host, m_Job.time)));
}

TEST_F(LogCopyTest, KeepsEarlierCopyOfSameSecond) {
    ASSERT_EQ(Run(), 0);
    Tree expected = OnStorage();
    m_Sources["quorvel.log"] = "later\n";
    Write(m_State / "quorvel.log", "later\n");
    EXPECT_EQ(Run(), 0);
    expected.merge(After(m_CopyName + "-2"));
    EXPECT_EQ(OnStorage(), expected);
}

TEST_F(LogCopyTest, KeepsFilesAndLinksWithNameOfCopy) {
    Write(m_Storage / m_CopyName, "other");
    fs::create_symlink(m_Data, m_Storage / (m_CopyName + "-2"));
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Read(m_Storage / m_CopyName), "other");
    EXPECT_TRUE(fs::is_symlink(m_Storage / (m_CopyName + "-2")));
    EXPECT_TRUE(fs::is_regular_file(m_Storage / (m_CopyName + "-3") / "qelXml.xml"));
}

TEST_F(LogCopyTest, FailsWhenAllNamesAreTaken) {
    Write(m_Storage / m_CopyName, "other");
    for (int number = 2; number <= 100; ++number) {
        Write(m_Storage / (m_CopyName + "-" + std::to_string(number)), "other");
    }
    const Tree before = OnStorage();
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(m_Errors, ElementsAre("log copy: cannot write to the USB storage (" + m_CopyName +
                                      ": File exists)"));
    EXPECT_EQ(OnStorage(), before);
}

// Another program can create a file with the name during the copy.
TEST_F(LogCopyTest, UsesNextNameWhenStorageRejectsName) {
    const std::size_t rename = IndexOf(FileCall::kRename);
    for (const int error : {EEXIST, ENOTEMPTY}) {
        FaultyFileIo io(m_Storage);
        io.FailOnce(rename, error);
        EXPECT_EQ(Run(io), 0);
        EXPECT_EQ(OnStorage(), After(m_CopyName + "-2"));
        ResetStorage();
    }
}

TEST_F(LogCopyTest, CopiesOnlyExistingFiles) {
    fs::remove(m_Data / "qelRnscXml.xml");
    fs::remove_all(m_State);
    m_Sources = {{"qelXml.xml", m_Sources["qelXml.xml"]}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, IgnoresFileInPlaceOfStateFolder) {
    fs::remove_all(m_State);
    Write(m_State, "a file");
    m_Sources.erase("quorvel.log");
    m_Sources.erase("quorvel.1.log");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, CopiesLogsWithoutResultFiles) {
    fs::remove_all(m_Data);
    m_Sources.erase("qelXml.xml");
    m_Sources.erase("qelRnscXml.xml");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, CopiesStartLog) {
    Write(m_State / "quorvel.start.log", "first lines\n");
    m_Sources["quorvel.start.log"] = "first lines\n";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, IgnoresOtherFilesInStateFolder) {
    for (const char* name :
         {"quorvel.log.swp", "quorvel.start.log.new", "quorvel.01.log", "quorvel.0.log",
          "quorvel.x.log", "quorvel.-1.log", "quorvel.99999999999.log", "other.log", "quorvel"}) {
        Write(m_State / name, "another file");
    }
    Write(m_State / "quorvel.12.log", "very old\n");
    m_Sources["quorvel.12.log"] = "very old\n";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, FollowsLinksAndSkipsSpecialFiles) {
    fs::rename(m_Data / "qelXml.xml", m_Scratch.Path() / "elsewhere");
    fs::create_symlink(m_Scratch.Path() / "elsewhere", m_Data / "qelXml.xml");
    fs::create_symlink("nowhere", m_State / "quorvel.2.log");
    fs::create_directory(m_State / "quorvel.3.log");
    // The target is on another file system and has the size 0.
    fs::create_symlink("/proc/version", m_State / "quorvel.5.log");
    m_Sources["quorvel.5.log"] = "";
    ASSERT_EQ(mknod((m_State / "quorvel.6.log").c_str(), S_IFSOCK | 0600, 0), 0);
    // A pipe without a writer blocks open(2) unless O_NONBLOCK is set.
    ASSERT_EQ(mkfifo((m_State / "quorvel.4.log").c_str(), 0600), 0);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, RejectsLinkOutOfFolder) {
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    const fs::path secret = m_Scratch.Path() / "secret";
    Write(secret, "private");
    for (const fs::path& link : {m_State / "quorvel.2.log", m_Data / "qelRnscXml.xml"}) {
        fs::remove(link);
        fs::create_symlink(secret, link);
        EXPECT_EQ(Run(), -1);
        EXPECT_THAT(m_Errors, ElementsAre("log copy: root does not copy a link to a file outside "
                                          "its folder (" +
                                          link.string() + ")"));
        EXPECT_EQ(OnStorage(), Before());
        fs::remove(link);
    }
}

TEST_F(LogCopyTest, FollowsLinkInsideFolderWhenOutsideLinksAreRejected) {
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    for (const fs::path& target : {fs::path("elsewhere"), m_Data / "elsewhere"}) {
        fs::rename(m_Data / "qelXml.xml", m_Data / "elsewhere");
        fs::create_symlink(target, m_Data / "qelXml.xml");
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(OnStorage(), After());
        fs::rename(m_Data / "elsewhere", m_Data / "qelXml.xml");
        ResetStorage();
    }
}

TEST_F(LogCopyTest, KeepsCopyOfPrivateFilePrivate) {
    fs::permissions(m_State / "quorvel.log", static_cast<fs::perms>(0600));
    fs::permissions(m_Data / "qelXml.xml", static_cast<fs::perms>(0644));
    const mode_t before = umask(0);
    EXPECT_EQ(Run(), 0);
    umask(before);
    const auto modeOf = [this](const char* name) {
        return fs::status(m_Storage / m_CopyName / name).permissions();
    };
    EXPECT_EQ(modeOf("quorvel.log"), static_cast<fs::perms>(0600));
    EXPECT_EQ(modeOf("qelXml.xml"), static_cast<fs::perms>(0644));
}

TEST_F(LogCopyTest, CopiesMoreLogsThanDescriptors) {
    for (int age = 2; age < 300; ++age) {
        const std::string name = "quorvel." + std::to_string(age) + ".log";
        m_Sources[name] = std::to_string(age);
        Write(m_State / name, m_Sources[name]);
    }
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{128, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(Run(), 0);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, FailsWhenOldLogIsUnreadableReplacedOrRemoved) {
    for (int age = 2; age < 20; ++age) {
        Write(m_State / ("quorvel." + std::to_string(age) + ".log"), std::to_string(age));
    }
    const std::string old = m_State / "quorvel.15.log";
    Write(m_Scratch.Path() / "other", "other");
    const std::size_t at = IndexOf(FileCall::kMakeFolder);
    for (const std::string reason :
         {"Input/output error", "Stale file handle", "No such file or directory"}) {
        FaultyFileIo io(m_Storage);
        io.SetHook([&](std::size_t index) {
            const PerformedCall& now = io.Performed()[index];
            if (index > at && reason[0] == 'I' && now.path == old &&
                now.call == FileCall::kStatus) {
                io.FailOnce(index, EIO);
            } else if (index == at && reason[0] == 'S') {
                fs::rename(m_Scratch.Path() / "other", old);
            } else if (index == at && reason[0] == 'N') {
                fs::remove(old);
            }
        });
        EXPECT_EQ(Run(io), -1);
        EXPECT_THAT(m_Errors, ElementsAre("log copy: a file to copy cannot be read (" + old + ": " +
                                          reason + ")"));
        EXPECT_EQ(OnStorage(), Before());
    }
}

TEST_F(LogCopyTest, CopiesEmptyFile) {
    Write(m_State / "quorvel.log", "");
    m_Sources["quorvel.log"] = "";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, ReportsMissingFiles) {
    fs::remove_all(m_State);
    fs::remove_all(m_Data);
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: there is nothing to copy (")));
    EXPECT_THAT(m_Infos, IsEmpty());
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyTest, ReportsMissingFilesWithoutStateFolder) {
    m_Job.from.state = "";
    fs::remove_all(m_Data);
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: there is nothing to copy (")));
}

TEST_F(LogCopyTest, ReportsMissingStorage) {
    EXPECT_EQ(RunSearch([]() -> UsbStorage { FailNoStorage("", ENOMEDIUM); }), -1);
    EXPECT_THAT(m_Errors, ElementsAre("log copy: no USB storage is mounted (No medium found)"));
    EXPECT_THAT(m_Infos, IsEmpty());
}

TEST_F(LogCopyTest, ReportsStorageThatCannotBeWrittenTo) {
    EXPECT_EQ(RunSearch([this]() -> UsbStorage { FailStorage(m_Storage, EROFS); }), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is read-only (")));
    EXPECT_EQ(RunSearch([this]() -> UsbStorage { FailStorage(m_Storage, EACCES); }), -1);
    EXPECT_THAT(m_Errors,
                ElementsAre(StartsWith("log copy: no permission to write to the USB storage (")));
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyTest, ReportsMissingStorageFolder) {
    EXPECT_EQ(Run({m_Storage / "missing", std::nullopt}), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: no USB storage is mounted (")));
    EXPECT_EQ(Run({m_Storage / "holiday.jpg", std::nullopt}), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: no USB storage is mounted (")));
}

TEST_F(LogCopyTest, RejectsStorageUnmountedAfterSearch) {
    EXPECT_EQ(Run({m_Storage, 0}), -1);
    EXPECT_THAT(m_Errors,
                ElementsAre(StartsWith("log copy: the USB storage was unplugged or is broken (")));
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyTest, RejectsStorageWithoutMountId) {
    const FailingCallScope scope(FailingCall::kMountId);
    EXPECT_EQ(Run({m_Storage, 1}), -1);
    EXPECT_THAT(m_Errors, ElementsAre("log copy: cannot write to the USB storage (" +
                                      m_Storage.string() + ": Operation not supported)"));
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyTest, ReportsFailedStorageSearch) {
    const int result = RunSearch(
        []() -> UsbStorage { throw std::system_error(EIO, std::generic_category(), "mounts"); });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(m_Errors, ElementsAre("log copy: failed (mounts: Input/output error)"));
}

TEST_F(LogCopyTest, ReplacesControlCharactersInLogLine) {
    EXPECT_EQ(RunSearch([]() -> UsbStorage { FailStorage("/media/a\nb\x7f", EROFS); }), -1);
    EXPECT_THAT(m_Errors, ElementsAre("log copy: the USB storage is read-only (/media/a?b?: "
                                      "Read-only file system)"));
}

TEST_F(LogCopyTest, RemovesLeftOversOfCrashedCopy) {
    Write(m_Storage / ".quorvel-unfinished-quorvel-old-1" / "quorvel.log", "half");
    fs::create_directory(m_Storage / ".quorvel-unfinished-quorvel-old-2");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, KeepsFilesAndLinksNamedLikeLeftOvers) {
    const fs::path link = m_Storage / ".quorvel-unfinished-link";
    const fs::path file = m_Storage / ".quorvel-unfinished-file";
    fs::create_symlink(m_Data, link);
    Write(file, "a file");
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(fs::exists(m_Data / "qelXml.xml"));
}

// The folder of a log copy contains no folders, so this folder belongs to the user.
TEST_F(LogCopyTest, KeepsFolderNamedLikeLeftOverWithSubfolder) {
    const fs::path folder = m_Storage / ".quorvel-unfinished-photos";
    Write(folder / "a.jpg", "a");
    Write(folder / "inner" / "b.jpg", "b");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Read(folder / "a.jpg"), "a");
    EXPECT_EQ(Read(folder / "inner" / "b.jpg"), "b");
}

TEST_F(LogCopyTest, FailsWhileAnotherCopyRuns) {
    const fs::path other = m_Storage / ".quorvel-unfinished-other" / "quorvel.log";
    Write(other, "half");
    const int lock = open(m_Storage.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(
        m_Errors,
        ElementsAre(StartsWith("log copy: another log copy to the USB storage is running ")));
    EXPECT_TRUE(fs::exists(other));
    close(lock);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, CompletesOrRejectsConcurrentCopies) {
    std::vector<std::future<std::string>> copies;
    std::generate_n(std::back_inserter(copies), 8, [this] {
        return std::async(std::launch::async, [this] {
            std::string logged;
            RunLogCopy({[this] { return Storage(); },
                        [&logged](bool, const std::string& line) { logged += line; }},
                       m_Job);
            return logged;
        });
    });
    const std::string done = "log copy: the logs are stored in (" + m_Storage.string() + "/";
    Tree expected = Before();
    for (auto& copy : copies) {
        const std::string line = copy.get();
        if (line.rfind(done, 0) == 0) {
            expected.merge(After(line.substr(done.size(), line.size() - done.size() - 1)));
        } else {
            EXPECT_THAT(line, StartsWith("log copy: another log copy to the USB storage is "));
        }
    }
    EXPECT_GT(expected.size(), Before().size());
    EXPECT_EQ(OnStorage(), expected);
}

TEST_F(LogCopyTest, CopiesGrowingLogUpToSizeAtStart) {
    std::ofstream log(m_State / "quorvel.log", std::ios::app);
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        if (io.Performed()[index].call == FileCall::kRead) {
            log << "more\n" << std::flush;
        }
    });
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, CopiesRemainderOfTruncatedLog) {
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        if (io.Performed()[index].call == FileCall::kRead) {
            fs::resize_file(m_State / "quorvel.log", 2);
        }
    });
    m_Sources["quorvel.log"] = "yo";
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
}

// The test rotates the log before each call in turn. The copy must contain each line once.
TEST_F(LogCopyTest, CopiesEveryLineWhenLogRotates) {
    const std::size_t first = IndexOf(FileCall::kMakeFolder);
    for (std::size_t at = 0; at <= first; ++at) {
        FaultyFileIo io(m_Storage);
        io.SetHook([&](std::size_t index) {
            if (index == at) {
                fs::rename(m_State / "quorvel.1.log", m_State / "quorvel.2.log");
                fs::rename(m_State / "quorvel.log", m_State / "quorvel.1.log");
                Write(m_State / "quorvel.log", "");
            }
        });
        ASSERT_EQ(Run(io), 0);
        std::string lines;
        for (const char* name : {"quorvel.2.log", "quorvel.1.log", "quorvel.log"}) {
            lines += Read(m_Storage / m_CopyName / name);
        }
        EXPECT_EQ(lines, "old\nyoung\n") << "rotated before call " << at;
        fs::rename(m_State / "quorvel.1.log", m_State / "quorvel.log");
        fs::rename(m_State / "quorvel.2.log", m_State / "quorvel.1.log");
        ResetStorage();
    }
}

TEST_F(LogCopyTest, ContinuesAfterShortReadsAndWrites) {
    FaultyFileIo io(m_Storage);
    io.SetMaxTransfer(9973, 997);
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, RepeatsInterruptedCalls) {
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    FaultyFileIo io(m_Storage);
    io.InterruptEach();
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
}

TEST_F(LogCopyTest, FailsWhenWriteReturnsZero) {
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        if (io.Performed()[index].call == FileCall::kWrite) {
            io.SetMaxTransfer(1, 0);
        }
    });
    EXPECT_EQ(Run(io), -1);
    EXPECT_THAT(m_Errors,
                ElementsAre(StartsWith("log copy: the USB storage was unplugged or is broken (")));
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyTest, CopiesToFileSystemWithoutLocks) {
    const std::size_t lock = IndexOf(FileCall::kTryLock);
    for (const int error : {EOPNOTSUPP, ENOSYS, ENOLCK, EINVAL, EBADF}) {
        FaultyFileIo io(m_Storage);
        io.FailOnce(lock, error);
        EXPECT_EQ(Run(io), 0) << std::generic_category().message(error);
        EXPECT_EQ(OnStorage(), After());
        ResetStorage();
    }
}

// The copy syncs the whole file system, which includes the folder.
TEST_F(LogCopyTest, CopiesToFileSystemThatCannotSyncFolders) {
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        const PerformedCall& now = io.Performed()[index];
        if (now.call == FileCall::kSync && fs::is_directory(now.path)) {
            io.FailOnce(index, EINVAL);
        }
    });
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
}

// In these tests, another program creates a file or a link at the path that the copy will open
// next.
class LogCopyPlantTest : public LogCopyTest {
protected:
    // Runs a copy. Calls plant with the path of the first call of this kind before that call.
    int RunPlanted(FileCall call, const std::function<void(const fs::path&)>& plant) {
        const std::size_t at = IndexOf(call);
        FaultyFileIo io(m_Storage);
        io.SetHook([&](std::size_t index) {
            if (index == at) {
                plant(io.Performed()[index].path);
            }
        });
        return Run(io);
    }

    void ExpectRejected(const std::string& reason) const {
        EXPECT_THAT(m_Errors, ElementsAre(AllOf(StartsWith("log copy: cannot write to the USB "),
                                                EndsWith(": " + reason + ")"))));
    }

    const fs::path m_Victim = m_Scratch.Path() / "victim";
};

TEST_F(LogCopyPlantTest, KeepsPlantedFile) {
    Write(m_Victim, "private");
    // A hard link keeps the content when the copy removes the planted name with the folder.
    const auto plant = [this](const fs::path& path) { fs::create_hard_link(m_Victim, path); };
    EXPECT_EQ(RunPlanted(FileCall::kCreate, plant), -1);
    ExpectRejected("File exists");
    EXPECT_EQ(Read(m_Victim), "private");
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyPlantTest, DoesNotFollowPlantedLink) {
    const auto plant = [this](const fs::path& path) { fs::create_symlink(m_Victim, path); };
    EXPECT_EQ(RunPlanted(FileCall::kCreate, plant), -1);
    ExpectRejected("File exists");
    EXPECT_FALSE(fs::exists(m_Victim));
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyPlantTest, DoesNotFollowLinkInPlaceOfFolder) {
    fs::create_directory(m_Victim);
    const auto isNewFolder = [this](const PerformedCall& performed) {
        return performed.call == FileCall::kOpen &&
               performed.path == m_Storage / (".quorvel-unfinished-" + m_CopyName);
    };
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        const PerformedCall& now = io.Performed()[index];
        if (isNewFolder(now) && !fs::is_symlink(now.path)) {
            fs::remove(now.path);
            fs::create_symlink(m_Victim, now.path);
        }
    });
    EXPECT_EQ(Run(io), -1);
    ExpectRejected("Not a directory");
    EXPECT_TRUE(fs::is_empty(m_Victim));
}

TEST_F(LogCopyTest, WaitsForRunningCopyAtShutdown) {
    std::promise<void> started;
    std::promise<void> released;
    std::thread copy([&] {
        RunSearch([&] {
            started.set_value();
            released.get_future().wait();
            return Storage();
        });
    });
    started.get_future().wait();
    EXPECT_FALSE(AwaitLogCopies(std::chrono::milliseconds(10)));
    released.set_value();
    EXPECT_TRUE(AwaitLogCopies(kLongEnough));
    EXPECT_EQ(OnStorage(), After());
    copy.join();
}

// A thread reports and counts its copy after the copy is complete.
TEST_F(LogCopyTest, WaitsForThreadOfCopyAtShutdown) {
    std::promise<void> copied;
    std::promise<void> released;
    std::thread thread([&] {
        Run();
        copied.set_value();
        released.get_future().wait();
    });
    copied.get_future().wait();
    EXPECT_TRUE(AwaitLogCopies(std::chrono::milliseconds(0)));
    EXPECT_FALSE(AwaitLogCopyThreads(std::chrono::milliseconds(10)));
    released.set_value();
    EXPECT_TRUE(AwaitLogCopyThreads(kLongEnough));
    thread.join();
}

TEST_F(LogCopyTest, DoesNotWaitForCallingThread) {
    EXPECT_EQ(Run(), 0);
    // Another thread must wait for this thread.
    EXPECT_FALSE(
        std::async(std::launch::async, AwaitLogCopyThreads, std::chrono::milliseconds(0)).get());
    EXPECT_TRUE(AwaitLogCopyThreads(std::chrono::milliseconds(0)));
}

// Calls the C function with real system calls and the real log.
class LogCopyCallTest : public CopyFixture {
protected:
    void SetUp() override { fs::rename(m_State, m_Scratch.Path() / "quorvel"); }

    // Adds a log that is a link to a file outside the state folder.
    void AddOutsideLink() {
        Write(m_Scratch.Path() / "secret", "private");
        fs::create_symlink(m_Scratch.Path() / "secret", m_Scratch.Path() / "quorvel/quorvel.2.log");
    }

    // Returns the possible names of a copy that is made between two times.
    static std::vector<std::string> NamesBetween(std::time_t first, std::time_t last) {
        std::array<char, 256> host{};
        EXPECT_EQ(gethostname(host.data(), host.size() - 1), 0);
        std::vector<std::string> names;
        for (std::time_t time = first; time <= last; ++time) {
            names.push_back(LogCopyName(host.data(), time));
        }
        return names;
    }

    ScopedVariable m_StateHome{"XDG_STATE_HOME", m_Scratch.Path().string()};
    ScopedVariable m_UsbFolder{"QUORVEL_USB_DIR", m_Storage.string()};
};

TEST_F(LogCopyCallTest, CopiesIntoFolderFromEnvironment) {
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(automation_copy_log_to_usb(), 0);
    const std::time_t after = std::time(nullptr);
    std::vector<fs::path> copies;
    for (const auto& entry : fs::directory_iterator(m_Storage)) {
        if (entry.is_directory()) {
            copies.push_back(entry.path());
        }
    }
    ASSERT_EQ(copies.size(), 1U);
    EXPECT_THAT(NamesBetween(before, after), testing::Contains(copies[0].filename().string()));
    EXPECT_EQ(Read(copies[0] / "quorvel.1.log"), "old\n");
}

TEST_F(LogCopyCallTest, RejectsLinkOutOfFolderAsRoot) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root rejects such a link";
    }
    AddOutsideLink();
    EXPECT_EQ(automation_copy_log_to_usb(), -1);
    EXPECT_EQ(OnStorage(), Before());
}

TEST_F(LogCopyCallTest, FollowsLinkOutOfFolderAsUser) {
    AddOutsideLink();
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(chown(m_Storage.c_str(), kOtherUser, kOtherUser), 0);
        fs::permissions(m_Scratch.Path(), static_cast<fs::perms>(0711));
        ASSERT_EQ(seteuid(kOtherUser), 0);
    }
    EXPECT_EQ(automation_copy_log_to_usb(), 0);
    ASSERT_EQ(seteuid(user), 0);
    int links = 0;
    for (const auto& [name, bytes] : OnStorage()) {
        links += fs::path(name).filename() == "quorvel.2.log" && bytes == "private" ? 1 : 0;
    }
    EXPECT_EQ(links, 1);
}

TEST_F(LogCopyCallTest, FailsWhenFolderFromEnvironmentIsMissing) {
    fs::remove_all(m_Storage);
    EXPECT_EQ(automation_copy_log_to_usb(), -1);
    EXPECT_FALSE(fs::exists(m_Storage));
}

// Runs a program that calls the C function, and checks its log line.
class LogCopyLineTest : public testing::Test {
protected:
    // Returns the result and the last line on the terminal.
    std::vector<std::string> Copy(const fs::path& storage) const {
        ChildProgram program(m_Folders, QUORVEL_LOG_WRITER, {"copy"},
                             {{"QUORVEL_USB_DIR", storage}});
        EXPECT_EQ(program.Exit(), 0);
        const std::vector<std::string> lines = LinesOf(program.Messages());
        EXPECT_EQ(lines.size(), 2U);
        return {program.Output(), lines.empty() ? "" : lines.back()};
    }

    PrivateFolders m_Folders;
};

TEST_F(LogCopyLineTest, LogsSuccessAsInformation) {
    EXPECT_THAT(
        Copy(m_Folders.Root() / "tmp"),
        ElementsAre("0\n", ContainsRegex("^I/QEL_PC  \\( *[0-9]+\\): log copy: the logs are "
                                         "stored in \\(.*/tmp/quorvel-.*\\)$")));
}

TEST_F(LogCopyLineTest, LogsFailureAsError) {
    EXPECT_THAT(
        Copy(m_Folders.Root() / "missing"),
        ElementsAre("-1\n", ContainsRegex("^E/QEL_PC  \\( *[0-9]+\\): log copy: .*missing")));
}

}  // namespace
