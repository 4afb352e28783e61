#include "log_copy/usb_storage.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <libudev.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

#include "log_copy/file_io.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

// The folders below the root matter when the root is behind dm-crypt or LVM. libudev then names no
// USB device for the root.
constexpr std::array<std::string_view, 6> kSystemFolders{"/",    "/boot", "/boot/efi",
                                                         "/usr", "/var",  "/home"};

constexpr std::string_view kNodeFolder = "/dev/";

struct Release {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* position) const { mnt_free_iter(position); }
};
template <typename T>
using Handle = std::unique_ptr<T, Release>;

std::string Text(const char* text) {
    return text == nullptr ? std::string() : text;
}

// Returns whether the USB device has a partition with a part of the system.
bool IsSystemDevice(const std::vector<Mount>& mounts, const std::string& usbDevice) {
    return std::any_of(mounts.begin(), mounts.end(), [&usbDevice](const Mount& mount) {
        return mount.usbDevice == usbDevice &&
               std::find(kSystemFolders.begin(), kSystemFolders.end(), mount.folder) !=
                   kSystemFolders.end();
    });
}

bool IsHidden(const std::vector<Mount>& mounts, std::size_t index) {
    return std::any_of(
        mounts.begin() + static_cast<std::ptrdiff_t>(index) + 1, mounts.end(),
        [&mounts, index](const Mount& later) { return later.folder == mounts[index].folder; });
}

std::vector<Mount> UsbMounts(const std::vector<Mount>& mounts) {
    std::vector<Mount> usbMounts;
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        const std::string& device = mounts[i].usbDevice;
        if (!device.empty() && !IsSystemDevice(mounts, device) && !IsHidden(mounts, i)) {
            usbMounts.push_back(mounts[i]);
        }
    }
    return usbMounts;
}

// Checks the mount, the file system and the permissions of the effective user, who writes.
int ProbeFolder(const std::string& folder) {
    return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

// Returns the mounted disk or partition. A file system that spans devices has the number 0:n, and
// its source is one of the devices. Returns null for any other source and for an unplugged device.
Handle<udev_device> DeviceOf(udev* context, libmnt_fs* row) {
    Handle<udev_device> device(udev_device_new_from_devnum(context, 'b', mnt_fs_get_devno(row)));
    const std::string source = Text(mnt_fs_get_source(row));
    if (device == nullptr && source.rfind(kNodeFolder, 0) == 0) {
        const std::string name = source.substr(kNodeFolder.size());
        device.reset(udev_device_new_from_subsystem_sysname(context, "block", name.c_str()));
    }
    return device;
}

std::string UsbDeviceOf(udev* context, libmnt_fs* row) {
    const Handle<udev_device> device = DeviceOf(context, row);
    if (device == nullptr) {
        return {};
    }
    // The device owns its parent.
    udev_device* usb =
        udev_device_get_parent_with_subsystem_devtype(device.get(), "usb", "usb_device");
    return Text(usb == nullptr ? nullptr : udev_device_get_syspath(usb));
}

}  // namespace

UsbStorage ChooseUsbStorage(const std::vector<Mount>& mounts, const WriteProbe& probe) {
    const std::vector<Mount> candidates = UsbMounts(mounts);
    std::vector<int> errors;
    for (const Mount& mount : candidates) {
        errors.push_back(probe(mount.folder));
        if (errors.back() == 0) {
            return {mount.folder, mount.id};
        }
    }
    if (candidates.empty()) {
        FailNoStorage("", ENOMEDIUM);
    }
    FailStorage(candidates.front().folder, errors.front());
}

std::vector<Mount> ReadMounts() {
    const Handle<udev> context(udev_new());
    if (context == nullptr) {
        throw std::system_error(errno, std::generic_category(), "udev_new");
    }
    const Handle<libmnt_table> table(mnt_new_table());
    const Handle<libmnt_iter> position(mnt_new_iter(MNT_ITER_FORWARD));
    if (table == nullptr || position == nullptr) {
        throw std::system_error(ENOMEM, std::generic_category(), "mount table");
    }
    const int result = mnt_table_parse_mtab(table.get(), nullptr);
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), "mount table");
    }
    std::vector<Mount> mounts;
    libmnt_fs* row = nullptr;
    while (mnt_table_next_fs(table.get(), position.get(), &row) == 0) {
        mounts.push_back({static_cast<std::uint64_t>(mnt_fs_get_id(row)),
                          Text(mnt_fs_get_target(row)), UsbDeviceOf(context.get(), row)});
    }
    return mounts;
}

UsbStorage FindUsbStorage() {
    const std::string folder = EnvironmentValue("QUORVEL_USB_DIR");
    if (!folder.empty()) {
        return {folder, std::nullopt};
    }
    return ChooseUsbStorage(ReadMounts(), ProbeFolder);
}

}  // namespace quorvel::desktop
