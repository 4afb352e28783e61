#include "runs/temporary_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tools/fixtures/RunFolder.h"

using quorvel::runs::TemporaryFolder;

namespace fs = std::filesystem;

// Wraps flock, which fails on a file system without locks.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
static bool g_HasLocks = true;
extern "C" int __real_flock(int file, int operation);
extern "C" int __wrap_flock(int file, int operation);

int __wrap_flock(int file, int operation) {
    if (g_HasLocks) {
        return __real_flock(file, operation);
    }
    errno = EOPNOTSUPP;
    return -1;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

// TMPDIR names an empty folder.
class TemporaryFolderTest : public testing::Test {
protected:
    static fs::path Parent() { return std::getenv("TMPDIR"); }

    static std::ptrdiff_t CountFolders() {
        return std::distance(fs::directory_iterator(Parent()), fs::directory_iterator());
    }

    // Creates a folder with a file in another process, and kills the process.
    static void LeaveFolder() {
        const pid_t child = fork();
        if (child == 0) {
            const TemporaryFolder folder;
            std::ofstream(folder.Path() + "/file") << "content";
            std::raise(SIGKILL);
        }
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
    }

    RunFolder m_Runs;
};

TEST_F(TemporaryFolderTest, CreatesPrivateFolderAndRemovesIt) {
    {
        const TemporaryFolder folder;
        struct stat status {};
        ASSERT_EQ(stat(folder.Path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0700U);
        EXPECT_EQ(fs::path(folder.Path()).parent_path(), Parent());
    }
    EXPECT_EQ(CountFolders(), 0);
}

TEST_F(TemporaryFolderTest, UsesTmpWhenTmpdirIsMissing) {
    setenv("TMPDIR", m_Runs.Path("missing").c_str(), 1);
    EXPECT_EQ(fs::path(TemporaryFolder().Path()).parent_path(), "/tmp");
}

TEST_F(TemporaryFolderTest, RemovesFolderOfKilledProcess) {
    LeaveFolder();
    ASSERT_EQ(CountFolders(), 1);
    const TemporaryFolder folder;
    EXPECT_EQ(CountFolders(), 1);
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST_F(TemporaryFolderTest, KeepsFolderInUse) {
    const TemporaryFolder first;
    std::ofstream(first.Path() + "/file") << "content";
    const TemporaryFolder second;
    EXPECT_TRUE(fs::exists(first.Path() + "/file"));
    EXPECT_EQ(CountFolders(), 2);
}

TEST_F(TemporaryFolderTest, KeepsOtherFilesAndLinks) {
    const fs::path other = Parent() / "other";
    fs::create_directory(other);
    std::ofstream(other / "file") << "content";
    fs::create_symlink(other, Parent() / "quorvel-data.abcdef");
    std::ofstream(Parent() / "quorvel-data.ghijkl") << "a file";
    const TemporaryFolder folder;
    EXPECT_EQ(CountFolders(), 4);
    EXPECT_TRUE(fs::exists(other / "file"));
}

TEST_F(TemporaryFolderTest, KeepsFolderOfOtherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can create folders of another user";
    }
    const fs::path other = Parent() / "quorvel-data.abcdef";
    fs::create_directory(other);
    ASSERT_EQ(chown(other.c_str(), 12345, 12345), 0);
    const TemporaryFolder folder;
    EXPECT_TRUE(fs::exists(other));
}

TEST_F(TemporaryFolderTest, FailsWhenFolderCannotBeOpened) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(2);
        const int free = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(free);
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit limit{static_cast<rlim_t>(free), before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
        try {
            const TemporaryFolder folder;
        } catch (const fs::filesystem_error& error) {
            // A sanitizer needs a descriptor to check the type of the exception.
            setrlimit(RLIMIT_NOFILE, &before);
            _exit(error.code().value());
        }
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), EMFILE);
    EXPECT_EQ(CountFolders(), 0);
}

TEST_F(TemporaryFolderTest, CreatesFolderOnFileSystemWithoutLocks) {
    g_HasLocks = false;
    {
        const TemporaryFolder folder;
        EXPECT_TRUE(fs::exists(folder.Path()));
        const TemporaryFolder other;
        EXPECT_EQ(CountFolders(), 2);
    }
    g_HasLocks = true;
    EXPECT_EQ(CountFolders(), 0);
}

TEST_F(TemporaryFolderTest, AcceptsRelativeTmpdir) {
    const fs::path parent = Parent();
    const fs::path before = fs::current_path();
    fs::current_path(parent.parent_path());
    setenv("TMPDIR", parent.filename().c_str(), 1);
    {
        const TemporaryFolder folder;
        EXPECT_EQ(fs::path(folder.Path()).parent_path(), parent);
    }
    fs::current_path(before);
}

}  // namespace
