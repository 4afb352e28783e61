#ifndef QUORVEL_TESTS_PLATFORM_USB_STICK_H_
#define QUORVEL_TESTS_PLATFORM_USB_STICK_H_

#include <sys/types.h>

#include <string>

// Lets this process see a machine with one USB stick of one partition, and one built-in disk of one
// partition, in place of the machine's own devices. Needs MakeMountsPrivate. One at a time.
class UsbStick {
public:
    // The numbers that the partitions have. Throws std::runtime_error.
    UsbStick(dev_t stick, dev_t builtIn);
    ~UsbStick();
    UsbStick(const UsbStick&) = delete;
    UsbStick& operator=(const UsbStick&) = delete;
};

#endif  // QUORVEL_TESTS_PLATFORM_USB_STICK_H_
