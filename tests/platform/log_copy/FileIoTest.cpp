#include "log_copy/file_io.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/fakes/FailingCalls.h"
#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"

namespace fs = std::filesystem;
using quorvel::desktop::File;

namespace {

class FileIoTest : public testing::Test {
protected:
    ScratchFolder m_Scratch;
};

TEST_F(FileIoTest, ListsFolderRepeatedly) {
    fs::create_directory(m_Scratch.Path() / "one");
    fs::create_directory(m_Scratch.Path() / "two");
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < 2; ++i) {
        std::vector<std::string> names = {"old name"};
        // An old error must not make the listing fail.
        errno = EIO;
        EXPECT_TRUE(folder.List(names));
        EXPECT_THAT(names, testing::UnorderedElementsAre("one", "two"));
    }
}

TEST_F(FileIoTest, ReportsFolderThatCannotBeListed) {
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    const File file(folder, "file", O_WRONLY | O_CREAT, 0600);
    std::vector<std::string> names;
    EXPECT_FALSE(file.List(names));
    EXPECT_EQ(errno, ENOTDIR);
    const FailingCallScope scope(FailingCall::kFolderRead);
    EXPECT_FALSE(folder.List(names));
    EXPECT_EQ(errno, EIO);
}

// The second iteration simulates a file system that cannot rename without replacing.
TEST_F(FileIoTest, RenamesWithoutReplacing) {
    fs::create_directory(m_Scratch.Path() / "from");
    fs::create_directory(m_Scratch.Path() / "to");
    fs::create_symlink("nowhere", m_Scratch.Path() / "link");
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    for (const FailingCall call : {FailingCall::kNothing, FailingCall::kRename}) {
        const FailingCallScope scope(call);
        for (const char* taken : {"to", "link"}) {
            EXPECT_FALSE(folder.Rename("from", taken));
            EXPECT_EQ(errno, EEXIST);
            EXPECT_TRUE(fs::exists(m_Scratch.Path() / "from"));
        }
        EXPECT_FALSE(folder.Rename("from", std::string(300, 'n')));
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_TRUE(folder.Rename("from", "elsewhere"));
        EXPECT_FALSE(fs::exists(m_Scratch.Path() / "from"));
        fs::rename(m_Scratch.Path() / "elsewhere", m_Scratch.Path() / "from");
    }
}

TEST_F(FileIoTest, ReportsClosedFile) {
    File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    EXPECT_TRUE(folder.Close());
    std::uint64_t id = 0;
    EXPECT_FALSE(folder.MountId(id));
    EXPECT_EQ(errno, EBADF);
    std::string path;
    EXPECT_FALSE(folder.Path(path));
}

TEST_F(FileIoTest, ReportsFileSystemWithoutMountIds) {
    const FailingCallScope scope(FailingCall::kMountId);
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    std::uint64_t id = 0;
    EXPECT_FALSE(folder.MountId(id));
    EXPECT_EQ(errno, EOPNOTSUPP);
}

TEST_F(FileIoTest, ReportsStatusOfMissingFile) {
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    struct stat status {};
    EXPECT_FALSE(folder.Status(status, "missing"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileIoTest, ReturnsStatusOfFolderAndOfLinkInFolder) {
    fs::create_symlink("nowhere", m_Scratch.Path() / "link");
    const File folder(m_Scratch.Path(), O_RDONLY | O_DIRECTORY);
    struct stat status {};
    EXPECT_TRUE(folder.Status(status));
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_TRUE(folder.Status(status, "link"));
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(FileIoTest, ReadsFromOffset) {
    std::ofstream(m_Scratch.Path() / "file") << "abcdef";
    const File file(m_Scratch.Path() / "file", O_RDONLY);
    std::string bytes(3, ' ');
    for (const off_t offset : {2, 0}) {
        EXPECT_EQ(file.Read(bytes.data(), bytes.size(), offset), 3);
        EXPECT_EQ(bytes, std::string("abcdef").substr(static_cast<std::size_t>(offset), 3));
    }
}

TEST_F(FileIoTest, ClosesOnce) {
    FaultyFileIo io(m_Scratch.Path());
    const FaultyFileIo::Scope scope(io);
    {
        File first(m_Scratch.Path(), O_RDONLY);
        File second(std::move(first));
        EXPECT_EQ(io.OpenDescriptors(), 1);
        EXPECT_TRUE(second.Close());
        EXPECT_FALSE(second.IsOpen());
        EXPECT_TRUE(second.Close());
    }
    EXPECT_EQ(io.OpenDescriptors(), 0);
    EXPECT_EQ(io.Performed().size(), 2U);
}

// After the first close, another thread can have a file with the same descriptor.
TEST_F(FileIoTest, DoesNotRepeatInterruptedClose) {
    FaultyFileIo io(m_Scratch.Path());
    const FaultyFileIo::Scope scope(io);
    io.FailOnce(1, EINTR);
    File folder(m_Scratch.Path(), O_RDONLY);
    EXPECT_FALSE(folder.Close());
    ASSERT_EQ(io.Performed().size(), 2U);
    EXPECT_EQ(io.Performed()[1].call, FileCall::kClose);
}

}  // namespace
