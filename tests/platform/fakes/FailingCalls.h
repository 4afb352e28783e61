#ifndef QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_
#define QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_

// Calls of the port to the system and to libraries that fail on demand.
enum class FailingCall {
    kNothing,
    kMountId,       // statx succeeds without a mount id
    kRename,        // renameat2 fails with EINVAL, as for an unknown flag
    kFolderRead,    // readdir fails with EIO
    kListen,        // EADDRINUSE
    kAccept,        // accept4 fails with EMFILE
    kUdev,          // ENOMEM
    kUdevDevice,    // the device does not exist
    kMountList,     // no memory
    kMountIterate,  // no memory
    kMountRead,     // EIO
    kWatch,         // inotify_init1 fails with EMFILE
};

// Makes one call fail until the object is destroyed. One object at a time. Main thread.
class FailingCallScope {
public:
    explicit FailingCallScope(FailingCall call);
    ~FailingCallScope();
    FailingCallScope(const FailingCallScope&) = delete;
    FailingCallScope& operator=(const FailingCallScope&) = delete;
};

#endif  // QUORVEL_TESTS_PLATFORM_FAILING_CALLS_H_
