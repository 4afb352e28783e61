#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "log_copy/file_io.h"

namespace quorvel::desktop {

// A file to copy.
struct LogSource {
    std::string name;
    std::string path;
    struct stat status;        // when the file was found; st_size is the number of bytes to copy
    std::optional<File> file;  // open for reading; no value for an older log
};

// Whether a link to a file outside its folder is followed or makes the copy fail.
enum class OutsideLinks { kFollow, kReject };

// The folders with the files to copy.
struct SourceFolders {
    std::string data;   // contains the result files and their photos
    std::string state;  // contains the logs; empty for no logs
    OutsideLinks outsideLinks = OutsideLinks::kFollow;
};

// Finds the existing files of a copy: the log, the rotated logs and quorvel.start.log in the state
// folder, and the result files in the data folder. All files that a rotation can change are opened
// before the first copy, so that a rotation during the copy changes nothing. Older logs are not
// kept open, since a folder may contain more logs than this process may open. Throws LogCopyError
// when an existing file cannot be read, when a link is rejected and when no file exists. Any
// thread.
std::vector<LogSource> OpenLogSources(const SourceFolders& folders);

// Opens the photo that the application shows for the name: the photo in the data folder, see
// FindPhoto, or else the file whose absolute path is the name. fileName: the name of the copy.
// Returns no value when no such regular file exists. Throws SourceError when the file cannot be
// read or is too large, when a link is rejected, and when fileName is empty. Also throws
// SourceError when a file outside the data folder is not a picture. A result file could otherwise
// name a private file. Any thread.
std::optional<LogSource> OpenPhoto(const SourceFolders& folders, const std::string& name,
                                   const std::string& fileName);

// Moves the open file out of the source. Opens an older log first. Throws SourceError when the file
// cannot be opened, or when the path has another file now.
File TakeFile(LogSource& source);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_LOG_SOURCES_H_
