#include "lifecycle/instance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <optional>
#include <thread>
#include <utility>

#include "lifecycle/protocol.h"
#include "log/log.h"

namespace quorvel::desktop {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Time between two attempts while the owner starts or shuts down.
constexpr milliseconds kRetryInterval{10};

enum class Reply { kAccepted, kRejected, kNoOwner, kTimeout };

// One connection to the owner.
class Connection {
public:
    explicit Connection(const std::string& path) : m_Socket(OpenSocket()) {
        // A message leaves at once only if it fits into the send buffer.
        const int size = kMaxMessageBytes;
        setsockopt(m_Socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
        const sockaddr_un address = SocketAddress(path);
        m_IsConnected =
            connect(m_Socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }
    ~Connection() { close(m_Socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Sends the message and waits for the answer. kNoOwner: no process listens, or the owner ended
    // without an answer.
    Reply Send(const std::string& message, Clock::time_point deadline) const {
        if (!m_IsConnected || send(m_Socket, message.data(), message.size(), MSG_NOSIGNAL) < 0) {
            return Reply::kNoOwner;
        }
        if (!m_AwaitAnswer(deadline)) {
            return Reply::kTimeout;
        }
        char answer = 0;
        if (recv(m_Socket, &answer, 1, 0) != 1) {
            return Reply::kNoOwner;
        }
        return answer == kAccepted ? Reply::kAccepted : Reply::kRejected;
    }

    pid_t Owner() const { return PeerCredentials(m_Socket).pid; }

private:
    bool m_AwaitAnswer(Clock::time_point deadline) const {
        pollfd waiting{m_Socket, POLLIN, 0};
        int ready = 0;
        do {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            ready = poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
        } while (ready < 0 && errno == EINTR);
        return ready > 0;
    }

    int m_Socket;
    bool m_IsConnected;
};

std::string NameOf(pid_t owner) {
    return "the running quorvel" + (owner > 0 ? " (process " + std::to_string(owner) + ")" : "");
}

// Sends the message to the owner once. Returns nothing when no owner answers yet and the deadline
// has not passed.
std::optional<Instance::Claim> HandOver(const std::string& path, const std::string& message,
                                        Clock::time_point deadline) {
    const Connection owner(path);
    const Reply reply = owner.Send(message, deadline);
    if (reply == Reply::kAccepted) {
        return Instance::Claim::kHandedOver;
    }
    if (reply == Reply::kNoOwner && Clock::now() < deadline) {
        return std::nullopt;
    }
    LogError(NameOf(owner.Owner()) + (reply == Reply::kRejected
                                          ? " rejects the launch request; see its log"
                                          : " does not answer; end that process and try again"));
    return Instance::Claim::kFailed;
}

}  // namespace

Instance::Instance(std::string folder, std::string files)
    : m_Folder(std::move(folder)), m_Files(std::move(files)) {}

Instance::~Instance() {
    if (m_LockFile >= 0) {
        close(m_LockFile);
    }
}

std::string Instance::SocketPath() const {
    return m_Folder + "/socket";
}

std::string Instance::m_LockPath() const {
    return m_Folder + "/lock";
}

Instance::Lock Instance::m_TryLock() {
    const std::string path = m_LockPath();
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) {
        m_LockFile = file;
        std::ofstream(path) << getpid() << ' ' << m_Files;
        return Lock::kTaken;
    }
    const int error = errno;
    if (file >= 0) {
        close(file);
    }
    if (error == EWOULDBLOCK || error == EINTR) {
        return Lock::kHeldByOther;
    }
    LogError("cannot lock " + path + ": " + std::strerror(error));
    return Lock::kFailed;
}

// Ignores an entry of an ended process: the new owner has not yet written its own.
bool Instance::m_OwnerShowsOtherFiles() const {
    std::ifstream lock(m_LockPath());
    pid_t owner = 0;
    std::string files;
    if (!(lock >> owner >> std::ws) || !std::getline(lock, files) || files == m_Files ||
        kill(owner, 0) != 0) {
        return false;
    }
    LogError(NameOf(owner) + " shows other result files; close it first: quorvel EXEPARAM=CLOSE");
    return true;
}

Instance::Claim Instance::ClaimOrHandOver(const KeyValues& request, milliseconds timeout) {
    const std::string message = EncodeRequest(request);
    if (message.empty()) {
        LogError("launch request: longer than " + std::to_string(kMaxRequestBytes) +
                 " bytes; pass shorter values");
        return Claim::kFailed;
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;; std::this_thread::sleep_for(kRetryInterval)) {
        const Lock lock = m_TryLock();
        if (lock != Lock::kHeldByOther) {
            return lock == Lock::kTaken ? Claim::kOwner : Claim::kFailed;
        }
        if (request.empty() && m_OwnerShowsOtherFiles()) {
            return Claim::kFailed;
        }
        if (const auto claim = HandOver(SocketPath(), message, deadline)) {
            return *claim;
        }
    }
}

}  // namespace quorvel::desktop
