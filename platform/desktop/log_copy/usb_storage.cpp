#include "log_copy/usb_storage.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <libudev.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>

#include "log_copy/file_io.h"

namespace quorvel::desktop {

namespace {

// /boot and the others matter when the root is behind dm-crypt or LVM: libudev then names no USB
// device for the root.
constexpr std::array<std::string_view, 6> kSystemFolders{"/",    "/boot", "/boot/efi",
                                                         "/usr", "/var",  "/home"};

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};
template <typename T>
using UdevPtr = std::unique_ptr<T, UdevRelease>;

struct MountRelease {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* position) const { mnt_free_iter(position); }
};
template <typename T>
using MountPtr = std::unique_ptr<T, MountRelease>;

[[noreturn]] void Fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

std::string Text(const char* text) {
    if (text == nullptr) {
        return {};
    }
    return text;
}

const BlockDevice* DeviceOf(const Mount& mount, const std::vector<BlockDevice>& devices) {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&mount](const BlockDevice& device) {
            return device.number == mount.number ||
                   (!device.node.empty() && device.node == mount.source);
        });
    return found == devices.end() ? nullptr : &*found;
}

std::string UsbDeviceOf(const Mount& mount, const std::vector<BlockDevice>& devices) {
    const BlockDevice* device = DeviceOf(mount, devices);
    return device == nullptr ? std::string() : device->usbDevice;
}

bool IsOfTheSystem(const std::string& folder) {
    return std::find(kSystemFolders.begin(), kSystemFolders.end(), folder) != kSystemFolders.end();
}

// Returns the USB devices that have a partition with a part of the system.
std::set<std::string> SystemUsbDevices(const std::vector<BlockDevice>& devices,
                                       const std::vector<Mount>& mounts) {
    std::set<std::string> system;
    for (const Mount& mount : mounts) {
        if (IsOfTheSystem(mount.folder)) {
            system.insert(UsbDeviceOf(mount, devices));
        }
    }
    return system;
}

bool IsHidden(const std::vector<Mount>& mounts, std::size_t index) {
    return std::any_of(
        mounts.begin() + static_cast<std::ptrdiff_t>(index) + 1, mounts.end(),
        [&mounts, index](const Mount& later) { return later.folder == mounts[index].folder; });
}

std::vector<Mount> UsbMounts(const std::vector<BlockDevice>& devices,
                             const std::vector<Mount>& mounts) {
    const std::set<std::string> system = SystemUsbDevices(devices, mounts);
    std::vector<Mount> usbMounts;
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        const std::string device = UsbDeviceOf(mounts[i], devices);
        if (!device.empty() && system.count(device) == 0 && !IsHidden(mounts, i)) {
            usbMounts.push_back(mounts[i]);
        }
    }
    return usbMounts;
}

// Checks the mount, the file system and the permissions of the effective user, who writes.
int ProbeFolder(const std::string& folder) {
    return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

Mount ToMount(libmnt_fs* row) {
    return {static_cast<std::uint64_t>(mnt_fs_get_id(row)), mnt_fs_get_devno(row),
            Text(mnt_fs_get_source(row)), Text(mnt_fs_get_target(row))};
}

BlockDevice ToBlockDevice(udev_device* device) {
    // The device owns its parent.
    udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
    return {udev_device_get_devnum(device), Text(udev_device_get_devnode(device)),
            Text(usb == nullptr ? nullptr : udev_device_get_syspath(usb))};
}

UdevPtr<udev_enumerate> ListBlockSubsystem(udev* context) {
    UdevPtr<udev_enumerate> list(udev_enumerate_new(context));
    if (list == nullptr) {
        Fail(errno, "udev_enumerate_new");
    }
    const int added = udev_enumerate_add_match_subsystem(list.get(), "block");
    const int result = std::min(added, udev_enumerate_scan_devices(list.get()));
    if (result < 0) {
        Fail(-result, "block devices");
    }
    return list;
}

}  // namespace

UsbStorage ChooseUsbStorage(const std::vector<BlockDevice>& devices,
                            const std::vector<Mount>& mounts, const WriteProbe& probe) {
    const std::vector<Mount> candidates = UsbMounts(devices, mounts);
    int firstError = 0;
    for (const Mount& mount : candidates) {
        const int error = probe(mount.folder);
        if (error == 0) {
            return {mount.folder, mount.id};
        }
        if (firstError == 0) {
            firstError = error;
        }
    }
    if (candidates.empty()) {
        FailNoStorage("", ENOMEDIUM);
    }
    FailStorage(candidates.front().folder, firstError);
}

std::vector<BlockDevice> ReadBlockDevices() {
    const UdevPtr<udev> context(udev_new());
    if (context == nullptr) {
        Fail(errno, "udev_new");
    }
    const UdevPtr<udev_enumerate> list = ListBlockSubsystem(context.get());
    std::vector<BlockDevice> devices;
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(list.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        const UdevPtr<udev_device> device(
            udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        // Null when the device was unplugged after the enumeration.
        if (device != nullptr) {
            devices.push_back(ToBlockDevice(device.get()));
        }
    }
    return devices;
}

std::vector<Mount> ReadMounts() {
    const MountPtr<libmnt_table> table(mnt_new_table());
    const MountPtr<libmnt_iter> position(mnt_new_iter(MNT_ITER_FORWARD));
    if (table == nullptr || position == nullptr) {
        Fail(ENOMEM, "mount table");
    }
    const int result = mnt_table_parse_mtab(table.get(), nullptr);
    if (result < 0) {
        Fail(-result, "mount table");
    }
    std::vector<Mount> mounts;
    libmnt_fs* row = nullptr;
    while (mnt_table_next_fs(table.get(), position.get(), &row) == 0) {
        mounts.push_back(ToMount(row));
    }
    return mounts;
}

UsbStorage FindUsbStorage() {
    const char* folder = std::getenv("QUORVEL_USB_DIR");
    if (folder != nullptr && folder[0] != '\0') {
        return {folder, std::nullopt};
    }
    return ChooseUsbStorage(ReadBlockDevices(), ReadMounts(), ProbeFolder);
}

}  // namespace quorvel::desktop
