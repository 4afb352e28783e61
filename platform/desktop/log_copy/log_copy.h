#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_

#include <chrono>
#include <ctime>
#include <functional>
#include <string>

#include "log_copy/log_sources.h"
#include "log_copy/usb_storage.h"

// The log copy behind a capture: copies the logs, the result files and the photos to USB storage.
namespace quorvel::desktop {

struct LogCopyJob {
    SourceFolders from;
    std::string host;  // part of the name of the new folder
    std::time_t time;  // part of the name of the new folder
};

// What a log copy uses. Tests replace both parts.
struct LogCopyParts {
    // Throws LogCopyError when there is no storage to write to.
    std::function<UsbStorage()> findStorage;
    // Logs one line, as an error or for information.
    std::function<void(bool isError, const std::string& line)> log;
};

// Returns the name of the new folder: application, host, serial number of the set and local time,
// in characters that every file system accepts. The serial number is left out when it has no letter
// and no digit.
std::string LogCopyName(const std::string& host, std::time_t time,
                        const std::string& serialNumber = "");

// Copies the existing logs, result files and photos of the "image" items into a new folder on the
// storage. Logs one line with the folder or the reason of the failure.
//
// The photos have the names that ChoosePhotoFiles returns. A photo that cannot be copied is left
// out, and the reason is logged. Such a photo does not make the copy fail. A log that grows during
// the copy is copied as it was at the start.
//
// Returns 0 when the data is on the device. Otherwise returns -1, and the storage is as before. A
// storage that fails permanently may keep the folder: complete, or with a temporary name until the
// next copy removes it. Blocks as long as the storage does. Any thread; a copy to a storage that
// another copy uses fails.
int RunLogCopy(const LogCopyParts& parts, const LogCopyJob& job) noexcept;

// Waits at shutdown until no log copy runs. Returns false after the timeout. Any thread that does
// not run a log copy.
bool AwaitLogCopies(std::chrono::milliseconds timeout);

// Waits at shutdown until all other threads that have called RunLogCopy have ended, since a thread
// reports and counts its copy afterwards. Returns false after the timeout. Any thread; its own
// earlier copies no longer count.
bool AwaitLogCopyThreads(std::chrono::milliseconds timeout);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_COPY_H_
