#include "lifecycle/instance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <utility>

#include "log/log.h"

namespace quorvel::desktop {

namespace {

using Clock = std::chrono::steady_clock;

// Of one wait, far above every patience.
constexpr int kLongestWaitMs = 60000;
// Between two looks at an owner that is on its way in or out.
constexpr int kLookAgainMs = 10;

enum class Answer {
    kAccepted,
    kRefused,
    kNobody,  // nobody listens (yet, or any more)
    kSilence,
};

int MillisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, kLongestWaitMs));
}

// One connection to the owner.
class Connection {
public:
    Connection() : m_Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Connection() {
        if (m_Socket >= 0) {
            close(m_Socket);
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // False when nobody listens there or the line is full.
    bool Connect(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
        return connect(m_Socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    }

    Answer Ask(const std::string& message, Clock::time_point deadline) {
        const Answer sent = m_Send(message, deadline);
        return sent == Answer::kAccepted ? m_Receive(deadline) : sent;
    }

    // The process that listens; 0 when it is not known.
    pid_t Owner() const {
        ucred owner{};
        socklen_t size = sizeof(owner);
        return getsockopt(m_Socket, SOL_SOCKET, SO_PEERCRED, &owner, &size) == 0 ? owner.pid : 0;
    }

private:
    bool m_Wait(short event, Clock::time_point deadline) const {
        pollfd waiting{m_Socket, event, 0};
        int ready = 0;
        do {
            ready = poll(&waiting, 1, MillisecondsUntil(deadline));
        } while (ready < 0 && errno == EINTR);
        return ready > 0;
    }

    Answer m_Send(const std::string& message, Clock::time_point deadline) {
        std::size_t done = 0;
        while (done < message.size()) {
            if (!m_Wait(POLLOUT, deadline)) {
                return Answer::kSilence;
            }
            const ssize_t sent =
                send(m_Socket, message.data() + done, message.size() - done, MSG_NOSIGNAL);
            if (sent < 0 && errno != EAGAIN && errno != EINTR) {
                return Answer::kNobody;
            }
            done += static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
        }
        return Answer::kAccepted;
    }

    Answer m_Receive(Clock::time_point deadline) {
        if (!m_Wait(POLLIN, deadline)) {
            return Answer::kSilence;
        }
        char answer = 0;
        if (recv(m_Socket, &answer, 1, 0) != 1) {
            return Answer::kNobody;
        }
        return answer == kAccepted ? Answer::kAccepted : Answer::kRefused;
    }

    int m_Socket;
};

std::string TheRunningOne(pid_t owner) {
    return "the running quorvel" + (owner > 0 ? " (process " + std::to_string(owner) + ")" : "");
}

// Says what became of the request when it was not accepted.
void LogAnswer(Answer answer, pid_t owner) {
    const std::string who = TheRunningOne(owner);
    if (answer == Answer::kRefused) {
        LogError(who + " refuses the request");
    } else {
        LogError(who + " does not answer, the request is dropped");
    }
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

// What a dead one left is believed no more than a file that could not be written.
std::optional<pid_t> Instance::m_OwnerOfOtherFiles() const {
    std::ifstream lock(m_LockPath());
    pid_t owner = 0;
    std::string files;
    if (!(lock >> owner >> std::ws) || !std::getline(lock, files) || files == m_Files) {
        return std::nullopt;
    }
    return kill(owner, 0) == 0 ? std::optional(owner) : std::nullopt;
}

Instance::Claim Instance::ClaimOrHandOver(const KeyValues& request,
                                          std::chrono::milliseconds patience) {
    const Clock::time_point deadline = Clock::now() + patience;
    const std::string message = EncodeMessage(request);
    if (message.empty()) {
        LogError("the request is longer than " + std::to_string(kMaxMessagePayload) + " bytes");
        return Claim::kFailed;
    }
    for (;;) {
        const Lock lock = m_TryLock();
        if (lock != Lock::kHeldByOther) {
            return lock == Lock::kTaken ? Claim::kOwner : Claim::kFailed;
        }
        const auto other = request.empty() ? m_OwnerOfOtherFiles() : std::nullopt;
        if (other) {
            LogError(TheRunningOne(*other) +
                     " shows the files of another start; close it first: quorvel EXEPARAM=CLOSE");
            return Claim::kFailed;
        }
        Connection connection;
        const bool connected = connection.Connect(SocketPath());
        const Answer answer = connected ? connection.Ask(message, deadline) : Answer::kNobody;
        if (answer == Answer::kAccepted) {
            return Claim::kHandedOver;
        }
        if (answer != Answer::kNobody || Clock::now() >= deadline) {
            LogAnswer(answer, connected ? connection.Owner() : 0);
            return Claim::kFailed;
        }
        poll(nullptr, 0, kLookAgainMs);
    }
}

}  // namespace quorvel::desktop
