#include "platform/fakes/FailingCalls.h"

// These headers come before libmount.h, which includes cstdlib inside extern "C".
#include <cstdlib>
#include <string>

#include <dirent.h>
#include <dlfcn.h>
#include <libmount/libmount.h>
#include <libudev.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

#include "platform/fakes/FaultyFileIo.h"

namespace {

FailingCall g_FailingCall = FailingCall::kNothing;

bool Fails(FailingCall call, int error) {
    if (g_FailingCall != call) {
        return false;
    }
    errno = error;
    return true;
}

}  // namespace

FailingCallScope::FailingCallScope(FailingCall call) {
    g_FailingCall = call;
}

FailingCallScope::~FailingCallScope() {
    g_FailingCall = FailingCall::kNothing;
}

// The linker option --wrap redirects the calls of the port to these functions.
extern "C" {

int __real_statx(int folder, const char* path, int flags, unsigned int mask, struct statx* status);
int __wrap_statx(int folder, const char* path, int flags, unsigned int mask, struct statx* status) {
    const int result = PerformCall({FileCall::kMountId, folder, path}, [&](const FileOperation&) {
        return __real_statx(folder, path, flags, mask, status);
    });
    if (Fails(FailingCall::kMountId, 0)) {
        status->stx_mask &= ~static_cast<unsigned int>(STATX_MNT_ID);
    }
    return result;
}

int __real_renameat2(int oldFolder, const char* from, int newFolder, const char* to,
                     unsigned int flags);
int __wrap_renameat2(int oldFolder, const char* from, int newFolder, const char* to,
                     unsigned int flags) {
    return PerformCall({FileCall::kRename, oldFolder, from, to}, [&](const FileOperation&) {
        return Fails(FailingCall::kRename, EINVAL)
                   ? -1
                   : __real_renameat2(oldFolder, from, newFolder, to, flags);
    });
}

// The C++ library reads folders for the port. It calls this function instead of the function of the
// C library. The first call for a folder counts as the list. clang-tidy expects the parameter's
// name in the declaration.
dirent* readdir(DIR* __dirp) {
    static const auto real = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    const auto list = [](const FileOperation&) { return 0; };
    if (telldir(__dirp) == 0 && PerformCall({FileCall::kList, dirfd(__dirp)}, list) != 0) {
        return nullptr;
    }
    errno = 0;
    return Fails(FailingCall::kFolderRead, EIO) ? nullptr : real(__dirp);
}

int __real_listen(int socket, int backlog);
int __wrap_listen(int socket, int backlog) {
    return Fails(FailingCall::kListen, EADDRINUSE) ? -1 : __real_listen(socket, backlog);
}

int __real_accept4(int socket, sockaddr* address, socklen_t* size, int flags);
int __wrap_accept4(int socket, sockaddr* address, socklen_t* size, int flags) {
    return Fails(FailingCall::kAccept, EMFILE) ? -1 : __real_accept4(socket, address, size, flags);
}

udev* __real_udev_new();
udev* __wrap_udev_new() {
    return Fails(FailingCall::kUdev, ENOMEM) ? nullptr : __real_udev_new();
}

udev_device* __real_udev_device_new_from_devnum(udev* context, char type, dev_t number);
udev_device* __wrap_udev_device_new_from_devnum(udev* context, char type, dev_t number) {
    return Fails(FailingCall::kUdevDevice, ENODEV)
               ? nullptr
               : __real_udev_device_new_from_devnum(context, type, number);
}

libmnt_table* __real_mnt_new_table();
libmnt_table* __wrap_mnt_new_table() {
    return Fails(FailingCall::kMountList, 0) ? nullptr : __real_mnt_new_table();
}

libmnt_iter* __real_mnt_new_iter(int direction);
libmnt_iter* __wrap_mnt_new_iter(int direction) {
    return Fails(FailingCall::kMountIterate, 0) ? nullptr : __real_mnt_new_iter(direction);
}

int __real_mnt_table_parse_mtab(libmnt_table* table, const char* file);
int __wrap_mnt_table_parse_mtab(libmnt_table* table, const char* file) {
    return Fails(FailingCall::kMountRead, 0) ? -EIO : __real_mnt_table_parse_mtab(table, file);
}

int __real_inotify_init1(int flags);
int __wrap_inotify_init1(int flags) {
    return Fails(FailingCall::kWatch, EMFILE) ? -1 : __real_inotify_init1(flags);
}

ssize_t __real_pwrite(int file, const void* bytes, size_t size, off_t offset);
ssize_t __wrap_pwrite(int file, const void* bytes, size_t size, off_t offset) {
    return Fails(FailingCall::kOverwrite, ENOSPC) ? -1 : __real_pwrite(file, bytes, size, offset);
}

}  // extern "C"
