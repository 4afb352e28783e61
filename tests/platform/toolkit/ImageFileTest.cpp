// Tests which files the port accepts as the picture of an image widget.

#include <Elementary.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "fixtures/Screen.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/Stage.h"
#include "resources.h"

namespace quorvel::desktop {
namespace {

namespace fs = std::filesystem;

class ImageFileTest : public testing::Test {
protected:
    void SetUp() override {
        Stage::StartToolkit();
        m_Window = elm_win_util_standard_add("test", "test");
        m_Image = elm_image_add(m_Window);
    }
    void TearDown() override { Screen::Close(m_Window); }

    static std::string Picture() {
        return fs::absolute(FindResource("org.tizen.menu/Settings/setting_bg_base.webp")).string();
    }

    bool IsAccepted(const std::string& file) {
        return elm_image_file_set(m_Image, file.c_str(), nullptr) != EINA_FALSE;
    }

    std::string ShownFile() const {
        const char* file = nullptr;
        elm_image_file_get(m_Image, &file, nullptr);
        return file == nullptr ? "" : file;
    }

    PrivateFolders m_Folders;
    Evas_Object* m_Window = nullptr;
    Evas_Object* m_Image = nullptr;
};

TEST_F(ImageFileTest, AcceptsAbsolutePathOfRegularFile) {
    EXPECT_TRUE(IsAccepted(Picture()));
    EXPECT_EQ(ShownFile(), Picture());
}

TEST_F(ImageFileTest, AcceptsLinkToRegularFile) {
    const fs::path link = m_Folders.Root() / "link.webp";
    fs::create_symlink(Picture(), link);
    EXPECT_TRUE(IsAccepted(link.string()));
}

TEST_F(ImageFileTest, RejectsUrls) {
    EXPECT_FALSE(IsAccepted("http://127.0.0.1:9/picture.png"));
    EXPECT_FALSE(IsAccepted("https://127.0.0.1:9/picture.png"));
    EXPECT_FALSE(IsAccepted("file://" + Picture()));
    EXPECT_EQ(ShownFile(), "");
}

TEST_F(ImageFileTest, RejectsRelativeMissingAndEmptyPaths) {
    EXPECT_FALSE(IsAccepted(fs::relative(Picture()).string()));
    EXPECT_FALSE(IsAccepted(Picture() + ".missing"));
    EXPECT_FALSE(IsAccepted(""));
}

TEST_F(ImageFileTest, RejectsFifoWithoutBlocking) {
    const std::string fifo = (m_Folders.Root() / "fifo.png").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(IsAccepted(fifo));
}

TEST_F(ImageFileTest, RejectsFoldersAndDevices) {
    EXPECT_FALSE(IsAccepted(m_Folders.Root().string()));
    EXPECT_FALSE(IsAccepted("/dev/zero"));
}

TEST_F(ImageFileTest, RemovesPictureForNull) {
    ASSERT_TRUE(IsAccepted(Picture()));
    elm_image_file_set(m_Image, nullptr, nullptr);
    EXPECT_EQ(ShownFile(), "");
}

}  // namespace
}  // namespace quorvel::desktop
