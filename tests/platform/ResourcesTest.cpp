#include "resources.h"

#include <gmock/gmock.h>
#include <tv_services.h>

#include <fstream>
#include <string>

#include "platform/fixtures/ChildProgram.h"
#include "platform/fixtures/PrivateFolders.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kPicture = "Settings/setting_bg_base.webp";

class ResourcesTest : public testing::Test {
protected:
    // What a program finds that lies at this place.
    std::string Find(const fs::path& program, const std::string& resource,
                     const Environment& extra = {}) const {
        ChildProgram finder(m_Folders, program, {resource}, extra);
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

TEST_F(ResourcesTest, FoundInTheBuildWithoutAnySetting) {
    const std::string path = Find(QUORVEL_RESOURCE_FINDER, kPicture);
    EXPECT_TRUE(fs::exists(path)) << path;
}

TEST_F(ResourcesTest, FoundBesideTheProgram) {
    const fs::path expected = Make("build/resources", kPicture);
    EXPECT_EQ(Find(Copy("build/finder"), kPicture), expected);
}

TEST_F(ResourcesTest, FoundWhereverItIsInstalled) {
    const fs::path expected = Make("prefix/share/quorvel/resources", kPicture);
    EXPECT_EQ(Find(Copy("prefix/bin/finder"), kPicture), expected);
}

TEST_F(ResourcesTest, ChosenFolderGoesFirst) {
    Make("build/resources", kPicture);
    const fs::path expected = Make("chosen", kPicture);
    EXPECT_EQ(
        Find(Copy("build/finder"), kPicture, {{"QUORVEL_RESOURCES", m_Folders.Root() / "chosen"}}),
        expected);
}

TEST_F(ResourcesTest, MissingFileHasAPathAnyway) {
    EXPECT_THAT(Find(QUORVEL_RESOURCE_FINDER, "no/such.webp"),
                testing::EndsWith("/share/quorvel/resources/org.tizen.menu/no/such.webp"));
}

TEST_F(ResourcesTest, NullIsNoResource) {
    EXPECT_EQ(getResourcePath(nullptr, kPicture), nullptr);
    EXPECT_EQ(getResourcePath("org.tizen.menu", nullptr), nullptr);
}

}  // namespace
