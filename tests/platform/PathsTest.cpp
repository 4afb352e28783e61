#include "paths.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

using quorvel::desktop::LogFilePath;
using quorvel::desktop::StateDir;

namespace {

std::optional<std::string> Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

void SetVariable(const char* name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name, value->c_str(), 1);
    } else {
        unsetenv(name);
    }
}

// Puts the environment back afterwards.
class PathsTest : public testing::Test {
protected:
    ~PathsTest() override {
        SetVariable("HOME", m_Home);
        SetVariable("XDG_STATE_HOME", m_StateHome);
    }

    std::optional<std::string> m_Home = Variable("HOME");
    std::optional<std::string> m_StateHome = Variable("XDG_STATE_HOME");
};

TEST_F(PathsTest, StateFolderFollowsTheEnvironment) {
    SetVariable("XDG_STATE_HOME", "/var/state//");
    EXPECT_EQ(StateDir(), "/var/state/quorvel");
    EXPECT_EQ(LogFilePath(), "/var/state/quorvel/quorvel.log");
}

TEST_F(PathsTest, StateFolderIsInTheHomeFolder) {
    SetVariable("HOME", "/home/someone");
    for (const char* unusable : {"", "relative/folder"}) {
        SetVariable("XDG_STATE_HOME", unusable);
        EXPECT_EQ(StateDir(), "/home/someone/.local/state/quorvel");
    }
    SetVariable("XDG_STATE_HOME", std::nullopt);
    EXPECT_EQ(StateDir(), "/home/someone/.local/state/quorvel");
}

TEST_F(PathsTest, HomeFolderOfTheAccountStandsIn) {
    const passwd* account = getpwuid(getuid());
    if (account == nullptr) {
        GTEST_SKIP() << "this user has no account";
    }
    const std::string expected = std::string(account->pw_dir) + "/.local/state/quorvel";
    SetVariable("XDG_STATE_HOME", std::nullopt);
    SetVariable("HOME", std::nullopt);
    EXPECT_EQ(StateDir(), expected);
    SetVariable("HOME", "somewhere");
    EXPECT_EQ(StateDir(), expected);
}

TEST_F(PathsTest, RotatedLogsAreNumbered) {
    EXPECT_EQ(quorvel::desktop::RotatedLogName(0), "quorvel.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(1), "quorvel.1.log");
    EXPECT_EQ(quorvel::desktop::RotatedLogName(12), "quorvel.12.log");
}

TEST_F(PathsTest, DataFolderIsFixed) {
    EXPECT_EQ(quorvel::desktop::DataDir(), "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data");
}

}  // namespace
