#include "platform/fakes/FaultyFileIo.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <ostream>

using quorvel::desktop::FileCall;
using quorvel::desktop::FileOperation;

namespace {

const char* NameOf(FileCall call) {
    static const char* const kNames[] = {"open",        "create",   "close",       "status",
                                         "path",        "mount id", "read",        "write",
                                         "sync",        "sync all", "lock",        "list",
                                         "make folder", "rename",   "remove file", "remove folder"};
    return kNames[static_cast<std::size_t>(call)];
}

std::string PathOf(int descriptor) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
}

std::string PathIn(int folder, const std::string& name) {
    if (name.empty()) {
        return PathOf(folder);
    }
    return folder == AT_FDCWD ? name : PathOf(folder) + "/" + name;
}

}  // namespace

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

ssize_t FaultyFileIo::Perform(FileOperation& operation, const SystemCall& systemCall) {
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
    const ssize_t result = systemCall();
    if ((call == FileCall::kOpen || call == FileCall::kCreate) && result >= 0) {
        ++m_OpenDescriptors;
    }
    if (call == FileCall::kClose && result == 0) {
        --m_OpenDescriptors;
    }
    return result;
}
