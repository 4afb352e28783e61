#ifndef QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
#define QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

enum class FileCall {
    kOpen,
    kCreate,  // opens a new file
    kClose,
    kStatus,
    kPath,
    kMountId,
    kRead,
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

// A system call of a log copy, and its arguments as far as tests need them.
struct FileOperation {
    FileCall call;
    int descriptor;         // of an open file or folder, or AT_FDCWD
    std::string name = {};  // in the folder
    std::string newName = {};
    std::size_t size = 0;  // number of bytes to read or write
};

struct PerformedCall {
    FileCall call;
    std::string path;     // of the file or folder; for kRename the old path
    std::string newPath;  // for kRename
};

std::ostream& operator<<(std::ostream& out, const PerformedCall& performed);

// Replaces the system calls of log_copy/file_io.h while a FaultyFileIo::Scope exists. Records every
// call, and makes a selected call fail before the call has an effect. Only records syncs unless
// SyncForReal was called. One thread only.
class FaultyFileIo {
public:
    // Redirects the calls of this thread to io until the object is destroyed.
    class Scope {
    public:
        explicit Scope(FaultyFileIo& io);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
    };

    // Performs a system call with the size of the operation, which can be smaller than requested.
    using SystemCall = std::function<ssize_t(const FileOperation& operation)>;

    // Performs the call through the FaultyFileIo of this thread, if a Scope exists.
    static ssize_t Perform(FileOperation operation, const SystemCall& systemCall);

    // Files below the folder storage are on the storage. All other files are on another disk.
    explicit FaultyFileIo(std::string storage) : m_Storage(std::move(storage)) {}

    // Makes the call with the index fail with the error. The first call has the index 0.
    void FailOnce(std::size_t index, int error) { m_Fault = Fault{index, error, false}; }
    // Also makes later calls on the same disk fail if IsRejected returns true for them.
    void FailPermanently(std::size_t index, int error) { m_Fault = Fault{index, error, true}; }
    // Sets a function that is called with the index of each call before the call is performed.
    void SetHook(std::function<void(std::size_t)> hook) { m_Hook = std::move(hook); }
    // Limits the bytes of each read and of each write.
    void SetMaxTransfer(std::size_t read, std::size_t write) {
        m_MaxRead = read;
        m_MaxWrite = write;
    }
    // Makes each call except close fail once with EINTR before the call succeeds.
    void InterruptEach() { m_Interrupts = true; }
    void SyncForReal() { m_Syncs = true; }

    const std::vector<PerformedCall>& Performed() const { return m_Performed; }
    bool IsOnStorage(const std::string& path) const;
    // Returns whether a disk that fails permanently with error rejects this call. A full disk can
    // still be read and emptied.
    static bool IsRejected(FileCall call, int error);
    // Returns the number of open descriptors.
    int OpenDescriptors() const { return m_OpenDescriptors; }

private:
    struct Fault {
        std::size_t index;
        int error;
        bool isPermanent;
    };

    void m_Record(const FileOperation& operation);
    // Returns the error of the last recorded call; 0 if the call succeeds.
    int m_InjectedError();
    bool m_IsFaulty(std::size_t index) const;
    ssize_t m_Perform(FileOperation& operation, const SystemCall& systemCall);
    ssize_t m_PerformForReal(FileOperation& operation, const SystemCall& systemCall);

    std::string m_Storage;
    std::optional<Fault> m_Fault;
    std::function<void(std::size_t)> m_Hook;
    std::size_t m_MaxRead = static_cast<std::size_t>(-1);
    std::size_t m_MaxWrite = static_cast<std::size_t>(-1);
    bool m_Syncs = false;
    bool m_Interrupts = false;
    bool m_WasInterrupted = false;
    int m_OpenDescriptors = 0;
    std::vector<PerformedCall> m_Performed;
};

// Performs a system call of the port, through the FaultyFileIo of this thread if a Scope exists.
template <typename SystemCall>
auto PerformCall(const FileOperation& operation, const SystemCall& systemCall) {
    return static_cast<decltype(systemCall(operation))>(
        FaultyFileIo::Perform(operation, systemCall));
}

#endif  // QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
