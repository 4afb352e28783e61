#include "platform/fakes/FaultyFileIo.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <ostream>
#include <utility>

namespace {

const char* NameOf(Operation operation) {
    static const char* const NAMES[] = {"Open",           "Create",     "Close",       "Status",
                                        "MountId",        "Read",       "Write",       "Sync",
                                        "SyncFileSystem", "TryLock",    "List",        "MakeFolder",
                                        "Rename",         "RemoveFile", "RemoveFolder"};
    return NAMES[static_cast<std::size_t>(operation)];
}

std::string PathOf(int descriptor) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
}

std::string PathIn(int folder, const std::string& name) {
    return folder == AT_FDCWD ? name : PathOf(folder) + "/" + name;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Performed_s& performed) {
    out << NameOf(performed.operation) << " " << performed.path;
    return performed.newPath.empty() ? out : out << " to " << performed.newPath;
}

void FaultyFileIo::FailAt(std::size_t index, int error, bool forGood) {
    m_Fault = Fault_s{index, error, forGood};
}

bool FaultyFileIo::IsOnStorage(const std::string& path) const {
    return path.compare(0, m_Storage.size(), m_Storage) == 0;
}

bool FaultyFileIo::IsRefused(Operation operation, int error) {
    switch (operation) {
        case Operation::Close:
        case Operation::Status:
        case Operation::MountId:
            return false;
        case Operation::Open:
        case Operation::Read:
        case Operation::TryLock:
        case Operation::List:
        case Operation::RemoveFile:
        case Operation::RemoveFolder:
            return error != ENOSPC;
        default:
            return true;
    }
}

bool FaultyFileIo::m_IsFaulty(std::size_t index) const {
    if (!m_Fault || index < m_Fault->index) {
        return false;
    }
    if (index == m_Fault->index) {
        return true;
    }
    const Performed_s& now = m_Performed[index];
    return m_Fault->forGood && IsRefused(now.operation, m_Fault->error) &&
           IsOnStorage(now.path) == IsOnStorage(m_Performed[m_Fault->index].path);
}

// None of these four waits for anything.
bool FaultyFileIo::m_IsInterrupted(Operation operation) {
    const bool canBe = operation != Operation::Close && operation != Operation::Status &&
                       operation != Operation::MountId && operation != Operation::TryLock;
    m_WasInterrupted = m_Interrupts && canBe && !m_WasInterrupted;
    return m_WasInterrupted;
}

bool FaultyFileIo::m_Fails(Operation operation, const std::string& path,
                           const std::string& newPath) {
    const std::size_t index = m_Performed.size();
    m_Performed.push_back({operation, path, newPath});
    if (m_Hook) {
        m_Hook(index);
    }
    if (m_IsFaulty(index)) {
        errno = m_Fault->error;
        return true;
    }
    if (m_IsInterrupted(operation)) {
        errno = EINTR;
        return true;
    }
    return false;
}

int FaultyFileIo::Open(int folder, const std::string& name, int flags, mode_t mode) {
    const Operation operation = (flags & O_CREAT) == 0 ? Operation::Open : Operation::Create;
    if (m_Fails(operation, PathIn(folder, name))) {
        return -1;
    }
    const int descriptor = SystemFileIo::Open(folder, name, flags, mode);
    m_OpenDescriptors += descriptor < 0 ? 0 : 1;
    return descriptor;
}

// As in the system, the descriptor is gone even when closing it reports an error.
int FaultyFileIo::Close(int descriptor) {
    const bool fails = m_Fails(Operation::Close, PathOf(descriptor));
    const int error = errno;
    const int result = SystemFileIo::Close(descriptor);
    m_OpenDescriptors -= result == 0 ? 1 : 0;
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

int FaultyFileIo::Status(int descriptor, struct stat& status) {
    return m_Fails(Operation::Status, PathOf(descriptor))
               ? -1
               : SystemFileIo::Status(descriptor, status);
}

int FaultyFileIo::MountId(int descriptor, std::uint64_t& id) {
    return m_Fails(Operation::MountId, PathOf(descriptor)) ? -1
                                                           : SystemFileIo::MountId(descriptor, id);
}

ssize_t FaultyFileIo::Read(int descriptor, void* buffer, std::size_t size) {
    return m_Fails(Operation::Read, PathOf(descriptor))
               ? -1
               : SystemFileIo::Read(descriptor, buffer, std::min(size, m_MaxRead));
}

ssize_t FaultyFileIo::Write(int descriptor, const void* buffer, std::size_t size) {
    return m_Fails(Operation::Write, PathOf(descriptor))
               ? -1
               : SystemFileIo::Write(descriptor, buffer, std::min(size, m_MaxWrite));
}

int FaultyFileIo::Sync(int descriptor) {
    return m_Fails(Operation::Sync, PathOf(descriptor)) ? -1 : 0;
}

int FaultyFileIo::SyncFileSystem(int descriptor) {
    return m_Fails(Operation::SyncFileSystem, PathOf(descriptor)) ? -1 : 0;
}

int FaultyFileIo::TryLock(int folder) {
    return m_Fails(Operation::TryLock, PathOf(folder)) ? -1 : SystemFileIo::TryLock(folder);
}

int FaultyFileIo::List(int folder, std::vector<std::string>& names) {
    return m_Fails(Operation::List, PathOf(folder)) ? -1 : SystemFileIo::List(folder, names);
}

int FaultyFileIo::MakeFolder(int folder, const std::string& name, mode_t mode) {
    return m_Fails(Operation::MakeFolder, PathIn(folder, name))
               ? -1
               : SystemFileIo::MakeFolder(folder, name, mode);
}

int FaultyFileIo::Rename(int folder, const std::string& from, const std::string& to) {
    return m_Fails(Operation::Rename, PathIn(folder, from), PathIn(folder, to))
               ? -1
               : SystemFileIo::Rename(folder, from, to);
}

int FaultyFileIo::RemoveFile(int folder, const std::string& name) {
    return m_Fails(Operation::RemoveFile, PathIn(folder, name))
               ? -1
               : SystemFileIo::RemoveFile(folder, name);
}

int FaultyFileIo::RemoveFolder(int folder, const std::string& name) {
    return m_Fails(Operation::RemoveFolder, PathIn(folder, name))
               ? -1
               : SystemFileIo::RemoveFolder(folder, name);
}
