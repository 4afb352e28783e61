#include "lifecycle/owner.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"

using quorvel::desktop::RuntimeFolder;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class OwnerFolderTest : public testing::Test {
protected:
    void SetMode(const fs::path& folder, mode_t mode) const {
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
    }

    static mode_t ModeOf(const fs::path& folder) {
        struct stat status {};
        EXPECT_EQ(lstat(folder.c_str(), &status), 0);
        return status.st_mode & 0777U;
    }

    std::string Folder() { return RuntimeFolder(m_Why, m_Folders.Root() / "sessions"); }

    // Creates the folder that the system provides for the user's session.
    fs::path CreateSystemFolder() const {
        fs::path session = m_Folders.Root() / "sessions" / std::to_string(geteuid());
        fs::create_directories(session);
        SetMode(session, 0700);
        return session;
    }

    PrivateFolders m_Folders;
    fs::path m_Session = m_Folders.Root() / "run";
    fs::path m_Fallback = m_Folders.Root() / "tmp" / ("quorvel-" + std::to_string(geteuid()));
    ScopedVariable m_SessionVariable{"XDG_RUNTIME_DIR", m_Session};
    ScopedVariable m_TemporaryVariable{"TMPDIR", m_Folders.Root() / "tmp"};
    std::string m_Why;
};

TEST_F(OwnerFolderTest, UsesSessionFolder) {
    EXPECT_EQ(Folder(), m_Session / "quorvel");
    EXPECT_EQ(ModeOf(m_Session / "quorvel"), 0700);
    EXPECT_EQ(Folder(), m_Session / "quorvel") << "existing folder";
}

TEST_F(OwnerFolderTest, UsesTemporaryFolderWithoutSession) {
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), m_Fallback);
    EXPECT_EQ(ModeOf(m_Fallback), 0700);
}

// A program that cron or ssh starts must find the owner on the user's screen.
TEST_F(OwnerFolderTest, FindsSessionFolderWithoutVariable) {
    const fs::path session = CreateSystemFolder();
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), session / "quorvel");
    EXPECT_EQ(ModeOf(session / "quorvel"), 0700);
    SetMode(session, 0755);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, PrefersVariableToSystemFolder) {
    CreateSystemFolder();
    EXPECT_EQ(Folder(), m_Session / "quorvel");
    SetMode(m_Session, 0770);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, IgnoresSystemFolderOfOtherUser) {
    const fs::path session = CreateSystemFolder();
    if (chown(session.c_str(), kOtherUser, kOtherUser) != 0) {
        GTEST_SKIP() << "only root can change the owner of a folder";
    }
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, IgnoresRelativeOrMissingSessionFolder) {
    const ScopedVariable relative("XDG_RUNTIME_DIR", "run");
    EXPECT_EQ(Folder(), m_Fallback);
    const ScopedVariable missing("XDG_RUNTIME_DIR", m_Folders.Root() / "missing");
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, IgnoresSessionFolderOpenToOthers) {
    SetMode(m_Session, 0770);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, IgnoresSessionFolderOfOtherUser) {
    if (chown(m_Session.c_str(), kOtherUser, kOtherUser) != 0) {
        GTEST_SKIP() << "only root can change the owner of a folder";
    }
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, IgnoresPathTooLongForSocket) {
    const fs::path session = m_Session / std::string(80, 'x');
    fs::create_directory(session);
    SetMode(session, 0700);
    const ScopedVariable longPath("XDG_RUNTIME_DIR", session);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(OwnerFolderTest, RejectsTemporaryFolderOpenToOthers) {
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0777);
    EXPECT_THAT(Folder(), IsEmpty());
    EXPECT_THAT(m_Why, HasSubstr(m_Fallback.string()));
}

TEST_F(OwnerFolderTest, RejectsSymbolicLinkAsTemporaryFolder) {
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    fs::create_directory_symlink(m_Session, m_Fallback);
    EXPECT_THAT(Folder(), IsEmpty());
}

TEST_F(OwnerFolderTest, RejectsTemporaryFolderOfOtherUser) {
    const ScopedVariable unset("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0700);
    if (chown(m_Fallback.c_str(), kOtherUser, kOtherUser) != 0) {
        GTEST_SKIP() << "only root can change the owner of a folder";
    }
    EXPECT_THAT(Folder(), IsEmpty());
}

}  // namespace
