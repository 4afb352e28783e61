#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_SERVICE_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_SERVICE_H_

#include <chrono>
#include <functional>
#include <string>

#include "log_copy/file_io.h"
#include "log_copy/log_copy.h"
#include "log_copy/usb_storage.h"

namespace quorvel::desktop {

// What the log copy does not do itself; exchanged by the tests.
struct LogCopyParts {
    FileIo& io;
    std::function<UsbStorage()> findStorage;
    // Writes one line to the log, as an error or for information.
    std::function<void(bool isError, const std::string& line)> log;
};

// One log copy with one line in the log, whichever way it ends: 0 when the data is on the device,
// -1 otherwise. Nothing is thrown. Any thread.
int RunLogCopy(const LogCopyParts& parts, const LogCopyJob& job) noexcept;

// Waits until no log copy is under way, as long as patience allows. Returns whether none is. For
// the end of the program, which would cut a copy off and leave its temporary folder on the device.
// Any thread that does not copy itself.
bool AwaitLogCopies(std::chrono::milliseconds patience);

// The folder that QUORVEL_USB_DIR gives in place of a device, or else the USB storage that is
// mounted. Throws std::system_error when the system cannot be asked.
UsbStorage StorageToCopyTo();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_SERVICE_H_
