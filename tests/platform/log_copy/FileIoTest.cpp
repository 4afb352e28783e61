#include "log_copy/file_io.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"

namespace fs = std::filesystem;
using quorvel::desktop::FileHandle;
using quorvel::desktop::SystemFileIo;

namespace {

class FileIoTest : public testing::Test {
protected:
    FileHandle OpenFolder(const fs::path& path) {
        return FileHandle(m_Io, m_Io.Open(AT_FDCWD, path, O_RDONLY | O_DIRECTORY, 0));
    }

    ScratchFolder m_Scratch;
    SystemFileIo m_Io;
};

TEST_F(FileIoTest, ListsWhatIsInAFolderHoweverOften) {
    fs::create_directory(m_Scratch.Path() / "one");
    fs::create_directory(m_Scratch.Path() / "two");
    const FileHandle folder = OpenFolder(m_Scratch.Path());
    for (int i = 0; i < 2; ++i) {
        std::vector<std::string> names = {"from before"};
        // Not an error of the listing.
        errno = EIO;
        EXPECT_EQ(m_Io.List(folder.Get(), names), 0);
        EXPECT_THAT(names, testing::UnorderedElementsAre("one", "two"));
    }
}

TEST_F(FileIoTest, RenamingReplacesNothing) {
    fs::create_directory(m_Scratch.Path() / "from");
    fs::create_directory(m_Scratch.Path() / "to");
    const FileHandle folder = OpenFolder(m_Scratch.Path());
    EXPECT_EQ(m_Io.Rename(folder.Get(), "from", "to"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(fs::exists(m_Scratch.Path() / "from"));
    EXPECT_EQ(m_Io.Rename(folder.Get(), "from", "elsewhere"), 0);
    EXPECT_FALSE(fs::exists(m_Scratch.Path() / "from"));
}

TEST_F(FileIoTest, HandleClosesOnce) {
    FaultyFileIo io(m_Scratch.Path());
    {
        FileHandle first(io, io.Open(AT_FDCWD, m_Scratch.Path(), O_RDONLY, 0));
        FileHandle second(std::move(first));
        FileHandle third(io, io.Open(AT_FDCWD, m_Scratch.Path(), O_RDONLY, 0));
        third = std::move(second);
        EXPECT_EQ(io.OpenDescriptors(), 1);
        EXPECT_EQ(third.Close(), 0);
        EXPECT_FALSE(third.IsOpen());
        EXPECT_EQ(third.Close(), 0);
    }
    EXPECT_EQ(io.OpenDescriptors(), 0);
}

}  // namespace
