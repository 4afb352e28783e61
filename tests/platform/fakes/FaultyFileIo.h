#ifndef QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
#define QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "log_copy/file_io.h"

struct PerformedCall {
    quorvel::desktop::FileCall call;
    std::string path;     // of the file or folder; for kRename the old one
    std::string newPath;  // for kRename
};

std::ostream& operator<<(std::ostream& out, const PerformedCall& performed);

// The system's file operations. Records every call, and makes a selected call fail before the call
// has an effect. Only records syncs unless SyncForReal was called. One thread only.
class FaultyFileIo : public quorvel::desktop::FileIo {
public:
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
    static bool IsRejected(quorvel::desktop::FileCall call, int error);
    // Returns the number of open descriptors.
    int OpenDescriptors() const { return m_OpenDescriptors; }

    ssize_t Perform(quorvel::desktop::FileOperation& operation,
                    const SystemCall& systemCall) override;

private:
    struct Fault {
        std::size_t index;
        int error;
        bool isPermanent;
    };

    void m_Record(const quorvel::desktop::FileOperation& operation);
    // Returns the error of the last recorded call; 0 if the call succeeds.
    int m_InjectedError();
    bool m_IsFaulty(std::size_t index) const;
    ssize_t m_PerformForReal(quorvel::desktop::FileOperation& operation,
                             const SystemCall& systemCall);

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

#endif  // QUORVEL_TESTS_PLATFORM_FAULTY_FILE_IO_H_
