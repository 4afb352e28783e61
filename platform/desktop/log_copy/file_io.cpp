#include "log_copy/file_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

namespace quorvel::desktop {

namespace {

struct StreamCloser {
    void operator()(DIR* stream) const { closedir(stream); }
};
using FolderStream = std::unique_ptr<DIR, StreamCloser>;

// A stream of its own on an open folder: reading it leaves the position of the descriptor alone.
FolderStream OpenStream(int folder) {
    const int own = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) {
        return nullptr;
    }
    FolderStream stream(fdopendir(own));
    if (stream == nullptr) {
        const int error = errno;
        close(own);
        errno = error;
    }
    return stream;
}

bool IsSelfOrParent(const std::string& name) {
    return name == "." || name == "..";
}

// For file systems that cannot rename without replacing (some of those in user space). A program
// that takes the name in between is not noticed, but no folder with anything in it is ever
// replaced.
int RenameWhenFree(int folder, const char* from, const char* to) {
    if (faccessat(folder, to, F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return errno == ENOENT ? renameat(folder, from, folder, to) : -1;
}

}  // namespace

int SystemFileIo::Open(int folder, const std::string& name, int flags, mode_t mode) {
    return openat(folder, name.c_str(), flags, mode);
}

int SystemFileIo::Close(int descriptor) {
    return close(descriptor);
}

int SystemFileIo::Status(int descriptor, struct stat& status) {
    return fstat(descriptor, &status);
}

int SystemFileIo::MountId(int descriptor, std::uint64_t& id) {
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

ssize_t SystemFileIo::Read(int descriptor, void* buffer, std::size_t size) {
    return read(descriptor, buffer, size);
}

ssize_t SystemFileIo::Write(int descriptor, const void* buffer, std::size_t size) {
    return write(descriptor, buffer, size);
}

int SystemFileIo::Sync(int descriptor) {
    return fsync(descriptor);
}

int SystemFileIo::SyncFileSystem(int descriptor) {
    return syncfs(descriptor);
}

int SystemFileIo::TryLock(int folder) {
    return flock(folder, LOCK_EX | LOCK_NB);
}

int SystemFileIo::List(int folder, std::vector<std::string>& names) {
    const FolderStream stream = OpenStream(folder);
    if (stream == nullptr) {
        return -1;
    }
    names.clear();
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (!IsSelfOrParent(name)) {
            names.push_back(name);
        }
        errno = 0;
    }
    return errno == 0 ? 0 : -1;
}

int SystemFileIo::MakeFolder(int folder, const std::string& name, mode_t mode) {
    return mkdirat(folder, name.c_str(), mode);
}

int SystemFileIo::Rename(int folder, const std::string& from, const std::string& to) {
    const int result = renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE);
    if (result == 0 || (errno != EINVAL && errno != ENOSYS)) {
        return result;
    }
    return RenameWhenFree(folder, from.c_str(), to.c_str());
}

int SystemFileIo::RemoveFile(int folder, const std::string& name) {
    return unlinkat(folder, name.c_str(), 0);
}

int SystemFileIo::RemoveFolder(int folder, const std::string& name) {
    return unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

FileHandle::~FileHandle() {
    Close();
}

FileHandle::FileHandle(FileHandle&& other) noexcept
    : m_Io(other.m_Io), m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    if (this != &other) {
        Close();
        m_Io = other.m_Io;
        m_Descriptor = std::exchange(other.m_Descriptor, -1);
    }
    return *this;
}

int FileHandle::Close() {
    return IsOpen() ? m_Io->Close(std::exchange(m_Descriptor, -1)) : 0;
}

}  // namespace quorvel::desktop
