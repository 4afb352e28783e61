#include "log_copy/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quorvel::desktop {

namespace {

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

// Opens the folder again, since reading it moves the position of the descriptor.
int ListFolder(int folder, std::vector<std::string>& names) {
    names.clear();
    std::error_code error;
    std::filesystem::directory_iterator entry(LinkTo(folder), error);
    for (; entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        names.push_back(entry->path().filename());
    }
    errno = error.value();
    return error ? -1 : 0;
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
    FileOperation operation{call, folder, name};
    m_Descriptor = static_cast<int>(
        m_Repeat(operation, [&] { return openat(folder, name.c_str(), flags, mode); }));
}

File::File(FileIo& io, const std::string& path, int flags) : File(io, AT_FDCWD, path, flags, 0) {}

File::File(const File& folder, const std::string& name, int flags, mode_t mode)
    : File(folder.m_Io, folder.m_Descriptor, name, flags, mode) {}

File::File(File&& other) noexcept
    : m_Io(other.m_Io), m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}

File::~File() {
    Close();
}

ssize_t File::m_Repeat(FileOperation& operation, const FileIo::SystemCall& systemCall) const {
    ssize_t result = m_Io.Perform(operation, systemCall);
    while (result < 0 && errno == EINTR) {
        result = m_Io.Perform(operation, systemCall);
    }
    return result;
}

bool File::m_Perform(FileCall call, const FileIo::SystemCall& systemCall, const std::string& name,
                     const std::string& newName) const {
    FileOperation operation{call, m_Descriptor, name, newName};
    return m_Repeat(operation, systemCall) == 0;
}

// Linux releases the descriptor even when close reports EINTR, so close is not repeated.
bool File::Close() {
    if (!IsOpen()) {
        return true;
    }
    FileOperation operation{FileCall::kClose, std::exchange(m_Descriptor, -1)};
    return m_Io.Perform(operation, [&] { return close(operation.descriptor); }) == 0;
}

bool File::Status(struct stat& status, const std::string& name) const {
    const auto getStatus = [&] {
        return fstatat(m_Descriptor, name.c_str(), &status, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW);
    };
    return m_Perform(FileCall::kStatus, getStatus, name);
}

bool File::Path(std::string& path) const {
    return m_Perform(FileCall::kPath, [&] { return ReadPath(m_Descriptor, path); });
}

bool File::MountId(std::uint64_t& id) const {
    return m_Perform(FileCall::kMountId, [&] { return ReadMountId(m_Descriptor, id); });
}

ssize_t File::Read(void* buffer, std::size_t size, off_t offset) const {
    FileOperation operation{FileCall::kRead, m_Descriptor, {}, {}, size};
    return m_Repeat(operation, [&] { return pread(m_Descriptor, buffer, operation.size, offset); });
}

ssize_t File::Write(const void* buffer, std::size_t size) const {
    FileOperation operation{FileCall::kWrite, m_Descriptor, {}, {}, size};
    return m_Repeat(operation, [&] { return write(m_Descriptor, buffer, operation.size); });
}

bool File::Sync() const {
    return m_Perform(FileCall::kSync, [this] { return fsync(m_Descriptor); });
}

bool File::SyncFileSystem() const {
    return m_Perform(FileCall::kSyncFileSystem, [this] { return syncfs(m_Descriptor); });
}

bool File::TryLock() const {
    return m_Perform(FileCall::kTryLock, [this] { return flock(m_Descriptor, LOCK_EX | LOCK_NB); });
}

bool File::List(std::vector<std::string>& names) const {
    return m_Perform(FileCall::kList, [&] { return ListFolder(m_Descriptor, names); });
}

bool File::MakeFolder(const std::string& name, mode_t mode) const {
    const auto make = [&] { return mkdirat(m_Descriptor, name.c_str(), mode); };
    return m_Perform(FileCall::kMakeFolder, make, name);
}

bool File::Rename(const std::string& from, const std::string& to) const {
    const auto rename = [&] {
        return RenameWithoutReplacing(m_Descriptor, from.c_str(), to.c_str());
    };
    return m_Perform(FileCall::kRename, rename, from, to);
}

bool File::RemoveFile(const std::string& name) const {
    const auto remove = [&] { return unlinkat(m_Descriptor, name.c_str(), 0); };
    return m_Perform(FileCall::kRemoveFile, remove, name);
}

bool File::RemoveFolder(const std::string& name) const {
    const auto remove = [&] { return unlinkat(m_Descriptor, name.c_str(), AT_REMOVEDIR); };
    return m_Perform(FileCall::kRemoveFolder, remove, name);
}

}  // namespace quorvel::desktop
