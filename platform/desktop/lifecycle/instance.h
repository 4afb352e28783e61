#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

namespace quorvel::desktop {

// The bytes with which the running program answers a message.
constexpr char kAccepted = '\x06';
constexpr char kRefused = '\x15';

// The right to be the user's one running program. A lock on a file decides, so that of programs
// started at the same moment exactly one gets it and the file of a dead one does not matter.
// Whoever does not get it hands its request to the one that has. Needs no main loop and no toolkit.
// Owned by the main loop; its thread only.
class Instance {
public:
    enum class Claim {
        kOwner,       // this program is the one; it has the right until the object goes
        kHandedOver,  // another one has taken the request
        kFailed,      // neither; the reason is logged
    };

    // folder: where the lock and the socket of all of the user's programs lie. files: tells the
    // result files that this program would show from those of others, see FolderIdentity.
    Instance(std::string folder, std::string files);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Takes the right or hands the request over. Returns after patience at the latest (it waits for
    // an owner that is busy, or on its way in or out). An empty request wants nothing but the files
    // shown, so it fails when the owner shows others.
    Claim ClaimOrHandOver(const KeyValues& request, std::chrono::milliseconds patience);

    // Where the owner listens.
    std::string SocketPath() const;

private:
    enum class Lock { kTaken, kHeldByOther, kFailed };
    Lock m_TryLock();
    // The owner's process, if it shows other files than this program would.
    std::optional<pid_t> m_OwnerOfOtherFiles() const;
    std::string m_LockPath() const;

    std::string m_Folder;
    std::string m_Files;
    int m_LockFile = -1;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_INSTANCE_H_
