#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_

#include <ctime>
#include <string>

#include "log_copy/file_io.h"
#include "log_copy/usb_storage.h"

namespace quorvel::desktop {

// What is copied and what the copy is called.
struct LogCopyJob {
    std::string dataFolder;   // where the result files are
    std::string stateFolder;  // where our logs are; empty for none
    std::string host;
    std::time_t time;
};

enum class LogCopyStatus {
    kDone,
    kNoStorage,
    kReadOnly,
    kFull,
    kGone,  // unplugged, or failing
    kNotPermitted,
    kNothingToCopy,
    kBusy,        // another copy to the same storage is under way
    kUnreadable,  // one of the files to copy
    kOther,
};

struct LogCopyResult {
    LogCopyStatus status;
    // kDone: the new folder. Otherwise what could not be done, and the system's reason.
    std::string detail;
};

// The name of the folder for a copy: application, host and local time, of letters that every file
// system takes.
std::string LogCopyName(const std::string& host, std::time_t time);

// Copies our logs and the result files, as far as there are any, into a new folder on the storage.
// All or nothing: unless the status is kDone, the storage holds nothing more than before (as far as
// it still lets itself be tidied up: what a dying storage keeps has a temporary name, and the next
// copy removes it). On kDone the data is on the device. A log that grows meanwhile is copied as it
// was at the start. Blocks as long as the storage does. Throws nothing but std::bad_alloc. Any
// thread; two copies to one storage do not disturb each other, the later one is kBusy.
LogCopyResult CopyLogs(FileIo& io, const LogCopyJob& job, const UsbStorage& storage);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_
