#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_

#include <sys/stat.h>

#include <string>
#include <vector>

#include "log_copy/file_io.h"

namespace quorvel::desktop {

// A file to copy, open for reading.
struct LogSource {
    std::string name;
    File file;
    struct stat status;  // when the file was opened; st_size is the number of bytes to copy
};

// Opens the log and the rotated logs in stateFolder, and the result files in dataFolder, as far as
// they exist. stateFolder may be empty for no logs. All files are opened before the first one is
// copied, so that a rotation during the copy changes nothing. Throws LogCopyError when an existing
// file cannot be read and when no file exists. io must outlive the result. Any thread.
std::vector<LogSource> OpenLogSources(FileIo& io, const std::string& stateFolder,
                                      const std::string& dataFolder);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
