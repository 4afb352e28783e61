#include "log_copy/usb_storage.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "log_copy/file_io.h"
#include "platform/fakes/FailingCalls.h"
#include "platform/fixtures/CopyFixture.h"
#include "platform/fixtures/LoopImage.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/UsbDevice.h"

using quorvel::desktop::ChooseUsbStorage;
using quorvel::desktop::FindUsbStorage;
using quorvel::desktop::Mount;
using quorvel::desktop::ReadMounts;
using quorvel::desktop::UsbStorage;

namespace {

constexpr const char* kNotMounted = "no USB storage is mounted (No medium found)";

constexpr const char* kFirstDevice = "/sys/usb1/1-1";
constexpr const char* kSecondDevice = "/sys/usb1/1-2";
constexpr const char* kNoDevice = "";

// The folder of the USB device in the replaced /sys.
constexpr const char* kPluggedDevice = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-2";

// Returns the reason why the search fails; an empty string if the search finds a storage.
std::string FailureOf(const std::function<UsbStorage()>& search) {
    try {
        search();
        return "";
    } catch (const quorvel::desktop::LogCopyError& error) {
        return error.what();
    }
}

// Chooses the storage on a PC with a built-in disk and two USB devices.
class UsbStorageChoiceTest : public testing::Test {
protected:
    UsbStorageChoiceTest() {
        MountAt("/", kNoDevice);
        MountAt("/run", kNoDevice);
    }

    void MountAt(const std::string& folder, const std::string& usbDevice) {
        m_Mounts.push_back({m_Mounts.size() + 1, folder, usbDevice});
    }

    UsbStorage Choose() {
        return ChooseUsbStorage(m_Mounts, [this](const std::string& folder) {
            m_Probed.push_back(folder);
            return m_Errors[folder];
        });
    }

    std::string ChoiceFailure() {
        return FailureOf([this] { return Choose(); });
    }

    std::vector<Mount> m_Mounts;
    std::map<std::string, int> m_Errors;  // errors of the probe by folder
    std::vector<std::string> m_Probed;
};

TEST_F(UsbStorageChoiceTest, ReportsMissingUsbMount) {
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
    EXPECT_THAT(m_Probed, testing::IsEmpty());
}

TEST_F(UsbStorageChoiceTest, ReportsMissingMounts) {
    m_Mounts.clear();
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
}

TEST_F(UsbStorageChoiceTest, SelectsFirstMount) {
    MountAt("/media/second device", kSecondDevice);
    MountAt("/media/first device", kFirstDevice);
    const UsbStorage storage = Choose();
    EXPECT_EQ(storage.folder, "/media/second device");
    EXPECT_EQ(storage.mountId, 3U);
}

TEST_F(UsbStorageChoiceTest, SelectsFirstWritableMount) {
    MountAt("/media/ro", kFirstDevice);
    MountAt("/media/not permitted", kFirstDevice);
    MountAt("/media/rw", kSecondDevice);
    m_Errors["/media/ro"] = EROFS;
    m_Errors["/media/not permitted"] = EACCES;
    EXPECT_EQ(Choose().folder, "/media/rw");
    EXPECT_THAT(m_Probed, testing::ElementsAre("/media/ro", "/media/not permitted", "/media/rw"));
}

TEST_F(UsbStorageChoiceTest, ReportsReasonOfFirstMount) {
    MountAt("/media/ro", kFirstDevice);
    MountAt("/media/not permitted", kSecondDevice);
    m_Errors["/media/ro"] = EROFS;
    m_Errors["/media/not permitted"] = EACCES;
    EXPECT_EQ(ChoiceFailure(), "the USB storage is read-only (/media/ro: Read-only file system)");
    m_Mounts.erase(m_Mounts.end() - 2);
    EXPECT_EQ(
        ChoiceFailure(),
        "no permission to write to the USB storage (/media/not permitted: Permission denied)");
}

TEST_F(UsbStorageChoiceTest, IgnoresBuiltInDisk) {
    MountAt("/media/usb", kNoDevice);
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
}

TEST_F(UsbStorageChoiceTest, IgnoresHiddenMount) {
    MountAt("/media/usb", kFirstDevice);
    MountAt("/media/usb", kNoDevice);
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
    MountAt("/media/usb", kSecondDevice);
    EXPECT_EQ(Choose().mountId, 5U);
}

TEST_F(UsbStorageChoiceTest, IgnoresSystemDevice) {
    m_Mounts[0].usbDevice = kFirstDevice;
    MountAt("/boot", kFirstDevice);
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
    MountAt("/media/usb", kSecondDevice);
    EXPECT_EQ(Choose().folder, "/media/usb");
}

// For a root folder on LVM or dm-crypt, libudev reports no USB device.
TEST_F(UsbStorageChoiceTest, IgnoresDeviceWithAnySystemFolder) {
    MountAt("/media/usb", kFirstDevice);
    for (const char* folder : {"/boot", "/boot/efi", "/usr", "/var", "/home"}) {
        MountAt(folder, kFirstDevice);
        EXPECT_EQ(ChoiceFailure(), kNotMounted) << folder;
        m_Mounts.pop_back();
    }
    EXPECT_EQ(Choose().folder, "/media/usb");
    MountAt("/boot/usb", kFirstDevice);
    EXPECT_EQ(Choose().folder, "/media/usb");
}

TEST_F(UsbStorageChoiceTest, IgnoresEverySystemDevice) {
    MountAt("/boot", kFirstDevice);
    MountAt("/home", kSecondDevice);
    MountAt("/media/usb", kFirstDevice);
    EXPECT_EQ(ChoiceFailure(), kNotMounted);
}

// The test uses /proc, because /proc is a mount even inside a changed root folder.
TEST(UsbStorageReadTest, ReturnsMountsWithKernelIds) {
    const std::vector<Mount> mounts = ReadMounts();
    const auto proc = std::find_if(mounts.rbegin(), mounts.rend(),
                                   [](const Mount& mount) { return mount.folder == "/proc"; });
    ASSERT_NE(proc, mounts.rend());
    const quorvel::desktop::File folder("/proc", O_RDONLY);
    std::uint64_t id = 0;
    ASSERT_TRUE(folder.MountId(id));
    EXPECT_EQ(proc->id, id);
}

TEST(UsbStorageReadTest, ReportsMissingUdev) {
    const FailingCallScope scope(FailingCall::kUdev);
    EXPECT_THROW(ReadMounts(), std::system_error);
}

TEST(UsbStorageReadTest, ReportsUnreadableMountTable) {
    for (const FailingCall call :
         {FailingCall::kMountList, FailingCall::kMountIterate, FailingCall::kMountRead}) {
        const FailingCallScope scope(call);
        EXPECT_THROW(ReadMounts(), std::system_error);
    }
}

TEST(UsbStorageReadTest, ReturnsFolderFromEnvironment) {
    const ScopedVariable variable("QUORVEL_USB_DIR", "/some/folder");
    const UsbStorage storage = FindUsbStorage();
    EXPECT_EQ(storage.folder, "/some/folder");
    EXPECT_FALSE(storage.mountId.has_value());
}

TEST(UsbStorageReadTest, IgnoresEmptyFolderFromEnvironment) {
    const ScopedVariable variable("QUORVEL_USB_DIR", "");
    const std::string failure = FailureOf(FindUsbStorage);
    const ScopedVariable unset("QUORVEL_USB_DIR", std::nullopt);
    EXPECT_EQ(failure, FailureOf(FindUsbStorage));
}

// Searches a replaced /sys for a USB device. The image of the device is mounted.
class UsbStorageDeviceTest : public CopyFixture {
protected:
    void SetUp() override {
        const std::string reason = LoopImage::Prepare("ext4");
        if (!reason.empty()) {
            GTEST_SKIP() << reason;
        }
        m_Image = std::make_unique<LoopImage>(m_Scratch.Path(), "ext4", 16 * 1024 * 1024);
        m_Image->Mount("rw");
        std::filesystem::rename(m_State, m_Scratch.Path() / "quorvel");
    }

    dev_t ImageNumber() const {
        struct stat status {};
        EXPECT_EQ(stat(m_Image->Node().c_str(), &status), 0);
        return status.st_rdev;
    }

    // Returns the USB device of the mounted image.
    std::string UsbDeviceOfImage() const {
        for (const Mount& mount : ReadMounts()) {
            if (mount.folder == m_Image->Folder()) {
                return mount.usbDevice;
            }
        }
        return "not mounted";
    }

    // Makes the image a partition of the USB device.
    void PlugIn() { m_Device = std::make_unique<UsbDevice>(ImageNumber(), makedev(66, 1)); }
    // Makes the image a partition of the built-in disk.
    void BuildIn() { m_Device = std::make_unique<UsbDevice>(makedev(65, 1), ImageNumber()); }

    ScopedVariable m_StateHome{"XDG_STATE_HOME", m_Scratch.Path().string()};
    ScopedVariable m_NoUsbFolder{"QUORVEL_USB_DIR", std::nullopt};
    std::unique_ptr<LoopImage> m_Image;
    // The device is destroyed before the image, because unmounting the image needs the real /sys.
    std::unique_ptr<UsbDevice> m_Device;
};

TEST_F(UsbStorageDeviceTest, RecognisesDeviceByBus) {
    PlugIn();
    EXPECT_EQ(UsbDeviceOfImage(), kPluggedDevice);
    m_Device.reset();
    BuildIn();
    EXPECT_EQ(UsbDeviceOfImage(), "");
}

// libudev finds no device with the number of a file system that spans devices.
TEST_F(UsbStorageDeviceTest, RecognisesSpanningFileSystemByNode) {
    m_Device = std::make_unique<UsbDevice>(makedev(65, 1), makedev(66, 1));
    EXPECT_EQ(UsbDeviceOfImage(), "");
    const std::filesystem::path node = m_Image->Node();
    std::filesystem::create_symlink("/sys/class/block/sdq1", "/sys/class/block" / node.filename());
    EXPECT_EQ(UsbDeviceOfImage(), kPluggedDevice);
}

TEST_F(UsbStorageDeviceTest, ReturnsMountPoint) {
    PlugIn();
    const UsbStorage storage = FindUsbStorage();
    EXPECT_EQ(storage.folder, m_Image->Folder());
}

TEST_F(UsbStorageDeviceTest, ReturnsDeviceWithoutNode) {
    PlugIn();
    const dev_t number = ImageNumber();
    std::ofstream("/sys/class/block/sdq1/uevent")
        << "MAJOR=" << major(number) << "\nMINOR=" << minor(number) << "\nDEVTYPE=partition\n";
    EXPECT_EQ(FindUsbStorage().folder, m_Image->Folder());
}

TEST_F(UsbStorageDeviceTest, IgnoresDeviceThatIsUnpluggedDuringSearch) {
    PlugIn();
    const FailingCallScope scope(FailingCall::kUdevDevice);
    EXPECT_EQ(FailureOf(FindUsbStorage), kNotMounted);
}

// First the mount is read-only, then the file system. Linux makes a broken file system read-only.
TEST_F(UsbStorageDeviceTest, ReportsReadOnlyDevice) {
    const std::pair<const char*, unsigned long> kinds[] = {{"rw", MS_RDONLY}, {"ro", 0}};
    for (const auto& [options, flags] : kinds) {
        m_Device.reset();
        m_Image->Unmount();
        m_Image->Mount(options);
        PlugIn();
        const std::string folder = m_Image->Folder();
        ASSERT_EQ(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | flags, nullptr),
                  0);
        EXPECT_THAT(FailureOf(FindUsbStorage),
                    testing::StartsWith("the USB storage is read-only ("));
    }
}

TEST_F(UsbStorageDeviceTest, ReportsMissingPermission) {
    PlugIn();
    ASSERT_EQ(chmod(m_Image->Folder().c_str(), 0700), 0);
    ASSERT_EQ(seteuid(kOtherUser), 0);
    const std::string failure = FailureOf(FindUsbStorage);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_THAT(failure, testing::StartsWith("no permission to write to the USB storage ("));
}

TEST_F(UsbStorageDeviceTest, ReportsUnmountedDevice) {
    PlugIn();
    m_Image->Unmount();
    EXPECT_EQ(FailureOf(FindUsbStorage), kNotMounted);
}

TEST_F(UsbStorageDeviceTest, IgnoresBuiltInDisk) {
    BuildIn();
    EXPECT_EQ(FailureOf(FindUsbStorage), kNotMounted);
}

TEST_F(UsbStorageDeviceTest, CopiesLogsToDevice) {
    PlugIn();
    EXPECT_EQ(automation_copy_log_to_usb(), 0);
    int logs = 0;
    for (const auto& [name, bytes] : TreeOf(m_Image->Folder())) {
        logs += name.rfind("quorvel-", 0) == 0 && bytes == "old\n" ? 1 : 0;
    }
    EXPECT_EQ(logs, 1);
}

TEST_F(UsbStorageDeviceTest, CopiesNothingWithoutDevice) {
    BuildIn();
    EXPECT_EQ(automation_copy_log_to_usb(), -1);
    EXPECT_EQ(TreeOf(m_Image->Folder()), (Tree{{"lost+found/", ""}}));
}

}  // namespace
