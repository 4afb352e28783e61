#include "runtime_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/PrivateFolders.h"
#include "support/ScopedVariable.h"

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

    PrivateFolders m_Folders;
    fs::path m_Session = m_Folders.Root() / "run";
    fs::path m_Fallback = m_Folders.Root() / "tmp" / ("quorvel-" + std::to_string(geteuid()));
    ScopedVariable m_SessionVariable{"XDG_RUNTIME_DIR", m_Session};
    ScopedVariable m_TemporaryVariable{"TMPDIR", m_Folders.Root() / "tmp"};
    std::string m_Why;
};

TEST_F(RuntimeFolderTest, LiesInTheFolderOfTheSession) {
    EXPECT_EQ(RuntimeFolder(m_Why), m_Session / "quorvel");
    EXPECT_EQ(ModeOf(m_Session / "quorvel"), 0700);
    EXPECT_EQ(RuntimeFolder(m_Why), m_Session / "quorvel") << "the second time";
}

TEST_F(RuntimeFolderTest, WithoutASessionItLiesWithTheTemporaryFiles) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
    EXPECT_EQ(ModeOf(m_Fallback), 0700);
}

TEST_F(RuntimeFolderTest, SessionFolderMustBeAbsoluteAndThere) {
    const ScopedVariable relative("XDG_RUNTIME_DIR", "run");
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
    const ScopedVariable missing("XDG_RUNTIME_DIR", m_Folders.Root() / "missing");
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
}

TEST_F(RuntimeFolderTest, SessionFolderOpenToOthersIsNotUsed) {
    SetMode(m_Session, 0770);
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
}

TEST_F(RuntimeFolderTest, SessionFolderOfSomebodyElseIsNotUsed) {
    if (chown(m_Session.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
}

TEST_F(RuntimeFolderTest, PathTooLongForASocketIsNotUsed) {
    const fs::path session = m_Session / std::string(80, 'x');
    fs::create_directory(session);
    SetMode(session, 0700);
    const ScopedVariable longer("XDG_RUNTIME_DIR", session);
    EXPECT_EQ(RuntimeFolder(m_Why), m_Fallback);
}

TEST_F(RuntimeFolderTest, FallbackOpenToOthersIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0777);
    EXPECT_THAT(RuntimeFolder(m_Why), IsEmpty());
    EXPECT_THAT(m_Why, HasSubstr(m_Fallback.string()));
}

TEST_F(RuntimeFolderTest, FallbackThatSomebodyLaidAsALinkIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory_symlink(m_Session, m_Fallback);
    EXPECT_THAT(RuntimeFolder(m_Why), IsEmpty());
}

TEST_F(RuntimeFolderTest, FallbackOfSomebodyElseIsRefused) {
    const ScopedVariable none("XDG_RUNTIME_DIR", {});
    fs::create_directory(m_Fallback);
    SetMode(m_Fallback, 0700);
    if (chown(m_Fallback.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    EXPECT_THAT(RuntimeFolder(m_Why), IsEmpty());
}

}  // namespace
