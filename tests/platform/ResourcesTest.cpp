#include "resources.h"

#include <gmock/gmock.h>
#include <tv_services.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/PrivateFolders.h"

namespace fs = std::filesystem;

using quorvel::desktop::FindResource;

namespace {

constexpr const char* kPicture = "Settings/setting_bg_base.webp";

class ResourcesTest : public testing::Test {
protected:
    // Returns the path that the program finds. The parameters chosen and theme are the values of
    // QUORVEL_RESOURCES and QUORVEL_THEME.
    std::string Find(const fs::path& program, const std::string& resource,
                     const std::string& chosen = {}, const std::string& theme = {}) const {
        ChildProgram finder(m_Folders, program, {resource},
                            {{"QUORVEL_RESOURCES", chosen}, {"QUORVEL_THEME", theme}});
        EXPECT_EQ(finder.Exit(), 0);
        return finder.Output();
    }

    fs::path Copy(const fs::path& place) const {
        fs::create_directories((m_Folders.Root() / place).parent_path());
        fs::copy_file(QUORVEL_RESOURCE_FINDER, m_Folders.Root() / place);
        return m_Folders.Root() / place;
    }

    fs::path Make(const fs::path& folder, const std::string& resource) const {
        fs::path path = m_Folders.Root() / folder / "org.tizen.menu" / resource;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "picture";
        return path;
    }

    PrivateFolders m_Folders;
};

TEST_F(ResourcesTest, ReturnsAbsolutePathForRelativeFolder) {
    const std::string relative = fs::relative(m_Folders.Root() / "chosen").string();
    const fs::path file = Make("chosen", kPicture);
    const fs::path found = Find(QUORVEL_RESOURCE_FINDER, kPicture, relative);
    EXPECT_TRUE(found.is_absolute()) << found;
    EXPECT_TRUE(fs::equivalent(found, file)) << found;
}

TEST_F(ResourcesTest, FindsFileInBuildFolder) {
    const std::string path = Find(QUORVEL_RESOURCE_FINDER, kPicture);
    EXPECT_TRUE(fs::exists(path)) << path;
}

TEST_F(ResourcesTest, FindsFileInFolderOfProgram) {
    const fs::path expected = Make("build/resources", kPicture);
    EXPECT_EQ(Find(Copy("build/finder"), kPicture), expected);
}

TEST_F(ResourcesTest, FindsInstalledFileUnderAnyPrefix) {
    const fs::path expected = Make("prefix/share/quorvel/resources", kPicture);
    EXPECT_EQ(Find(Copy("prefix/bin/finder"), kPicture), expected);
}

TEST_F(ResourcesTest, PrefersChosenFolder) {
    Make("build/resources", kPicture);
    const fs::path expected = Make("chosen", kPicture);
    EXPECT_EQ(Find(Copy("build/finder"), kPicture, m_Folders.Root() / "chosen"), expected);
}

TEST_F(ResourcesTest, PrefersFileOfHighContrastTheme) {
    const fs::path normal = Make("build/resources", kPicture);
    const fs::path expected = Make("build/resources/high-contrast", kPicture);
    const fs::path finder = Copy("build/finder");
    EXPECT_EQ(Find(finder, kPicture, "", "high-contrast"), expected);
    EXPECT_EQ(Find(finder, kPicture, "", "other"), normal);
    EXPECT_EQ(Find(finder, kPicture), normal);
}

TEST_F(ResourcesTest, FindsFileThatAllThemesShare) {
    const fs::path expected = Make("build/resources", kPicture);
    EXPECT_EQ(Find(Copy("build/finder"), kPicture, "", "high-contrast"), expected);
}

TEST_F(ResourcesTest, ReturnsInstalledPathForMissingFile) {
    EXPECT_THAT(Find(QUORVEL_RESOURCE_FINDER, "no/such.webp"),
                testing::EndsWith("/share/quorvel/resources/org.tizen.menu/no/such.webp"));
}

TEST_F(ResourcesTest, FindsFileOnSeveralThreads) {
    const std::string file = std::string("org.tizen.menu/") + kPicture;
    const std::string expected = FindResource(file);
    EXPECT_TRUE(fs::exists(expected)) << expected;
    std::vector<std::future<std::string>> found(8);
    for (std::future<std::string>& path : found) {
        path = std::async(std::launch::async, FindResource, file);
    }
    for (std::future<std::string>& path : found) {
        EXPECT_EQ(path.get(), expected);
    }
}

TEST_F(ResourcesTest, ReturnsNullForNull) {
    EXPECT_EQ(getResourcePath(nullptr, kPicture), nullptr);
    EXPECT_EQ(getResourcePath("org.tizen.menu", nullptr), nullptr);
}

}  // namespace
