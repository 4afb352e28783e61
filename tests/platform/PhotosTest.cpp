#include "photos.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "paths.h"
#include "platform/fixtures/PrivateFolders.h"

namespace quorvel::desktop {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class PhotosTest : public testing::Test {
protected:
    void Create(const std::string& place) const {
        const fs::path path = m_Folders.Root() / place;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "x";
    }
    // Returns the path of the photo below the root folder; empty if the photo is not found.
    std::string Find(const std::string& name) const {
        const std::string path = FindPhoto(m_Folders.Root(), name);
        return path.empty() ? path : path.substr(m_Folders.Root().string().size() + 1);
    }

    PrivateFolders m_Folders;
};

TEST_F(PhotosTest, ListsLongerPlacesFirst) {
    EXPECT_THAT(ListPhotoPlaces("/mnt/a/1.jpg"),
                ElementsAre("mnt/a/1.jpg", "capture/mnt/a/1.jpg", "mnt+a+1.jpg", "a/1.jpg",
                            "capture/a/1.jpg", "a+1.jpg", "1.jpg", "capture/1.jpg"));
}

TEST_F(PhotosTest, ListsFileNamesThatFatAccepts) {
    EXPECT_THAT(ListPhotoPlaces("/a:\\b*\n?. "),
                ElementsAre("a:\\b*\n?. ", "capture/a:\\b*\n?. ", "a__b___._"));
}

TEST_F(PhotosTest, ChoosesShortestUniqueFileName) {
    EXPECT_THAT(ChoosePhotoFiles({"/a/x/1.jpg", "/b/x/1.jpg", "/c/2.jpg"}, {}),
                ElementsAre("a+x+1.jpg", "b+x+1.jpg", "2.jpg"));
    EXPECT_THAT(ChoosePhotoFiles({"/a/1.jpg", "/1.jpg", "/b/1.JPG"}, {}),
                ElementsAre("a+1.jpg", "", "b+1.JPG"));
    EXPECT_THAT(ChoosePhotoFiles({"/a/log", "/log"}, {"LOG"}), ElementsAre("a+log", ""));
    EXPECT_THAT(ChoosePhotoFiles({"/a/" + std::string(256, 'x'), "/../1.jpg", "2.jpg"}, {}),
                ElementsAre("", "", ""));
    EXPECT_THAT(ChoosePhotoFiles({"/a/1.jpg", "/a/1.jpg"}, {}), ElementsAre("1.jpg", "1.jpg"));
}

TEST_F(PhotosTest, ListsPathBelowDataFolderFirst) {
    EXPECT_EQ(ListPhotoPlaces(DataFolder() + "/capture/1.jpg").front(), "capture/1.jpg");
}

TEST_F(PhotosTest, ListsNoPlaceForUnusableNames) {
    for (const std::string name : {"", "1.jpg", "a/1.jpg", "/", "/a/", "/a/../1.jpg",
                                   "http://a/1.jpg", "/a/qelXml.xml", "/a/qelRnscXml.xml"}) {
        EXPECT_THAT(ListPhotoPlaces(name), IsEmpty()) << name;
    }
    EXPECT_THAT(ListPhotoPlaces(DataFolder() + "/../1.jpg"), IsEmpty());
    EXPECT_THAT(ListPhotoPlaces("/" + std::string(5000, 'a')), IsEmpty());
}

TEST_F(PhotosTest, LimitsPlacesOfLongName) {
    std::string name;
    for (int i = 0; i < 2000; ++i) {
        name += "/a";
    }
    EXPECT_EQ(ListPhotoPlaces(name).size(), 26U);
}

TEST_F(PhotosTest, FindsPhotoByBaseName) {
    Create("capture/1.jpg");
    Create("2.jpg");
    EXPECT_EQ(Find("/mnt/usb/run/1.jpg"), "capture/1.jpg");
    EXPECT_EQ(Find("/mnt/usb/run/2.jpg"), "2.jpg");
    EXPECT_EQ(Find("/mnt/usb/run/3.jpg"), "");
}

TEST_F(PhotosTest, KeepsPhotosWithEqualBaseNamesDistinct) {
    Create("capture/a/1.jpg");
    Create("capture/b/1.jpg");
    EXPECT_EQ(Find(DataFolder() + "/capture/a/1.jpg"), "capture/a/1.jpg");
    EXPECT_EQ(Find(DataFolder() + "/capture/b/1.jpg"), "capture/b/1.jpg");
    EXPECT_EQ(Find("/mnt/b/1.jpg"), "capture/b/1.jpg");
}

TEST_F(PhotosTest, IgnoresLinksAndFolders) {
    Create("elsewhere/1.jpg");
    fs::create_symlink(m_Folders.Root() / "elsewhere/1.jpg", m_Folders.Root() / "1.jpg");
    fs::create_symlink(m_Folders.Root() / "elsewhere", m_Folders.Root() / "capture");
    fs::create_directory(m_Folders.Root() / "2.jpg");
    EXPECT_EQ(Find("/mnt/1.jpg"), "");
    EXPECT_EQ(Find("/mnt/2.jpg"), "");
}

}  // namespace
}  // namespace quorvel::desktop
