#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

// The owner as other processes see it: its lock, its socket and its answers. The functions keep no
// state and write no log; any thread. folder: the folder of lock and socket, see RuntimeFolder.
namespace quorvel::desktop {

// What the lock file contains about the owner.
struct Owner {
    pid_t process = 0;
    std::string files;  // identifies the result files
    std::string path;   // where the user opened the result files; empty when unknown
};

// How the owner answered.
enum class Reply {
    kAccepted,  // the application has received the request
    kRejected,
    kNoOwner,  // no process listens, or the owner ended without an answer
    kTimeout,
};

std::string LockPath(const std::string& folder);
std::string SocketPath(const std::string& folder);

// Writes the lock file. Only the owner calls it.
void WriteOwner(const std::string& folder, const Owner& owner);
// Returns what the lock file contains; no value when the process has ended.
std::optional<Owner> ReadOwner(const std::string& folder);
// Returns the owner; no value when no process holds the lock.
std::optional<Owner> FindOwner(const std::string& folder);

// Sends the launch request and waits for the answer. Sets process, unless null, to the process that
// listens, or to 0.
Reply SendToOwner(const std::string& folder, const KeyValues& request,
                  std::chrono::milliseconds timeout, pid_t* process = nullptr);

// Waits until no process holds the lock. Returns false after the timeout.
bool AwaitNoOwner(const std::string& folder, std::chrono::milliseconds timeout);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
