#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

// The owner is the user's one running instance. The owner holds a lock on a file and listens on a
// socket, see RequestServer. The functions keep no state and write no log; any thread. folder: see
// RuntimeFolder.
namespace quorvel::desktop {

// What the lock file contains about the owner.
struct Owner {
    pid_t process = 0;  // 0 when unknown
    std::string files;  // identifies the result files; empty when unknown
    std::string path;   // where the user opened the result files; empty when unknown
};

// Returns the folder for the owner's lock and socket, and creates the folder when it is missing.
// The folder belongs to the user, and other users cannot enter it. First choice:
// $XDG_RUNTIME_DIR/quorvel. Without the variable, as under cron: sessions/<uid>/quorvel. Second
// choice, when the first is not private or its path is too long for a socket: quorvel-<uid> in
// $TMPDIR or /tmp. Returns an empty string when neither is usable, and sets why to the reason in
// one line.
std::string RuntimeFolder(std::string& why, const std::string& sessions = "/run/user");

// Returns the owner; no value when no process holds the lock. Waits up to a second for the content
// of the lock file. Returns an unknown owner if the content is still missing, as on a full disk.
std::optional<Owner> FindOwner(const std::string& folder);
// Returns the name of the owner for messages. process: 0 when unknown.
std::string NameOfOwner(pid_t process);

// Sends the launch request to the owner, and tries again while the owner starts. Returns whether
// the application has received the request before the timeout.
bool HandOver(const std::string& folder, const KeyValues& request,
              std::chrono::milliseconds timeout);

// Waits until no process holds the lock. Returns false after the timeout.
bool AwaitNoOwner(const std::string& folder, std::chrono::milliseconds timeout);

// Makes this process the owner, or hands its launch request over to the owner. The kernel releases
// the lock when the process ends, so files of an ended owner have no effect.
// Needs no main loop and no toolkit. Owned by ui_app_main; main-loop thread only.
class Instance {
public:
    enum class Claim {
        kOwner,       // this process holds the lock until the object is destroyed
        kHandedOver,  // the owner has accepted the request
        kFailed,
    };

    // files: identifies the result files that this process would show, see FolderIdentity.
    // path: where the user opened the result files; for messages of other processes.
    Instance(std::string folder, std::string files, std::string path = {});
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Takes the lock or hands the request over. Waits until the timeout for an owner that is busy,
    // starts or shuts down. Fails for an empty request when the owner shows other result files.
    // Sets why to the reason of a failure in one line.
    Claim ClaimOrHandOver(const KeyValues& request, std::chrono::milliseconds timeout,
                          std::string& why);

private:
    std::optional<Claim> m_TryLock(std::string& why);
    bool m_OwnerShowsOtherFiles(std::string& why) const;

    std::string m_Folder;
    std::string m_Files;
    std::string m_Path;
    int m_LockFile = -1;
};

// Returns the path of the owner's socket.
std::string SocketPath(const std::string& folder);

using Clock = std::chrono::steady_clock;

// Waits until the descriptor can be read. Returns false after the deadline.
bool AwaitInput(int descriptor, Clock::time_point deadline);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
