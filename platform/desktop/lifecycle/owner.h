#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <chrono>
#include <optional>
#include <string>

#include "lifecycle/launch_request.h"

// The owner as other processes see it: its folder with lock and socket, and its answers. A second
// program connects to the socket, sends one message and receives one byte as the answer. The socket
// has the type SOCK_SEQPACKET: each message arrives whole or not at all. The functions keep no
// state and write no log; any thread. folder: see RuntimeFolder.
namespace quorvel::desktop {

// What the lock file contains about the owner.
struct Owner {
    pid_t process = 0;  // 0 when unknown
    std::string files;  // identifies the result files; empty when unknown
    std::string path;   // where the user opened the result files; empty when unknown
};

// How the owner answered.
enum class Reply {
    kAccepted,  // the application has received the request
    kRejected,
    kNoOwner,  // no process listens, or the owner ended without an answer
    kTimeout,
};

// The answer: the application has received the request, or the message was rejected.
constexpr char kAcceptedAnswer = '\x06';
constexpr char kRejectedAnswer = '\x15';

// Returns the folder for the owner's lock and socket, and creates the folder when it is missing.
// The folder belongs to the user, and other users cannot enter it. First choice:
// $XDG_RUNTIME_DIR/quorvel. Without the variable, as under cron: sessions/<uid>/quorvel. Second
// choice, when the first is not private or its path is too long for a socket: quorvel-<uid> in
// $TMPDIR or /tmp. Returns an empty string when neither is usable, and sets why to the reason in
// one line.
std::string RuntimeFolder(std::string& why, const std::string& sessions = "/run/user");

std::string LockPath(const std::string& folder);
std::string SocketPath(const std::string& folder);

// Writes the lock file. Only the owner calls it.
void WriteOwner(const std::string& folder, const Owner& owner);
// Returns what the lock file contains; no value when the process has ended.
std::optional<Owner> ReadOwner(const std::string& folder);
// Returns the owner; no value when no process holds the lock. Waits up to a second for the content
// of the lock file. Returns an unknown owner if the content is still missing, as on a full disk.
std::optional<Owner> FindOwner(const std::string& folder);
// Returns the name of the owner for messages. process: 0 when unknown.
std::string NameOfOwner(pid_t process);

using Clock = std::chrono::steady_clock;

// Time between two attempts while the owner starts or shuts down.
constexpr std::chrono::milliseconds kRetryInterval{10};

// Sends the launch request and waits until the deadline for the answer. Sets process, unless null,
// to the process that listens, or to 0.
Reply SendToOwner(const std::string& folder, const KeyValues& request, Clock::time_point deadline,
                  pid_t* process = nullptr);

// Waits until no process holds the lock. Returns false after the timeout.
bool AwaitNoOwner(const std::string& folder, std::chrono::milliseconds timeout);

// Waits until the descriptor can be read. Returns false after the deadline.
bool AwaitInput(int descriptor, Clock::time_point deadline);

// Returns a new non-blocking socket, which the caller closes. Returns -1 and sets errno on failure.
int OpenSocket();

// Returns the address of the socket at path. The path fits when RuntimeFolder accepts its folder.
sockaddr_un SocketAddress(const std::string& path);

// Returns process and user at the other end of a connection: process 0 and no valid user when the
// socket is not connected.
ucred PeerCredentials(int socket);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_OWNER_H_
