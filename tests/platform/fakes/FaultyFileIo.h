#ifndef QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
#define QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "log_copy/file_io.h"

enum class Operation {
    Open,
    Create,  // an Open that makes the file
    Close,
    Status,
    MountId,
    Read,
    Write,
    Sync,
    SyncFileSystem,
    TryLock,
    List,
    MakeFolder,
    Rename,
    RemoveFile,
    RemoveFolder,
};

struct Performed_s {
    Operation operation;
    std::string path;     // of the file or folder it works on; for Rename the old one
    std::string newPath;  // for Rename
};

std::ostream& operator<<(std::ostream& out, const Performed_s& performed);

// The system's file operations, which lets a chosen one fail before it has any effect, and tells
// which ones there were. Syncing is only recorded, since the tests that look at the medium use the
// system's own. One thread.
class FaultyFileIo : public quorvel::desktop::SystemFileIo {
public:
    // What lies in the folder storage is on the storage, everything else on another disk.
    explicit FaultyFileIo(std::string storage) : m_Storage(std::move(storage)) {}

    // The operation of this index (0 is the first) fails with error. For good: so do all later ones
    // on the same disk that such a disk would fail. A full one still lets itself be read and
    // emptied.
    void FailAt(std::size_t index, int error, bool forGood);
    // Called with the index of each operation before it is performed.
    void SetHook(std::function<void(std::size_t)> hook) { m_Hook = std::move(hook); }
    // No read and no write transfers more bytes than these.
    void SetMaxTransfer(std::size_t read, std::size_t write) {
        m_MaxRead = read;
        m_MaxWrite = write;
    }
    // Each operation that a signal can interrupt is, once.
    void InterruptEach() { m_Interrupts = true; }

    const std::vector<Performed_s>& Performed() const { return m_Performed; }
    bool IsOnStorage(const std::string& path) const;
    // Whether a disk that fails with error for good fails this operation.
    static bool IsRefused(Operation operation, int error);
    // Descriptors that were opened and not closed.
    int OpenDescriptors() const { return m_OpenDescriptors; }

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

private:
    struct Fault_s {
        std::size_t index;
        int error;
        bool forGood;
    };

    // Records the operation; true, with errno set, when it is to fail.
    bool m_Fails(Operation operation, const std::string& path, const std::string& newPath = "");
    bool m_IsInterrupted(Operation operation);
    bool m_IsFaulty(std::size_t index) const;

    std::string m_Storage;
    std::optional<Fault_s> m_Fault;
    std::function<void(std::size_t)> m_Hook;
    std::size_t m_MaxRead = static_cast<std::size_t>(-1);
    std::size_t m_MaxWrite = static_cast<std::size_t>(-1);
    bool m_Interrupts = false;
    bool m_WasInterrupted = false;
    int m_OpenDescriptors = 0;
    std::vector<Performed_s> m_Performed;
};

#endif  // QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
