#include "log_copy/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
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

// Calls the function again while a signal interrupts it.
template <typename Function, typename... Arguments>
auto Retry(Function function, Arguments... arguments) {
    auto result = function(arguments...);
    while (result < 0 && errno == EINTR) {
        result = function(arguments...);
    }
    return result;
}

// Opens the folder again, since reading it moves the position of the descriptor.
int ListFolder(int folder, std::vector<std::string>* names) {
    names->clear();
    std::error_code error;
    std::filesystem::directory_iterator entry(LinkTo(folder), error);
    for (; entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        names->push_back(entry->path().filename());
    }
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

void CheckStorage(bool hasSucceeded, const std::string& name) {
    if (!hasSucceeded) {
        FailStorage(name, errno);
    }
}

void CheckSource(bool hasSucceeded, const std::string& name) {
    if (!hasSucceeded) {
        FailSource(name, errno);
    }
}

File::File(const std::string& path, int flags)
    : m_Descriptor(Retry(openat, AT_FDCWD, path.c_str(), flags, 0U)) {}

File::File(const File& folder, const std::string& name, int flags, mode_t mode)
    : m_Descriptor(Retry(openat, folder.m_Descriptor, name.c_str(), flags, mode)) {}

File::File(File&& other) noexcept : m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}

File::~File() {
    Close();
}

// Linux releases the descriptor even when close reports EINTR, so close is not repeated.
bool File::Close() {
    return !IsOpen() || close(std::exchange(m_Descriptor, -1)) == 0;
}

bool File::Status(struct stat& status, const std::string& name) const {
    constexpr int kFlags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW;
    return Retry(fstatat, m_Descriptor, name.c_str(), &status, kFlags) == 0;
}

bool File::Path(std::string& path) const {
    path.resize(PATH_MAX);
    const ssize_t size = Retry(readlink, LinkTo(m_Descriptor).c_str(), path.data(), path.size());
    path.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return size >= 0;
}

bool File::MountId(std::uint64_t& id) const {
    struct statx status {};
    if (Retry(statx, m_Descriptor, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) != 0) {
        return false;
    }
    if ((status.stx_mask & STATX_MNT_ID) == 0) {
        errno = EOPNOTSUPP;
        return false;
    }
    id = status.stx_mnt_id;
    return true;
}

ssize_t File::Read(void* buffer, std::size_t size, off_t offset) const {
    return Retry(pread, m_Descriptor, buffer, size, offset);
}

ssize_t File::Write(const void* buffer, std::size_t size) const {
    return Retry(write, m_Descriptor, buffer, size);
}

bool File::Sync() const {
    return Retry(fsync, m_Descriptor) == 0;
}

bool File::SyncFileSystem() const {
    return Retry(syncfs, m_Descriptor) == 0;
}

bool File::TryLock() const {
    return Retry(flock, m_Descriptor, LOCK_EX | LOCK_NB) == 0;
}

bool File::List(std::vector<std::string>& names) const {
    return Retry(ListFolder, m_Descriptor, &names) == 0;
}

bool File::MakeFolder(const std::string& name, mode_t mode) const {
    return Retry(mkdirat, m_Descriptor, name.c_str(), mode) == 0;
}

bool File::Rename(const std::string& from, const std::string& to) const {
    return Retry(RenameWithoutReplacing, m_Descriptor, from.c_str(), to.c_str()) == 0;
}

bool File::RemoveFile(const std::string& name) const {
    return Retry(unlinkat, m_Descriptor, name.c_str(), 0) == 0;
}

bool File::RemoveFolder(const std::string& name) const {
    return Retry(unlinkat, m_Descriptor, name.c_str(), AT_REMOVEDIR) == 0;
}

}  // namespace quorvel::desktop
