#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::desktop {

// A row of the mount table.
struct Mount {
    std::uint64_t id;
    std::string folder;
    std::string usbDevice;  // identifies the USB device that is mounted; empty for other mounts
};

// The storage to copy to.
struct UsbStorage {
    std::string folder;
    // The mount that must be at the folder; no value for the folder in QUORVEL_USB_DIR.
    std::optional<std::uint64_t> mountId;
};

// Returns 0 when this process may create files in the folder, else the error number.
using WriteProbe = std::function<int(const std::string& folder)>;

// Returns the first mount, in the order of the table, of a USB device that can be written to.
// Ignores a mount that a later mount hides. Ignores a USB device that carries a part of the system:
// the root, /boot, /boot/efi, /usr, /var or /home. Throws LogCopyError with the reason why the
// first mounted USB device cannot be written to, or because no USB device is mounted.
UsbStorage ChooseUsbStorage(const std::vector<Mount>& mounts, const WriteProbe& probe);

// Returns the system's mounts, in the order of its table. Throws std::system_error. Any thread.
std::vector<Mount> ReadMounts();

// Returns the folder in QUORVEL_USB_DIR if the variable is set and not empty, else the choice from
// the system's mounts. Throws like the functions above. Any thread.
UsbStorage FindUsbStorage();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_USB_STORAGE_H_
