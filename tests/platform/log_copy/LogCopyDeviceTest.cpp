// Runs the log copy on file systems in images, which are mounted like devices.

#include <gmock/gmock.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "log_copy/usb_storage.h"
#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"
#include "platform/fixtures/LoopImage.h"

namespace fs = std::filesystem;
using quorvel::desktop::ReadMounts;
using quorvel::desktop::UsbStorage;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

constexpr std::uintmax_t kMegabyte = 1024 * 1024;

// The parameter is the type of the file system.
class LogCopyDeviceTest : public CopyFixture, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        const std::string reason = LoopImage::Prepare(GetParam());
        if (!reason.empty()) {
            GTEST_SKIP() << reason;
        }
        // A btrfs file system needs at least 128 MB.
        m_Size = GetParam() == "btrfs" ? 128 * kMegabyte : 16 * kMegabyte;
        m_Image = std::make_unique<LoopImage>(m_Scratch.Path(), GetParam(), m_Size);
        m_Image->Mount("rw");
        m_Storage = m_Image->Folder();
        Write(m_Storage / "holiday.jpg", "picture");
    }

    // Returns the storage with its entry in the mount table.
    UsbStorage Mounted() const {
        for (const quorvel::desktop::Mount& mount : ReadMounts()) {
            if (mount.folder == m_Storage) {
                return {mount.folder, mount.id};
            }
        }
        ADD_FAILURE() << "not mounted: " << m_Storage;
        return {};
    }

    // Returns the content of the device, without the folder that ext4 creates.
    Tree OnDevice() const {
        Tree tree = OnStorage();
        tree.erase("lost+found/");
        return tree;
    }

    void Remount(const std::string& options) {
        m_Image->Unmount();
        m_Image->Mount(options);
    }

    std::uintmax_t m_Size = 0;
    std::unique_ptr<LoopImage> m_Image;
};

TEST_P(LogCopyDeviceTest, KeepsCopyAfterRemount) {
    EXPECT_EQ(Run(Mounted()), 0);
    Remount("ro");
    EXPECT_EQ(OnDevice(), After());
}

TEST_P(LogCopyDeviceTest, KeepsEarlierCopyOfSameSecond) {
    EXPECT_EQ(Run(Mounted()), 0);
    EXPECT_EQ(Run(Mounted()), 0);
    EXPECT_EQ(OnDevice(), AfterTwo());
}

TEST_P(LogCopyDeviceTest, KeepsContentOfFullDevice) {
    Write(m_Data / "qelXml.xml", std::string(m_Size, 'x'));
    EXPECT_EQ(Run(Mounted()), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is full (")));
    Remount("ro");
    EXPECT_EQ(OnDevice(), Before());
}

TEST_P(LogCopyDeviceTest, KeepsContentOfReadOnlyDevice) {
    Remount("ro");
    EXPECT_EQ(Run(Mounted()), -1);
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is read-only (")));
    EXPECT_EQ(OnDevice(), Before());
}

TEST_P(LogCopyDeviceTest, RejectsFolderBelowUnmountedDevice) {
    const UsbStorage storage = Mounted();
    m_Image->Unmount();
    EXPECT_EQ(Run(storage), -1);
    EXPECT_THAT(m_Errors,
                ElementsAre(StartsWith("log copy: the USB storage was unplugged or is broken (")));
    EXPECT_TRUE(fs::is_empty(m_Storage));
}

INSTANTIATE_TEST_SUITE_P(FileSystems, LogCopyDeviceTest,
                         testing::Values("ext4", "vfat", "btrfs", "ntfs"),
                         [](const auto& type) { return type.param; });

class LogCopyUnplugTest : public LogCopyDeviceTest {
protected:
    // Restores the initial content of the device.
    void ResetDevice() {
        for (const auto& entry : fs::directory_iterator(m_Storage)) {
            fs::remove_all(entry.path());
        }
        Write(m_Storage / "holiday.jpg", "picture");
        Remount("rw");
    }

    // Runs a copy and unplugs the device before the call with the index at. Mounts the device again
    // after the copy.
    int RunUnplugged(std::size_t at) {
        FaultyFileIo io(m_Storage);
        io.SyncForReal();
        io.SetHook([this, at](std::size_t index) {
            if (index == at) {
                m_Image->Unplug();
            }
        });
        const int result = Run(io, Mounted());
        EXPECT_EQ(io.OpenDescriptors(), 0);
        Remount("rw");
        return result;
    }
};

TEST_P(LogCopyUnplugTest, KeepsNoPartialCopyWhenUnpluggedAtAnyCall) {
    FaultyFileIo good(m_Storage);
    good.SyncForReal();
    ASSERT_EQ(Run(good, Mounted()), 0);
    int failures = 0;
    for (std::size_t at = 0; at < good.Performed().size(); ++at) {
        SCOPED_TRACE(testing::Message() << "before " << good.Performed()[at]);
        ResetDevice();
        if (RunUnplugged(at) == 0) {
            EXPECT_EQ(OnDevice(), After());
            continue;
        }
        ++failures;
        EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage was unplugged or "
                                                     "is broken (")));
        const Tree kept = WithoutUnfinished(OnDevice());
        EXPECT_TRUE(kept == Before() || kept == After()) << testing::PrintToString(kept);
        EXPECT_EQ(Run(Mounted()), 0);
        EXPECT_EQ(OnDevice(), kept == Before() ? After() : AfterTwo());
    }
    // The copy fails if the device is unplugged before or at the last sync.
    EXPECT_GE(failures, static_cast<int>(good.Performed().size()) - 10);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, LogCopyUnplugTest, testing::Values("ext4"),
                         [](const auto& type) { return type.param; });

}  // namespace
