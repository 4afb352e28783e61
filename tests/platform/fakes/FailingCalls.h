#ifndef QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_
#define QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_

// The calls to the system and to libraries that a test can make fail.
enum class FailingCall {
    kNothing,
    kMountId,       // statx succeeds without a mount id
    kRename,        // renameat2 fails with EINVAL, as for an unknown flag
    kFolderRead,    // readdir fails with EIO
    kListen,        // listen fails with EADDRINUSE
    kAccept,        // accept4 fails with EMFILE
    kUdev,          // udev_new returns null
    kUdevDevice,    // libudev finds no device
    kMountList,     // mnt_new_table returns null
    kMountIterate,  // mnt_new_iter returns null
    kMountRead,     // mnt_table_parse_mtab fails with EIO
    kWatch,         // inotify_init1 fails with EMFILE
    kOverwrite,     // pwrite fails with ENOSPC
};

// Makes one call fail until the object is destroyed. Only one object may exist. Main thread only.
class FailingCallScope {
public:
    explicit FailingCallScope(FailingCall call);
    ~FailingCallScope();
    FailingCallScope(const FailingCallScope&) = delete;
    FailingCallScope& operator=(const FailingCallScope&) = delete;
};

#endif  // QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_
