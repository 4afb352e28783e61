#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvel::desktop {

// Ends a log copy. what() is the text of the line to log. Thrown and caught on the thread of the
// copy.
class LogCopyError : public std::runtime_error {
public:
    // detail: name of the file or folder, or the system's reason, or both.
    LogCopyError(const std::string& problem, const std::string& detail);
};

// Ends the copy of one file. The storage works, so that other files can be copied.
class SourceError : public LogCopyError {
public:
    using LogCopyError::LogCopyError;
};

// Throw LogCopyError because no storage is mounted or an operation on the storage failed.
// FailSource throws SourceError because a file to copy cannot be read. name: of the file or folder;
// empty when it has no name. error: value of errno.
[[noreturn]] void FailNoStorage(const std::string& name, int error);
[[noreturn]] void FailStorage(const std::string& name, int error);
[[noreturn]] void FailSource(const std::string& name, int error);

// Throw like FailStorage and FailSource, with errno as the error, if hasSucceeded is false.
void CheckStorage(bool hasSucceeded, const std::string& name);
void CheckSource(bool hasSucceeded, const std::string& name);

// An open file or folder, closed by the destructor. Repeats a system call that a signal interrupts,
// except close. Functions that return bool return false and set errno on failure. One thread at a
// time.
class File {
public:
    // Opens the file or folder at path. flags: as for open(2).
    File(const std::string& path, int flags);
    // Opens name in folder. mode: permissions of a new file.
    File(const File& folder, const std::string& name, int flags, mode_t mode = 0);
    ~File();
    File(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    File& operator=(File&&) = delete;

    // False when opening failed, with errno set by the constructor, and after Close.
    bool IsOpen() const { return m_Descriptor >= 0; }
    // Returns false when the file system reports a late error. The file is closed in both cases.
    bool Close();

    // name: of a file or folder in this folder; empty for this file. Does not follow a link.
    bool Status(struct stat& status, const std::string& name = {}) const;
    // path: the real path, without links.
    bool Path(std::string& path) const;
    // id: number of the mount that contains the file, as in the kernel's mount table.
    bool MountId(std::uint64_t& id) const;
    // Read from the offset, and append, up to size bytes. Return the number of bytes, or -1 and set
    // errno.
    ssize_t Read(void* buffer, std::size_t size, off_t offset) const;
    ssize_t Write(const void* buffer, std::size_t size) const;
    bool Sync() const;
    // Syncs the whole file system that contains the file.
    bool SyncFileSystem() const;

    // Operations on a folder.

    // Locks the folder until it is closed. EWOULDBLOCK when another process or object has the lock.
    bool TryLock() const;
    // names: of the files and folders in this folder without "." and "..", in no order.
    bool List(std::vector<std::string>& names) const;
    bool MakeFolder(const std::string& name, mode_t mode) const;
    // EEXIST when a file or folder of the new name exists.
    bool Rename(const std::string& from, const std::string& to) const;
    bool RemoveFile(const std::string& name) const;
    bool RemoveFolder(const std::string& name) const;

private:
    int m_Descriptor;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
