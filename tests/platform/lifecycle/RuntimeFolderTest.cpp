#include "lifecycle/runtime_folder.h"

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

constexpr uid_t kSomebodyElse = 12345;

class RuntimeFolderTest : public testing::Test {
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

    // What the system keeps for the user's session, with or without the variable.
    fs::path MakeSessionOfTheSystem() const {
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

TEST_F(RuntimeFolderTest, LiesInTheFolderOfTheSession) {
    EXPECT_EQ(Folder(), m_Session / "quorvel");
    EXPECT_EQ(ModeOf(m_Session / "quorvel"), 0700);
    EXPECT_EQ(Folder(), m_Session / "quorvel") << "the second time";
}

TEST_F(RuntimeFolderTest, WithoutASessionItLiesWithTheTemporaryFiles) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), m_Fallback);
    EXPECT_EQ(ModeOf(m_Fallback), 0700);
}

// So that a program that cron or ssh starts finds the one on the user's screen.
TEST_F(RuntimeFolderTest, WithoutTheVariableTheSystemsFolderOfTheSessionIsUsed) {
    const fs::path session = MakeSessionOfTheSystem();
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), session / "quorvel");
    EXPECT_EQ(ModeOf(session / "quorvel"), 0700);
    SetMode(session, 0755);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, VariableGoesBeforeTheSystemsFolderOfTheSession) {
    MakeSessionOfTheSystem();
    EXPECT_EQ(Folder(), m_Session / "quorvel");
    SetMode(m_Session, 0770);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, SystemsFolderOfTheSessionMustBeTheUsers) {
    const fs::path session = MakeSessionOfTheSystem();
    if (chown(session.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, SessionFolderMustBeAbsoluteAndThere) {
    const ScopedVariable relative("XDG_RUNTIME_DIR", "run");
    EXPECT_EQ(Folder(), m_Fallback);
    const ScopedVariable missing("XDG_RUNTIME_DIR", m_Folders.Root() / "missing");
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, SessionFolderOpenToOthersIsNotUsed) {
    SetMode(m_Session, 0770);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, SessionFolderOfSomebodyElseIsNotUsed) {
    if (chown(m_Session.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, PathTooLongForASocketIsNotUsed) {
    const fs::path session = m_Session / std::string(80, 'x');
    fs::create_directory(session);
    SetMode(session, 0700);
    const ScopedVariable longer("XDG_RUNTIME_DIR", session);
    EXPECT_EQ(Folder(), m_Fallback);
}

TEST_F(RuntimeFolderTest, FallbackOpenToOthersIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0777);
    EXPECT_THAT(Folder(), IsEmpty());
    EXPECT_THAT(m_Why, HasSubstr(m_Fallback.string()));
}

TEST_F(RuntimeFolderTest, FallbackThatSomebodyLaidAsALinkIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory_symlink(m_Session, m_Fallback);
    EXPECT_THAT(Folder(), IsEmpty());
}

TEST_F(RuntimeFolderTest, FallbackOfSomebodyElseIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0700);
    if (chown(m_Fallback.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    EXPECT_THAT(Folder(), IsEmpty());
}

}  // namespace
