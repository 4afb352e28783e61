#include "lifecycle/owner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>
#include <utility>

#include "lifecycle/protocol.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

using std::chrono::milliseconds;

// Time between two attempts while the owner starts or shuts down.
constexpr milliseconds kRetryInterval{10};

// Waits until the condition is true. Returns false after the deadline.
template <typename Condition>
bool WaitUntil(Clock::time_point deadline, const Condition& condition) {
    while (!condition()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(kRetryInterval);
    }
    return true;
}

// How the owner answered.
enum class Reply {
    kAccepted,  // the application has received the request
    kRejected,
    kNoOwner,  // no process listens, or the owner ended without an answer
    kTimeout,
};

// Sends the message through the connection and waits for the answer.
Reply Exchange(int socket, const std::string& message, Clock::time_point deadline) {
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

// Connects to the owner, sends the message and waits for the answer.
Reply Send(const std::string& folder, const std::string& message, Clock::time_point deadline) {
    const int socket = OpenSocket();
    // A message leaves at once only if it fits into the send buffer.
    const int size = kMaxMessageBytes;
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
    const sockaddr_un address = SocketAddress(SocketPath(folder));
    // Without a connection, send fails.
    (void)connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const Reply reply = Exchange(socket, message, deadline);
    close(socket);
    return reply;
}

std::string LockPath(const std::string& folder) {
    return folder + "/lock";
}

// Returns whether the lock is free. Releases the lock at once: a program that starts at the same
// moment tries again.
bool IsLockFree(const std::string& folder) {
    const int file = open(LockPath(folder).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (file < 0) {
        return true;
    }
    const bool isFree = flock(file, LOCK_SH | LOCK_NB) == 0;
    close(file);
    return isFree;
}

// Returns what the lock file contains. Returns no value for an entry of an ended process: the new
// owner has not yet written its own entry.
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
    const std::string fallback =
        EnvironmentPath("TMPDIR", "/tmp") + "/quorvel-" + std::to_string(geteuid());
    return CreatePrivate(fallback, why) ? fallback : std::string();
}

std::optional<Owner> FindOwner(const std::string& folder) {
    bool isFree = false;
    std::optional<Owner> owner;
    WaitUntil(Clock::now() + kEntryTimeout, [&] {
        isFree = IsLockFree(folder);
        owner = ReadOwner(folder);
        return isFree || owner;
    });
    return isFree ? std::optional<Owner>() : owner.value_or(Owner());
}

std::string NameOfOwner(pid_t process) {
    return "the running quorvel" +
           (process > 0 ? " (process " + std::to_string(process) + ")" : "");
}

bool HandOver(const std::string& folder, const KeyValues& request, milliseconds timeout) {
    const std::string message = EncodeRequest(request);
    const Clock::time_point deadline = Clock::now() + timeout;
    Reply reply = Reply::kRejected;
    const auto hasReply = [&] {
        reply = Send(folder, message, deadline);
        return reply != Reply::kNoOwner;
    };
    return !message.empty() && WaitUntil(deadline, hasReply) && reply == Reply::kAccepted;
}

bool AwaitNoOwner(const std::string& folder, milliseconds timeout) {
    return WaitUntil(Clock::now() + timeout, [&folder] { return IsLockFree(folder); });
}

Instance::Instance(std::string folder, std::string files, std::string path)
    : m_Folder(std::move(folder)), m_Files(std::move(files)), m_Path(std::move(path)) {}

Instance::~Instance() {
    if (m_LockFile >= 0) {
        close(m_LockFile);
    }
}

// Returns no value when another process holds the lock.
std::optional<Instance::Claim> Instance::m_TryLock(std::string& why) {
    const std::string path = LockPath(m_Folder);
    if (m_LockFile < 0) {
        m_LockFile = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    }
    if (m_LockFile >= 0 && flock(m_LockFile, LOCK_EX | LOCK_NB) == 0) {
        std::ofstream(path) << getpid() << ' ' << m_Files << '\n' << m_Path;
        return Claim::kOwner;
    }
    if (errno == EWOULDBLOCK || errno == EINTR) {
        return std::nullopt;
    }
    why = "cannot lock " + path + ": " + std::strerror(errno);
    return Claim::kFailed;
}

bool Instance::m_OwnerShowsOtherFiles(std::string& why) const {
    const std::optional<Owner> owner = ReadOwner(m_Folder);
    if (!owner || owner->files == m_Files) {
        return false;
    }
    why = NameOfOwner(owner->process) +
          " shows other result files; close it first: quorvel EXEPARAM=CLOSE";
    return true;
}

Instance::Claim Instance::ClaimOrHandOver(const KeyValues& request, milliseconds timeout,
                                          std::string& why) {
    const std::string message = EncodeRequest(request);
    if (message.empty()) {
        why = "launch request: longer than " + std::to_string(kMaxRequestBytes) +
              " bytes; pass shorter values";
        return Claim::kFailed;
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    std::optional<Claim> claim;
    Reply reply = Reply::kNoOwner;
    WaitUntil(deadline, [&] {
        claim = m_TryLock(why);
        if (!claim && request.empty() && m_OwnerShowsOtherFiles(why)) {
            claim = Claim::kFailed;
        }
        if (!claim) {
            reply = Send(m_Folder, message, deadline);
        }
        return claim || reply != Reply::kNoOwner;
    });
    if (claim) {
        return *claim;
    }
    if (reply == Reply::kAccepted) {
        return Claim::kHandedOver;
    }
    why = NameOfOwner(ReadOwner(m_Folder).value_or(Owner()).process) +
          (reply == Reply::kRejected ? " rejects the launch request; see its log"
                                     : " does not answer; end that process and try again");
    return Claim::kFailed;
}

std::string SocketPath(const std::string& folder) {
    return folder + "/socket";
}

bool AwaitInput(int descriptor, Clock::time_point deadline) {
    pollfd waiting{descriptor, POLLIN, 0};
    const auto left = [deadline] {
        return std::max<milliseconds>(std::chrono::ceil<milliseconds>(deadline - Clock::now()), {});
    };
    return TEMP_FAILURE_RETRY(poll(&waiting, 1, static_cast<int>(left().count()))) > 0;
}

}  // namespace quorvel::desktop
