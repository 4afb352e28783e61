#include "platform/fakes/FaultyFileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <ostream>
#include <utility>

namespace {

const char* NameOf(FileCall call) {
    static const char* const kNames[] = {"open",        "create",   "close",       "status",
                                         "path",        "mount id", "read",        "write",
                                         "sync",        "sync all", "lock",        "list",
                                         "make folder", "rename",   "remove file", "remove folder"};
    return kNames[static_cast<std::size_t>(call)];
}

std::string TargetOf(const std::string& link) {
    std::error_code error;
    return std::filesystem::read_symlink(link, error);
}

std::string PathIn(int folder, const std::string& name) {
    const std::string path = TargetOf("/proc/self/fd/" + std::to_string(folder));
    if (name.empty()) {
        return path;
    }
    return folder == AT_FDCWD ? name : path + "/" + name;
}

// The FaultyFileIo of this thread; null while no Scope exists and during a call.
thread_local FaultyFileIo* g_FaultyFileIo = nullptr;

}  // namespace

FaultyFileIo::Scope::Scope(FaultyFileIo& io) {
    g_FaultyFileIo = &io;
}

FaultyFileIo::Scope::~Scope() {
    g_FaultyFileIo = nullptr;
}

std::ostream& operator<<(std::ostream& out, const PerformedCall& performed) {
    out << NameOf(performed.call) << " " << performed.path;
    return performed.newPath.empty() ? out : out << " to " << performed.newPath;
}

bool FaultyFileIo::IsOnStorage(const std::string& path) const {
    return path.compare(0, m_Storage.size(), m_Storage) == 0;
}

bool FaultyFileIo::IsRejected(FileCall call, int error) {
    const bool isFull = error == ENOSPC || error == EDQUOT;
    switch (call) {
        case FileCall::kClose:
        case FileCall::kStatus:
        case FileCall::kPath:
        case FileCall::kMountId:
            return false;
        case FileCall::kOpen:
        case FileCall::kRead:
        case FileCall::kTryLock:
        case FileCall::kList:
        case FileCall::kRemoveFile:
        case FileCall::kRemoveFolder:
            return !isFull;
        default:
            return true;
    }
}

ssize_t FaultyFileIo::Perform(FileOperation operation, const SystemCall& systemCall) {
    if (g_FaultyFileIo == nullptr) {
        return systemCall(operation);
    }
    // The fake and its hook can call the same functions.
    FaultyFileIo& io = *std::exchange(g_FaultyFileIo, nullptr);
    const auto restore = [](FaultyFileIo* fake) { g_FaultyFileIo = fake; };
    const std::unique_ptr<FaultyFileIo, decltype(restore)> restored(&io, restore);
    return io.m_Perform(operation, systemCall);
}

ssize_t FaultyFileIo::m_Perform(FileOperation& operation, const SystemCall& systemCall) {
    m_Record(operation);
    const int error = m_InjectedError();
    // A failed close releases the descriptor, as in the system.
    if (error == 0 || operation.call == FileCall::kClose) {
        const ssize_t result = m_PerformForReal(operation, systemCall);
        if (error == 0) {
            return result;
        }
    }
    errno = error;
    return -1;
}

void FaultyFileIo::m_Record(const FileOperation& operation) {
    PerformedCall performed{operation.call, PathIn(operation.descriptor, operation.name), ""};
    if (operation.call == FileCall::kPath) {
        performed.path = TargetOf(performed.path);
    }
    if (!operation.newName.empty()) {
        performed.newPath = PathIn(operation.descriptor, operation.newName);
    }
    m_Performed.push_back(performed);
    if (m_Hook) {
        m_Hook(m_Performed.size() - 1);
    }
}

int FaultyFileIo::m_InjectedError() {
    if (m_IsFaulty(m_Performed.size() - 1)) {
        return m_Fault->error;
    }
    m_WasInterrupted =
        m_Interrupts && m_Performed.back().call != FileCall::kClose && !m_WasInterrupted;
    return m_WasInterrupted ? EINTR : 0;
}

bool FaultyFileIo::m_IsFaulty(std::size_t index) const {
    if (!m_Fault || index <= m_Fault->index) {
        return m_Fault && index == m_Fault->index;
    }
    const PerformedCall& now = m_Performed[index];
    return m_Fault->isPermanent && IsRejected(now.call, m_Fault->error) &&
           IsOnStorage(now.path) == IsOnStorage(m_Performed[m_Fault->index].path);
}

ssize_t FaultyFileIo::m_PerformForReal(FileOperation& operation, const SystemCall& systemCall) {
    const FileCall call = operation.call;
    if (!m_Syncs && (call == FileCall::kSync || call == FileCall::kSyncFileSystem)) {
        return 0;
    }
    operation.size = std::min(operation.size, call == FileCall::kRead ? m_MaxRead : m_MaxWrite);
    const ssize_t result = systemCall(operation);
    if ((call == FileCall::kOpen || call == FileCall::kCreate) && result >= 0) {
        ++m_OpenDescriptors;
    }
    if (call == FileCall::kClose && result == 0) {
        --m_OpenDescriptors;
    }
    return result;
}

// The linker option --wrap redirects the calls of the port to these functions. FailingCalls.cpp
// redirects further calls.
extern "C" {

// The port always passes a mode.
int __real_openat(int folder, const char* name, int flags, mode_t mode);
int __wrap_openat(int folder, const char* name, int flags, mode_t mode) {
    const FileCall call = (flags & O_CREAT) == 0 ? FileCall::kOpen : FileCall::kCreate;
    return PerformCall({call, folder, name}, [&](const FileOperation&) {
        return __real_openat(folder, name, flags, mode);
    });
}

int __real_close(int file);
int __wrap_close(int file) {
    return PerformCall({FileCall::kClose, file},
                       [&](const FileOperation&) { return __real_close(file); });
}

int __real_fstatat(int folder, const char* name, struct stat* status, int flags);
int __wrap_fstatat(int folder, const char* name, struct stat* status, int flags) {
    return PerformCall({FileCall::kStatus, folder, name}, [&](const FileOperation&) {
        return __real_fstatat(folder, name, status, flags);
    });
}

// The path is a link in /proc/self/fd.
ssize_t __real_readlink(const char* path, char* target, size_t size);
ssize_t __wrap_readlink(const char* path, char* target, size_t size) {
    return PerformCall({FileCall::kPath, AT_FDCWD, path},
                       [&](const FileOperation&) { return __real_readlink(path, target, size); });
}

ssize_t __real_pread(int file, void* buffer, size_t size, off_t offset);
ssize_t __wrap_pread(int file, void* buffer, size_t size, off_t offset) {
    return PerformCall({FileCall::kRead, file, {}, {}, size}, [&](const FileOperation& operation) {
        return __real_pread(file, buffer, operation.size, offset);
    });
}

ssize_t __real_write(int file, const void* buffer, size_t size);
ssize_t __wrap_write(int file, const void* buffer, size_t size) {
    return PerformCall({FileCall::kWrite, file, {}, {}, size}, [&](const FileOperation& operation) {
        return __real_write(file, buffer, operation.size);
    });
}

int __real_fsync(int file);
int __wrap_fsync(int file) {
    return PerformCall({FileCall::kSync, file},
                       [&](const FileOperation&) { return __real_fsync(file); });
}

int __real_syncfs(int file);
int __wrap_syncfs(int file) {
    return PerformCall({FileCall::kSyncFileSystem, file},
                       [&](const FileOperation&) { return __real_syncfs(file); });
}

int __real_flock(int file, int mode);
int __wrap_flock(int file, int mode) {
    return PerformCall({FileCall::kTryLock, file},
                       [&](const FileOperation&) { return __real_flock(file, mode); });
}

int __real_mkdirat(int folder, const char* name, mode_t mode);
int __wrap_mkdirat(int folder, const char* name, mode_t mode) {
    return PerformCall({FileCall::kMakeFolder, folder, name},
                       [&](const FileOperation&) { return __real_mkdirat(folder, name, mode); });
}

int __real_unlinkat(int folder, const char* name, int flags);
int __wrap_unlinkat(int folder, const char* name, int flags) {
    const FileCall call =
        (flags & AT_REMOVEDIR) == 0 ? FileCall::kRemoveFile : FileCall::kRemoveFolder;
    return PerformCall({call, folder, name},
                       [&](const FileOperation&) { return __real_unlinkat(folder, name, flags); });
}

}  // extern "C"
