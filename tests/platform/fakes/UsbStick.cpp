#include "UsbStick.h"

#include <sys/mount.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

const char* const STICK = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-2";
const char* const BUILT_IN = "/sys/devices/pci0000:00/0000:00:17.0/ata1";

// A device: its properties, and the link that tells its subsystem.
void MakeDevice(const fs::path& folder, const std::string& subsystem,
                const std::string& properties) {
    fs::create_directories(folder);
    std::ofstream(folder / "uevent") << properties;
    fs::create_directories(subsystem);
    fs::create_directory_symlink(subsystem, folder / "subsystem");
}

void MakeBlockDevice(const fs::path& folder, const std::string& type, dev_t number) {
    MakeDevice(folder, "/sys/class/block",
               "MAJOR=" + std::to_string(major(number)) +
                   "\nMINOR=" + std::to_string(minor(number)) +
                   "\nDEVNAME=" + folder.filename().string() + "\nDEVTYPE=" + type + "\n");
    fs::create_directory_symlink(folder, fs::path("/sys/class/block") / folder.filename());
}

void MakeDevices(dev_t stick, dev_t builtIn) {
    MakeDevice(STICK, "/sys/bus/usb", "DEVTYPE=usb_device\n");
    MakeDevice(fs::path(STICK) / "1-2:1.0", "/sys/bus/usb", "DEVTYPE=usb_interface\n");
    const fs::path stickDisk = fs::path(STICK) / "1-2:1.0/host4/block/sdq";
    MakeBlockDevice(stickDisk, "disk", makedev(65, 0));
    MakeBlockDevice(stickDisk / "sdq1", "partition", stick);
    const fs::path builtInDisk = fs::path(BUILT_IN) / "host0/block/sdp";
    MakeBlockDevice(builtInDisk, "disk", makedev(66, 0));
    MakeBlockDevice(builtInDisk / "sdp1", "partition", builtIn);
}

}  // namespace

UsbStick::UsbStick(dev_t stick, dev_t builtIn) {
    if (mount("tmpfs", "/sys", "tmpfs", 0, nullptr) != 0) {
        throw std::runtime_error(std::string("/sys: ") + std::strerror(errno));
    }
    // Or libudev sees that it is no real one.
    setenv("SYSTEMD_DEVICE_VERIFY_SYSFS", "0", 1);
    MakeDevices(stick, builtIn);
}

UsbStick::~UsbStick() {
    unsetenv("SYSTEMD_DEVICE_VERIFY_SYSFS");
    umount2("/sys", MNT_DETACH);
}
