#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::desktop {

// A disk or partition.
struct BlockDevice {
    dev_t number;
    std::string node;  // as "/dev/sdb1"
    // Identifies the USB device that it is a part of; empty when it is on no USB device.
    std::string usbDevice;
};

// A row of the mount table.
struct Mount {
    std::uint64_t id;
    dev_t number;        // 0:n for file systems that span devices
    std::string source;  // the node that was mounted, as "/dev/sdb1"
    std::string folder;
    bool readOnly;
};

// The storage to copy to, or why there is none.
struct UsbStorage {
    // 0 when there is one; ENOMEDIUM when no USB storage is mounted, else what keeps the first one
    // from being written to.
    int error = 0;
    // Where it is mounted; for an error other than ENOMEDIUM, where the first one is.
    std::string folder;
    // The mount that must be found at the folder. None for a folder that stands in for a device.
    std::optional<std::uint64_t> mountId;
};

// Tells whether this process may create files in a folder: 0, or the error number.
using WriteProbe = std::function<int(const std::string& folder)>;

// The first mount, in the order of the table, of a USB device that can be written to. A mount that
// a later one hides does not count, and neither does a USB device that carries a part of the system
// (the root, /boot, /boot/efi, /usr, /var or /home).
UsbStorage ChooseUsbStorage(const std::vector<BlockDevice>& devices,
                            const std::vector<Mount>& mounts, const WriteProbe& probe);

// What the decision is made from, as the system has it now. Throws std::system_error when it cannot
// be read. Any thread.
std::vector<BlockDevice> ReadBlockDevices();
std::vector<Mount> ReadMounts();

// The choice as of now, without regard to the environment. Throws like the two above. Any thread.
UsbStorage FindUsbStorage();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_
