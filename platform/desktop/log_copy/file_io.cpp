#include "log_copy/file_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace quorvel::desktop {

namespace {

struct StreamCloser {
    void operator()(DIR* stream) const { closedir(stream); }
};
using FolderStream = std::unique_ptr<DIR, StreamCloser>;

const char* StorageProblem(int error) {
    switch (error) {
        case EROFS:
            return "the USB storage is read-only";
        case ENOSPC:
        case EDQUOT:
            return "the USB storage is full";
        case EIO:
        case ENODEV:
        case ENXIO:
        case ENOTCONN:
        case ESHUTDOWN:
        case ESTALE:
            return "the USB storage was unplugged or is broken";
        case EACCES:
        case EPERM:
            return "no permission to write to the USB storage";
        default:
            return "cannot write to the USB storage";
    }
}

std::string Reason(const std::string& name, int error) {
    std::string reason = std::generic_category().message(error);
    if (!name.empty()) {
        reason.insert(0, name + ": ");
    }
    return reason;
}

// Returns the path of the kernel's link to the open file or folder.
std::string LinkTo(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// The stream has its own descriptor: reading it keeps the position of the folder's descriptor.
int ListFolder(int folder, std::vector<std::string>& names) {
    const FolderStream stream(opendir(LinkTo(folder).c_str()));
    if (stream == nullptr) {
        return -1;
    }
    names.clear();
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
        errno = 0;
    }
    return errno == 0 ? 0 : -1;
}

int ReadMountId(int descriptor, std::uint64_t& id) {
    struct statx status {};
    if (statx(descriptor, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) != 0) {
        return -1;
    }
    if ((status.stx_mask & STATX_MNT_ID) == 0) {
        errno = EOPNOTSUPP;
        return -1;
    }
    id = status.stx_mnt_id;
    return 0;
}

int ReadPath(int descriptor, std::string& path) {
    std::error_code error;
    path = std::filesystem::read_symlink(LinkTo(descriptor), error);
    errno = error.value();
    return error ? -1 : 0;
}

// Some file systems in user space cannot rename without replacing: EINVAL. If another program takes
// the name after the check, renameat replaces only an empty folder.
int RenameWithoutReplacing(int folder, const char* from, const char* to) {
    const int result = renameat2(folder, from, folder, to, RENAME_NOREPLACE);
    if (result == 0 || errno != EINVAL) {
        return result;
    }
    if (faccessat(folder, to, F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return errno == ENOENT ? renameat(folder, from, folder, to) : -1;
}

}  // namespace

LogCopyError::LogCopyError(const std::string& problem, const std::string& detail)
    : std::runtime_error(problem + " (" + detail + ")") {}

void FailNoStorage(const std::string& name, int error) {
    throw LogCopyError("no USB storage is mounted", Reason(name, error));
}

void FailStorage(const std::string& name, int error) {
    throw LogCopyError(StorageProblem(error), Reason(name, error));
}

void FailSource(const std::string& name, int error) {
    throw SourceError("a file to copy cannot be read", Reason(name, error));
}

File::File(FileIo& io, int folder, const std::string& name, int flags, mode_t mode) : m_Io(io) {
    const FileCall call = (flags & O_CREAT) == 0 ? FileCall::kOpen : FileCall::kCreate;
    m_Descriptor = static_cast<int>(m_Repeat({call, folder, name}, [&](const auto& operation) {
        return openat(folder, operation.name.c_str(), flags, mode);
    }));
}

File::File(FileIo& io, const std::string& path, int flags) : File(io, AT_FDCWD, path, flags, 0) {}

File::File(const File& folder, const std::string& name, int flags, mode_t mode)
    : File(folder.m_Io, folder.m_Descriptor, name, flags, mode) {}

File::File(File&& other) noexcept
    : m_Io(other.m_Io), m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}

File::~File() {
    Close();
}

ssize_t File::m_Repeat(const FileOperation& operation, const FileIo::SystemCall& systemCall) const {
    ssize_t result = m_Io.Perform(operation, systemCall);
    while (result < 0 && errno == EINTR) {
        result = m_Io.Perform(operation, systemCall);
    }
    return result;
}

bool File::m_Perform(const FileOperation& operation, const FileIo::SystemCall& systemCall) const {
    return m_Repeat(operation, systemCall) == 0;
}

// Linux releases the descriptor even when close reports EINTR, so close is not repeated.
bool File::Close() {
    if (!IsOpen()) {
        return true;
    }
    return m_Io.Perform({FileCall::kClose, std::exchange(m_Descriptor, -1)},
                        [](const auto& operation) { return close(operation.descriptor); }) == 0;
}

bool File::Status(struct stat& status) const {
    return m_Perform({FileCall::kStatus, m_Descriptor},
                     [&](const auto& operation) { return fstat(operation.descriptor, &status); });
}

bool File::Path(std::string& path) const {
    return m_Perform({FileCall::kPath, m_Descriptor},
                     [&](const auto& operation) { return ReadPath(operation.descriptor, path); });
}

bool File::MountId(std::uint64_t& id) const {
    return m_Perform({FileCall::kMountId, m_Descriptor},
                     [&](const auto& operation) { return ReadMountId(operation.descriptor, id); });
}

ssize_t File::Read(void* buffer, std::size_t size) const {
    return m_Repeat({FileCall::kRead, m_Descriptor, "", "", size}, [&](const auto& operation) {
        return read(operation.descriptor, buffer, operation.size);
    });
}

ssize_t File::Write(const void* buffer, std::size_t size) const {
    return m_Repeat({FileCall::kWrite, m_Descriptor, "", "", size}, [&](const auto& operation) {
        return write(operation.descriptor, buffer, operation.size);
    });
}

bool File::Rewind() const {
    return m_Perform({FileCall::kSeek, m_Descriptor}, [](const auto& operation) {
        return lseek(operation.descriptor, 0, SEEK_SET);
    });
}

bool File::Sync() const {
    return m_Perform({FileCall::kSync, m_Descriptor},
                     [](const auto& operation) { return fsync(operation.descriptor); });
}

bool File::SyncFileSystem() const {
    return m_Perform({FileCall::kSyncFileSystem, m_Descriptor},
                     [](const auto& operation) { return syncfs(operation.descriptor); });
}

bool File::TryLock() const {
    return m_Perform({FileCall::kTryLock, m_Descriptor}, [](const auto& operation) {
        return flock(operation.descriptor, LOCK_EX | LOCK_NB);
    });
}

bool File::List(std::vector<std::string>& names) const {
    return m_Perform({FileCall::kList, m_Descriptor}, [&](const auto& operation) {
        return ListFolder(operation.descriptor, names);
    });
}

bool File::StatusOf(const std::string& name, struct stat& status) const {
    return m_Perform({FileCall::kStatus, m_Descriptor, name}, [&](const auto& operation) {
        return fstatat(operation.descriptor, operation.name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    });
}

bool File::MakeFolder(const std::string& name, mode_t mode) const {
    return m_Perform({FileCall::kMakeFolder, m_Descriptor, name}, [&](const auto& operation) {
        return mkdirat(operation.descriptor, operation.name.c_str(), mode);
    });
}

bool File::Rename(const std::string& from, const std::string& to) const {
    return m_Perform({FileCall::kRename, m_Descriptor, from, to}, [](const auto& operation) {
        return RenameWithoutReplacing(operation.descriptor, operation.name.c_str(),
                                      operation.newName.c_str());
    });
}

bool File::RemoveFile(const std::string& name) const {
    return m_Perform({FileCall::kRemoveFile, m_Descriptor, name}, [](const auto& operation) {
        return unlinkat(operation.descriptor, operation.name.c_str(), 0);
    });
}

bool File::RemoveFolder(const std::string& name) const {
    return m_Perform({FileCall::kRemoveFolder, m_Descriptor, name}, [](const auto& operation) {
        return unlinkat(operation.descriptor, operation.name.c_str(), AT_REMOVEDIR);
    });
}

}  // namespace quorvel::desktop
