#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_

#include <chrono>
#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

namespace quorvel::desktop {

// Makes this process the owner, which is the user's one running instance, or hands its launch
// request over to the owner. The owner holds a lock on a file. The kernel releases the lock when
// the process ends, so files of an ended owner have no effect.
// Needs no main loop and no toolkit. Owned by ui_app_main; main-loop thread only.
class Instance {
public:
    enum class Claim {
        kOwner,       // this process holds the lock until the object is destroyed
        kHandedOver,  // the owner has accepted the request
        kFailed,      // the reason is logged
    };

    // folder: the private folder of the user for lock and socket, see RuntimeFolder.
    // files: identifies the result files that this process would show, see FolderIdentity.
    // path: where the user opened the result files; for messages of other processes.
    Instance(std::string folder, std::string files, std::string path = {});
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Takes the lock or hands the request over. Waits until the timeout for an owner that is busy,
    // starts or shuts down. Fails for an empty request when the owner shows other result files.
    Claim ClaimOrHandOver(const KeyValues& request, std::chrono::milliseconds timeout);

private:
    // Returns no value when another process holds the lock.
    std::optional<Claim> m_TryLock();
    // Returns whether the owner shows other result files. Logs an error if so.
    bool m_OwnerShowsOtherFiles() const;

    std::string m_Folder;
    std::string m_Files;
    std::string m_Path;
    int m_LockFile = -1;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_
