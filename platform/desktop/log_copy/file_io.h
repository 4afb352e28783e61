#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
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

enum class FileCall {
    kOpen,
    kCreate,  // opens a new file
    kClose,
    kStatus,
    kPath,
    kMountId,
    kRead,
    kSeek,
    kWrite,
    kSync,
    kSyncFileSystem,
    kTryLock,
    kList,
    kMakeFolder,
    kRename,
    kRemoveFile,
    kRemoveFolder,
};

// A system call and its arguments, as far as tests need them.
struct FileOperation {
    FileCall call;
    int descriptor;         // of an open file or folder, or AT_FDCWD
    std::string name = {};  // in the folder
    std::string newName = {};
    std::size_t size = 0;  // number of bytes to read or write
};

// Performs the system calls of a log copy. Tests derive a class that records calls and makes them
// fail. Any thread.
class FileIo {
public:
    using SystemCall = std::function<ssize_t(const FileOperation& operation)>;

    virtual ~FileIo() = default;

    // Calls systemCall once. Returns its result, or -1 and sets errno.
    virtual ssize_t Perform(const FileOperation& operation, const SystemCall& systemCall) {
        return systemCall(operation);
    }
};

// An open file or folder, closed by the destructor. Repeats a system call that a signal interrupts,
// except close. Functions that return bool return false and set errno on failure. The FileIo must
// outlive it. One thread at a time.
class File {
public:
    // Opens the file or folder at path. flags: as for open(2).
    File(FileIo& io, const std::string& path, int flags);
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

    bool Status(struct stat& status) const;
    // path: the real path, without links.
    bool Path(std::string& path) const;
    // id: number of the mount that contains the file, as in the kernel's mount table.
    bool MountId(std::uint64_t& id) const;
    // Read and write up to size bytes. Return the number of bytes, or -1 and set errno.
    ssize_t Read(void* buffer, std::size_t size) const;
    ssize_t Write(const void* buffer, std::size_t size) const;
    // Moves to the start of the file.
    bool Rewind() const;
    bool Sync() const;
    // Syncs the whole file system that contains the file.
    bool SyncFileSystem() const;

    // Operations on a folder.

    // Locks it against other lockers until it is closed; EWOULDBLOCK when it is locked.
    bool TryLock() const;
    // names: of the files and folders in it without "." and "..", in no order.
    bool List(std::vector<std::string>& names) const;
    // Returns the status of name itself if it is a link.
    bool StatusOf(const std::string& name, struct stat& status) const;
    bool MakeFolder(const std::string& name, mode_t mode) const;
    // EEXIST when a file or folder of the new name exists.
    bool Rename(const std::string& from, const std::string& to) const;
    bool RemoveFile(const std::string& name) const;
    bool RemoveFolder(const std::string& name) const;

private:
    File(FileIo& io, int folder, const std::string& name, int flags, mode_t mode);
    ssize_t m_Repeat(const FileOperation& operation, const FileIo::SystemCall& systemCall) const;
    bool m_Perform(const FileOperation& operation, const FileIo::SystemCall& systemCall) const;

    FileIo& m_Io;
    int m_Descriptor = -1;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
