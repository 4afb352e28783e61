#include "lifecycle/owner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

#include "paths.h"

namespace quorvel::desktop {

namespace {

using std::chrono::milliseconds;

// Returns a socket that is connected to the owner, or not connected when no process listens.
int Connect(const std::string& folder) {
    const int socket = OpenSocket();
    // A message leaves at once only if it fits into the send buffer.
    const int size = kMaxMessageBytes;
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
    const sockaddr_un address = SocketAddress(SocketPath(folder));
    // Without a connection, send fails.
    (void)connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return socket;
}

// Sends the message and waits for the answer.
Reply Send(int socket, const std::string& message, Clock::time_point deadline) {
    if (send(socket, message.data(), message.size(), MSG_NOSIGNAL) < 0) {
        return Reply::kNoOwner;
    }
    if (!AwaitInput(socket, deadline)) {
        return Reply::kTimeout;
    }
    char answer = 0;
    if (recv(socket, &answer, 1, 0) != 1) {
        return Reply::kNoOwner;
    }
    return answer == kAcceptedAnswer ? Reply::kAccepted : Reply::kRejected;
}

// Returns whether the lock was free. Releases the lock at once: a program that starts at the same
// moment tries again.
bool TryLock(const std::string& folder) {
    const int file = open(LockPath(folder).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (file < 0) {
        return true;
    }
    const bool isFree = flock(file, LOCK_SH | LOCK_NB) == 0;
    close(file);
    return isFree;
}

// How long an owner may take to write the lock file after it has the lock.
constexpr std::chrono::seconds kEntryTimeout{1};

// Bytes for the longest file name in the folder, with its slash and zero byte.
constexpr std::size_t kNameBytes = 16;

// lstat does not follow a symbolic link that another user has created.
bool IsPrivate(const std::string& folder) {
    struct stat status {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

bool CreatePrivate(const std::string& folder, std::string& why) {
    if (folder.size() + kNameBytes > sizeof(sockaddr_un::sun_path)) {
        why = folder + ": path too long for a socket; set TMPDIR to a shorter path";
        return false;
    }
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        why = "cannot create " + folder + ": " + std::strerror(errno);
        return false;
    }
    if (!IsPrivate(folder)) {
        why = folder + ": not a private folder of this user; remove it or set XDG_RUNTIME_DIR";
        return false;
    }
    return true;
}

std::string TemporaryFolder() {
    const std::string chosen = EnvironmentPath("TMPDIR");
    return chosen.empty() ? "/tmp" : chosen;
}

// cron and ssh may not set the variable, although the folder exists while the user has a session.
std::string SessionFolder(const std::string& sessions) {
    return EnvironmentValue("XDG_RUNTIME_DIR").empty() ? sessions + "/" + std::to_string(geteuid())
                                                       : EnvironmentPath("XDG_RUNTIME_DIR");
}

}  // namespace

std::string RuntimeFolder(std::string& why, const std::string& sessions) {
    const std::string session = SessionFolder(sessions);
    if (IsPrivate(session) && CreatePrivate(session + "/quorvel", why)) {
        return session + "/quorvel";
    }
    const std::string fallback = TemporaryFolder() + "/quorvel-" + std::to_string(geteuid());
    return CreatePrivate(fallback, why) ? fallback : std::string();
}

std::string LockPath(const std::string& folder) {
    return folder + "/lock";
}

std::string SocketPath(const std::string& folder) {
    return folder + "/socket";
}

void WriteOwner(const std::string& folder, const Owner& owner) {
    std::ofstream(LockPath(folder)) << owner.process << ' ' << owner.files << '\n' << owner.path;
}

// Ignores an entry of an ended process: the new owner has not yet written its own.
std::optional<Owner> ReadOwner(const std::string& folder) {
    std::ifstream lock(LockPath(folder));
    Owner owner;
    if (!(lock >> owner.process >> std::ws) || !std::getline(lock, owner.files) ||
        kill(owner.process, 0) != 0) {
        return std::nullopt;
    }
    std::getline(lock, owner.path);
    return owner;
}

std::optional<Owner> FindOwner(const std::string& folder) {
    const Clock::time_point deadline = Clock::now() + kEntryTimeout;
    for (; !TryLock(folder); std::this_thread::sleep_for(kRetryInterval)) {
        std::optional<Owner> owner = ReadOwner(folder);
        if (owner || Clock::now() >= deadline) {
            return owner.value_or(Owner());
        }
    }
    return std::nullopt;
}

std::string NameOfOwner(pid_t process) {
    return "the running quorvel" +
           (process > 0 ? " (process " + std::to_string(process) + ")" : "");
}

Reply SendToOwner(const std::string& folder, const KeyValues& request, Clock::time_point deadline,
                  pid_t* process) {
    const std::string message = EncodeRequest(request);
    const int socket = Connect(folder);
    if (process != nullptr) {
        *process = PeerCredentials(socket).pid;
    }
    const Reply reply = message.empty() ? Reply::kRejected : Send(socket, message, deadline);
    close(socket);
    return reply;
}

bool AwaitNoOwner(const std::string& folder, milliseconds timeout) {
    const Clock::time_point deadline = Clock::now() + timeout;
    for (; !TryLock(folder); std::this_thread::sleep_for(kRetryInterval)) {
        if (Clock::now() >= deadline) {
            return false;
        }
    }
    return true;
}

bool AwaitInput(int descriptor, Clock::time_point deadline) {
    pollfd waiting{descriptor, POLLIN, 0};
    const auto left = [deadline] {
        return std::max<milliseconds>(std::chrono::ceil<milliseconds>(deadline - Clock::now()), {});
    };
    return TEMP_FAILURE_RETRY(poll(&waiting, 1, static_cast<int>(left().count()))) > 0;
}

int OpenSocket() {
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

sockaddr_un SocketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    return address;
}

ucred PeerCredentials(int socket) {
    ucred peer{0, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
    socklen_t size = sizeof(peer);
    getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer;
}

}  // namespace quorvel::desktop
