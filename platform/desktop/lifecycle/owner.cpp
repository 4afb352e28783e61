#include "lifecycle/owner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <thread>

#include "lifecycle/protocol.h"

namespace quorvel::desktop {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Time between two attempts to take the lock of an owner that shuts down.
constexpr milliseconds kRetryInterval{10};

// One connection to the owner.
class Connection {
public:
    explicit Connection(const std::string& folder) : m_Socket(OpenSocket()) {
        // A message leaves at once only if it fits into the send buffer.
        const int size = kMaxMessageBytes;
        setsockopt(m_Socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
        const sockaddr_un address = SocketAddress(SocketPath(folder));
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
        return answer == kAcceptedAnswer ? Reply::kAccepted : Reply::kRejected;
    }

    // The process that listens; 0 when no process does.
    pid_t Process() const { return m_IsConnected ? PeerCredentials(m_Socket).pid : 0; }

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

}  // namespace

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
    const bool isHeld = !TryLock(folder);
    return isHeld ? ReadOwner(folder) : std::nullopt;
}

Reply SendToOwner(const std::string& folder, const KeyValues& request, milliseconds timeout,
                  pid_t* process) {
    const Clock::time_point deadline = Clock::now() + timeout;
    const Connection connection(folder);
    if (process != nullptr) {
        *process = connection.Process();
    }
    const std::string message = EncodeRequest(request);
    return message.empty() ? Reply::kRejected : connection.Send(message, deadline);
}

bool AwaitNoOwner(const std::string& folder, milliseconds timeout) {
    const Clock::time_point deadline = Clock::now() + timeout;
    while (!TryLock(folder)) {
        if (Clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(kRetryInterval);
    }
    return true;
}

}  // namespace quorvel::desktop
