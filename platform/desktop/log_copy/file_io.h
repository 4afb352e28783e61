#ifndef QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
#define QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvel::desktop {

// The file operations that a log copy is made of, so that tests can let each of them fail. Each is
// one system call: it returns -1 and sets errno on failure, and may be interrupted (EINTR). Names
// are relative to the open folder given, or to the current one for AT_FDCWD. Any thread.
class FileIo {
public:
    virtual ~FileIo() = default;

    // flags as for open(2), mode as well; the descriptor belongs to the caller.
    virtual int Open(int folder, const std::string& name, int flags, mode_t mode) = 0;
    virtual int Close(int descriptor) = 0;
    virtual int Status(int descriptor, struct stat& status) = 0;
    // The number of the mount in which the open file lies, as the kernel's mount table has it.
    virtual int MountId(int descriptor, std::uint64_t& id) = 0;
    virtual ssize_t Read(int descriptor, void* buffer, std::size_t size) = 0;
    virtual ssize_t Write(int descriptor, const void* buffer, std::size_t size) = 0;
    virtual int Sync(int descriptor) = 0;
    // Syncs the whole file system in which the open file lies.
    virtual int SyncFileSystem(int descriptor) = 0;
    // Locks an open folder against other lockers; EWOULDBLOCK when one of them has it. Released by
    // closing it.
    virtual int TryLock(int folder) = 0;
    // The names in an open folder without "." and "..", in no order.
    virtual int List(int folder, std::vector<std::string>& names) = 0;
    virtual int MakeFolder(int folder, const std::string& name, mode_t mode) = 0;
    // EEXIST when there is a file or folder of the new name.
    virtual int Rename(int folder, const std::string& from, const std::string& to) = 0;
    virtual int RemoveFile(int folder, const std::string& name) = 0;
    virtual int RemoveFolder(int folder, const std::string& name) = 0;
};

// The system's own file operations.
class SystemFileIo : public FileIo {
public:
    int Open(int folder, const std::string& name, int flags, mode_t mode) override;
    int Close(int descriptor) override;
    int Status(int descriptor, struct stat& status) override;
    int MountId(int descriptor, std::uint64_t& id) override;
    ssize_t Read(int descriptor, void* buffer, std::size_t size) override;
    ssize_t Write(int descriptor, const void* buffer, std::size_t size) override;
    int Sync(int descriptor) override;
    int SyncFileSystem(int descriptor) override;
    int TryLock(int folder) override;
    int List(int folder, std::vector<std::string>& names) override;
    int MakeFolder(int folder, const std::string& name, mode_t mode) override;
    int Rename(int folder, const std::string& from, const std::string& to) override;
    int RemoveFile(int folder, const std::string& name) override;
    int RemoveFolder(int folder, const std::string& name) override;
};

// Owns an open descriptor and closes it through the FileIo, which must outlive it.
class FileHandle {
public:
    explicit FileHandle(FileIo& io, int descriptor = -1) : m_Io(&io), m_Descriptor(descriptor) {}
    ~FileHandle();
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    bool IsOpen() const { return m_Descriptor >= 0; }
    int Get() const { return m_Descriptor; }
    // Closes it now; -1 and errno when the file system reports a late error. Not open afterwards.
    int Close();

private:
    FileIo* m_Io;
    int m_Descriptor;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LOG_COPY_FILE_IO_H_
