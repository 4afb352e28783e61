#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_

#include <functional>
#include <string>

#include "log_copy/file_io.h"
#include "log_copy/log_sources.h"

// The new folder of a log copy on the storage. The folder has a temporary name until its content is
// on the device. Functions throw LogCopyError. Any thread.
namespace quorvel::desktop {

// Creates a folder in parent and calls fill, which adds the files. Then gives the folder its final
// name and syncs it to the device. Returns the name; it ends in a number when name is taken. First
// removes the unfinished folders of earlier copies, as far as possible. The caller holds the lock
// on parent, so that no other copy uses them.
//
// When an operation or fill throws, removes the folder and passes the exception on. A storage that
// fails permanently may keep the folder: under the temporary name, or complete.
std::string CreateFolder(const File& parent, const std::string& name,
                         const std::function<void(const File& folder)>& fill);

// Copies the file into the folder and syncs it to the device. Closes the source. Throws SourceError
// when the file cannot be read, or when the storage rejects its name. The folder then contains no
// part of the file.
void CopyFile(LogSource& source, const File& folder);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_UNFINISHED_FOLDER_H_
