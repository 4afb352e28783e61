#include "paths.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "platform/fixtures/ScopedVariable.h"

using quorvel::desktop::LogFilePath;
using quorvel::desktop::StateFolder;

namespace {

const std::optional<std::string> kUnusable[] = {std::nullopt, "", "relative/folder"};

TEST(PathsTest, TakesStateFolderFromEnvironment) {
    const ScopedVariable stateHome("XDG_STATE_HOME", "/var/state//");
    EXPECT_EQ(StateFolder(), "/var/state/quorvel");
    EXPECT_EQ(LogFilePath(), "/var/state/quorvel/quorvel.log");
}

TEST(PathsTest, ReturnsSameIdentityForEveryPathOfFolder) {
    using quorvel::desktop::FolderIdentity;
    EXPECT_NE(FolderIdentity("/usr"), FolderIdentity("/etc"));
    EXPECT_EQ(FolderIdentity("/usr"), FolderIdentity("/etc/../usr"));
    EXPECT_EQ(FolderIdentity("/missing"), "none");
}

TEST(PathsTest, ReturnsStateFolderInHomeFolder) {
    const ScopedVariable home("HOME", "/home/someone");
    for (const std::optional<std::string>& unusable : kUnusable) {
        const ScopedVariable stateHome("XDG_STATE_HOME", unusable);
        EXPECT_EQ(StateFolder(), "/home/someone/.local/state/quorvel");
    }
}

TEST(PathsTest, TakesHomeFolderFromAccount) {
    const passwd* account = getpwuid(getuid());
    if (account == nullptr) {
        GTEST_SKIP() << "this user has no account";
    }
    const std::string expected = std::string(account->pw_dir) + "/.local/state/quorvel";
    const ScopedVariable stateHome("XDG_STATE_HOME", std::nullopt);
    for (const std::optional<std::string>& unusable : kUnusable) {
        const ScopedVariable home("HOME", unusable);
        EXPECT_EQ(StateFolder(), expected);
    }
}

TEST(PathsTest, NumbersRotatedLogs) {
    EXPECT_EQ(quorvel::desktop::RotatedLogName(0), "quorvel.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(1), "quorvel.1.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(12), "quorvel.12.log");
    EXPECT_STREQ(quorvel::desktop::kLogStartName, "quorvel.start.log");
}

TEST(PathsTest, ReturnsFixedDataFolder) {
    EXPECT_EQ(quorvel::desktop::DataFolder(), "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data");
}

}  // namespace
