// Makes each system call of a log copy fail, once and permanently, with the errors that a storage
// can report. Also ends the program at each call.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"

using quorvel::desktop::OutsideLinks;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const char* const kDone = "log copy: the logs are stored in (";
const char* const kUnreadable = "log copy: a file to copy cannot be read (";

std::string LineOf(int error) {
    switch (error) {
        case ENOSPC:
            return "log copy: the USB storage is full (";
        case EROFS:
            return "log copy: the USB storage is read-only (";
        case EACCES:
            return "log copy: no permission to write to the USB storage (";
        default:
            return "log copy: the USB storage was unplugged or is broken (";
    }
}

// Returns the index of the last sync of a file system.
std::size_t LastSync(const std::vector<PerformedCall>& all) {
    const auto found = std::find_if(all.rbegin(), all.rend(), [](const PerformedCall& one) {
        return one.call == FileCall::kSyncFileSystem;
    });
    return static_cast<std::size_t>(all.rend() - found) - 1;
}

// The parameters are the error number, and whether the failure is permanent.
class LogCopyFaultTest : public CopyFixture,
                         public testing::WithParamInterface<std::tuple<int, bool>> {
protected:
    int Error() const { return std::get<0>(GetParam()); }
    bool IsPermanent() const { return std::get<1>(GetParam()); }
    void Fail(FaultyFileIo& io, std::size_t at) const {
        if (IsPermanent()) {
            io.FailPermanently(at, Error());
        } else {
            io.FailOnce(at, Error());
        }
    }

    std::vector<PerformedCall> GoodRun() {
        FaultyFileIo io(m_Storage);
        EXPECT_EQ(Run(io), 0);
        EXPECT_EQ(OnStorage(), After());
        ResetStorage();
        return io.Performed();
    }

    // Returns whether the copy succeeds when the call fails. Such calls list leftovers or close a
    // file that was only read.
    bool IsOptional(const PerformedCall& performed) const {
        if (performed.call == FileCall::kList) {
            return performed.path == m_Storage;
        }
        return performed.call == FileCall::kClose &&
               performed.path.find("/.quorvel-unfinished-") == std::string::npos;
    }

    // Returns the expected line if the call with the index at is the first failing call.
    std::string ExpectedLine(const std::vector<PerformedCall>& good, std::size_t at) const {
        const FaultyFileIo io(m_Storage);
        const bool onStorage = io.IsOnStorage(good[at].path);
        for (std::size_t i = at; i < (IsPermanent() ? good.size() : at + 1); ++i) {
            const bool fails = i == at || (io.IsOnStorage(good[i].path) == onStorage &&
                                           FaultyFileIo::IsRejected(good[i].call, Error()));
            if (fails && !IsOptional(good[i])) {
                return onStorage ? LineOf(Error()) : kUnreadable;
            }
        }
        return kDone;
    }

    // Expects no copy or a complete copy. Ignores folders with a temporary name.
    void ExpectNoPartialCopy() {
        const Tree tree = WithoutUnfinished(OnStorage());
        // If only the removal of the copy failed, a complete copy remains.
        EXPECT_TRUE(tree == Before() || tree == After()) << testing::PrintToString(tree);
    }

    // Expects that the next copy succeeds and removes the leftovers.
    void ExpectNextCopySucceeds() {
        const bool wasKept = OnStorage().count(m_CopyName + "/") != 0;
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(OnStorage(), wasKept ? AfterTwo() : After());
    }

    void ExpectOutcome(const std::string& line, int result) {
        const bool isDone = line == kDone;
        EXPECT_EQ(result, isDone ? 0 : -1);
        EXPECT_THAT(isDone ? m_Infos : m_Errors, ElementsAre(StartsWith(line)));
        EXPECT_THAT(isDone ? m_Errors : m_Infos, IsEmpty());
    }
};

TEST_P(LogCopyFaultTest, ReportsFailureOfEveryCall) {
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    const std::vector<PerformedCall> good = GoodRun();
    // The copy opens, locates, reads, writes, syncs and closes four files.
    ASSERT_GT(good.size(), 45U);
    for (std::size_t at = 0; at < good.size(); ++at) {
        SCOPED_TRACE(testing::Message() << "call " << at << ": " << good[at]);
        FaultyFileIo io(m_Storage);
        Fail(io, at);
        const int result = Run(io);
        const std::string line = ExpectedLine(good, at);
        ExpectOutcome(line, result);
        EXPECT_EQ(io.OpenDescriptors(), 0);
        if (line == kDone) {
            EXPECT_EQ(OnStorage(), After());
        } else if (!IsPermanent() || Error() == ENOSPC) {
            EXPECT_EQ(OnStorage(), Before());
        } else {
            ExpectNoPartialCopy();
            ExpectNextCopySucceeds();
        }
        ResetStorage();
    }
}

// After the first failure, each later call fails as well, including each call of the cleanup.
TEST_P(LogCopyFaultTest, KeepsNoPartialCopyWhenCleanupFails) {
    const std::vector<PerformedCall> good = GoodRun();
    for (std::size_t at = 0; at < good.size(); ++at) {
        FaultyFileIo probe(m_Storage);
        probe.FailOnce(at, EIO);
        Run(probe);
        const std::size_t calls = probe.Performed().size();
        ResetStorage();
        for (std::size_t second = at + 1; second < calls; ++second) {
            SCOPED_TRACE(testing::Message() << "calls " << at << " and " << second);
            FaultyFileIo io(m_Storage);
            io.FailOnce(at, EIO);
            io.SetHook([&](std::size_t index) {
                if (index == second) {
                    Fail(io, second);
                }
            });
            Run(io);
            EXPECT_EQ(m_Errors.size() + m_Infos.size(), 1U);
            EXPECT_EQ(io.OpenDescriptors(), 0);
            ExpectNoPartialCopy();
            ResetStorage();
        }
    }
}

std::string NameOfParam(const testing::TestParamInfo<std::tuple<int, bool>>& info) {
    return std::string(strerrorname_np(std::get<0>(info.param))) +
           (std::get<1>(info.param) ? "Permanently" : "Once");
}

INSTANTIATE_TEST_SUITE_P(Errors, LogCopyFaultTest,
                         testing::Combine(testing::Values(ENOSPC, EIO, ENODEV, EROFS, EACCES),
                                          testing::Bool()),
                         NameOfParam);

class LogCopyCleanupTest : public CopyFixture {};

// The last sync fails, so the folder already has its final name. A storage without space for the
// temporary name can still remove the folder.
TEST_F(LogCopyCleanupTest, RemovesCopyWhenStorageIsFull) {
    FaultyFileIo good(m_Storage);
    ASSERT_EQ(Run(good), 0);
    const std::size_t last = LastSync(good.Performed());
    for (const int error : {ENOSPC, EDQUOT}) {
        ResetStorage();
        FaultyFileIo io(m_Storage);
        io.FailPermanently(last, error);
        EXPECT_EQ(Run(io), -1);
        EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is full (")));
        EXPECT_EQ(OnStorage(), Before());
    }
}

// The copy opens the folder again to remove it.
TEST_F(LogCopyCleanupTest, KeepsTemporaryNameWhenMemoryRunsOut) {
    FaultyFileIo io(m_Storage);
    bool isFull = false;
    io.SetHook([&](std::size_t index) {
        const FileCall call = io.Performed()[index].call;
        if (call == FileCall::kWrite) {
            io.FailOnce(index, ENOSPC);
            isFull = true;
        } else if (call == FileCall::kOpen && isFull) {
            throw std::bad_alloc();
        }
    });
    EXPECT_EQ(Run(io), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is full (")));
    EXPECT_NE(OnStorage(), Before());
    EXPECT_EQ(WithoutUnfinished(OnStorage()), Before());
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(OnStorage(), After());
}

class LogCopyCrashTest : public CopyFixture {};

TEST_F(LogCopyCrashTest, RecoversFromCrashAtEveryCall) {
    FaultyFileIo good(m_Storage);
    ASSERT_EQ(Run(good), 0);
    ResetStorage();
    for (std::size_t at = 0; at < good.Performed().size(); ++at) {
        const pid_t child = fork();
        if (child == 0) {
            FaultyFileIo io(m_Storage);
            io.SetHook([at](std::size_t index) {
                if (index == at) {
                    _exit(42);
                }
            });
            Run(io);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(WEXITSTATUS(status), 42);
        const bool wasNamed = OnStorage().count(m_CopyName + "/") != 0;
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(OnStorage(), wasNamed ? AfterTwo() : After())
            << "exited before " << good.Performed()[at];
        ResetStorage();
    }
}

TEST_F(LogCopyCrashTest, CopiesDespiteLeftOverThatCannotBeRemoved) {
    const std::string leftOver = ".quorvel-unfinished-old";
    Write(m_Storage / leftOver / "quorvel.log", "half");
    FaultyFileIo good(m_Storage);
    ASSERT_EQ(Run(good), 0);
    for (std::size_t at = 0; at < good.Performed().size(); ++at) {
        const PerformedCall& one = good.Performed()[at];
        if (one.path.find(leftOver) == std::string::npos) {
            continue;
        }
        ResetStorage();
        Write(m_Storage / leftOver / "quorvel.log", "half");
        FaultyFileIo io(m_Storage);
        io.FailOnce(at, EACCES);
        EXPECT_EQ(Run(io), 0) << one;
        EXPECT_EQ(Read(m_Storage / m_CopyName / "qelXml.xml"), m_Sources["qelXml.xml"]) << one;
    }
}

// Checks the order of syncs and renames.
class LogCopyOrderTest : public CopyFixture {
protected:
    LogCopyOrderTest() : m_Io(m_Storage) {}
    void SetUp() override { ASSERT_EQ(Run(m_Io), 0); }

    std::string UnfinishedPath() const { return m_Storage / (".quorvel-unfinished-" + m_CopyName); }

    // Returns the index of the last call of this kind on the path; -1 if no such call exists.
    std::ptrdiff_t Last(FileCall call, const std::string& path) const {
        const std::vector<PerformedCall>& all = m_Io.Performed();
        const auto found = std::find_if(all.rbegin(), all.rend(), [&](const PerformedCall& one) {
            return one.call == call && one.path == path;
        });
        return all.rend() - found - 1;
    }

    FaultyFileIo m_Io;
};

TEST_F(LogCopyOrderTest, SyncsContentBeforeRename) {
    const std::string folder = UnfinishedPath();
    const std::ptrdiff_t renamed = Last(FileCall::kRename, folder);
    ASSERT_GT(renamed, 0);
    std::ptrdiff_t created = -1;
    for (const auto& [name, bytes] : m_Sources) {
        const std::string file = std::filesystem::path(folder) / name;
        created = std::max(created, Last(FileCall::kCreate, file));
        EXPECT_GT(Last(FileCall::kWrite, file), 0) << name;
        EXPECT_GT(Last(FileCall::kSync, file), Last(FileCall::kWrite, file)) << name;
        EXPECT_LT(Last(FileCall::kSync, file), renamed) << name;
    }
    EXPECT_GT(Last(FileCall::kSync, folder), created);
    EXPECT_LT(Last(FileCall::kSync, folder), renamed);
    EXPECT_GT(Last(FileCall::kSyncFileSystem, folder), created);
    EXPECT_LT(Last(FileCall::kSyncFileSystem, folder), renamed);
}

TEST_F(LogCopyOrderTest, SyncsRenameBeforeSuccess) {
    const std::string folder = UnfinishedPath();
    EXPECT_GT(Last(FileCall::kSync, m_Storage), Last(FileCall::kRename, folder));
    EXPECT_GT(Last(FileCall::kSyncFileSystem, m_Storage), Last(FileCall::kRename, folder));
}

}  // namespace
