#include "paths.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "platform/fixtures/ScopedVariable.h"

using quorvel::desktop::LogFilePath;
using quorvel::desktop::StateDir;

namespace {

const std::optional<std::string> UNUSABLE[] = {std::nullopt, "", "relative/folder"};

TEST(PathsTest, StateFolderFollowsTheEnvironment) {
    const ScopedVariable stateHome("XDG_STATE_HOME", "/var/state//");
    EXPECT_EQ(StateDir(), "/var/state/quorvel");
    EXPECT_EQ(LogFilePath(), "/var/state/quorvel/quorvel.log");
}

TEST(PathsTest, FolderIsToldFromOthersAndKnownByEveryPath) {
    using quorvel::desktop::FolderIdentity;
    EXPECT_NE(FolderIdentity("/usr"), FolderIdentity("/etc"));
    EXPECT_EQ(FolderIdentity("/usr"), FolderIdentity("/etc/../usr"));
    EXPECT_EQ(FolderIdentity("/missing"), "none");
}

TEST(PathsTest, StateFolderIsInTheHomeFolder) {
    const ScopedVariable home("HOME", "/home/someone");
    for (const std::optional<std::string>& unusable : UNUSABLE) {
        const ScopedVariable stateHome("XDG_STATE_HOME", unusable);
        EXPECT_EQ(StateDir(), "/home/someone/.local/state/quorvel");
    }
}

TEST(PathsTest, HomeFolderOfTheAccountStandsIn) {
    const passwd* account = getpwuid(getuid());
    if (account == nullptr) {
        GTEST_SKIP() << "this user has no account";
    }
    const std::string expected = std::string(account->pw_dir) + "/.local/state/quorvel";
    const ScopedVariable stateHome("XDG_STATE_HOME", std::nullopt);
    for (const std::optional<std::string>& unusable : UNUSABLE) {
        const ScopedVariable home("HOME", unusable);
        EXPECT_EQ(StateDir(), expected);
    }
}

TEST(PathsTest, RotatedLogsAreNumbered) {
    EXPECT_EQ(quorvel::desktop::RotatedLogName(0), "quorvel.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(1), "quorvel.1.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(12), "quorvel.12.log");
}

TEST(PathsTest, DataFolderIsFixed) {
    EXPECT_EQ(quorvel::desktop::DataDir(), "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data");
}

}  // namespace
