#include "lifecycle/request_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "lifecycle/protocol.h"
#include "log/log.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxSenders = 64;

// Seconds until the next attempt to accept a connection, after an attempt has failed.
constexpr double kAcceptPause = 0.1;

// Sets the mode before bind creates the file, so that other users can never write to the socket.
bool BindAndListen(int socket, const std::string& path) {
    const sockaddr_un address = SocketAddress(path);
    unlink(path.c_str());
    return fchmod(socket, S_IRUSR | S_IWUSR) == 0 &&
           bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
           listen(socket, SOMAXCONN) == 0;
}

// The private folder already keeps other users out. This is the second check.
bool IsFromThisUser(int connection) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == geteuid();
}

}  // namespace

// One sender. Owned by the server, which deletes the object with the answer or the rejection.
class RequestServer::Connection {
public:
    Connection(RequestServer& server, Sender socket)
        : m_Server(server),
          m_Socket(socket),
          m_Handler(ecore_main_fd_handler_add(socket, ECORE_FD_READ, m_OnReadable, this, nullptr,
                                              nullptr)),
          m_Timer(ecore_timer_add(server.m_TimeoutSeconds, m_OnTimeout, this)) {}

    ~Connection() {
        m_StopReceiving();
        close(m_Socket);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

private:
    // Ecore ignores null.
    void m_StopReceiving() {
        ecore_main_fd_handler_del(std::exchange(m_Handler, nullptr));
        ecore_timer_del(std::exchange(m_Timer, nullptr));
    }

    static Eina_Bool m_OnReadable(void* data, Ecore_Fd_Handler*) {
        static_cast<Connection*>(data)->m_Receive();
        return ECORE_CALLBACK_RENEW;
    }

    static Eina_Bool m_OnTimeout(void* data) {
        auto* self = static_cast<Connection*>(data);
        self->m_Timer = nullptr;
        self->m_Server.m_Reject(self->m_Socket, "no message in time");
        return ECORE_CALLBACK_CANCEL;
    }

    // A rejection deletes this object.
    void m_Receive() {
        std::string message(kMaxMessageBytes + 1, '\0');
        const ssize_t size = recv(m_Socket, message.data(), message.size(), MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        if (size <= 0) {
            m_Server.m_Reject(m_Socket, "the sender exited early");
            return;
        }
        message.resize(static_cast<std::size_t>(size));
        std::optional<KeyValues> request = DecodeRequest(message);
        if (!request) {
            m_Server.m_Reject(m_Socket, "invalid message");
            return;
        }
        m_StopReceiving();
        m_Server.m_Receiver(std::move(*request), m_Socket);
    }

    RequestServer& m_Server;
    Sender m_Socket;
    Ecore_Fd_Handler* m_Handler;
    Ecore_Timer* m_Timer;
};

RequestServer::RequestServer(std::string path, Receiver receiver, double timeoutSeconds)
    : m_Path(std::move(path)), m_Receiver(std::move(receiver)), m_TimeoutSeconds(timeoutSeconds) {
    ecore_init();
}

RequestServer::~RequestServer() {
    Close();
    ecore_shutdown();
}

bool RequestServer::Listen() {
    m_Socket = OpenSocket();
    if (m_Socket < 0 || !BindAndListen(m_Socket, m_Path)) {
        LogError("cannot listen on " + m_Path + ": " + std::strerror(errno));
        return false;
    }
    m_AwaitConnection(this);
    return true;
}

Eina_Bool RequestServer::m_AwaitConnection(void* data) {
    auto* self = static_cast<RequestServer*>(data);
    self->m_Pause = nullptr;
    self->m_Handler = ecore_main_fd_handler_add(self->m_Socket, ECORE_FD_READ, m_OnConnect, self,
                                                nullptr, nullptr);
    return ECORE_CALLBACK_CANCEL;
}

void RequestServer::Accept(Sender sender) {
    m_Answer(sender, kAcceptedAnswer);
}

void RequestServer::Close() {
    m_Connections.clear();
    ecore_timer_del(std::exchange(m_Pause, nullptr));
    ecore_main_fd_handler_del(std::exchange(m_Handler, nullptr));
    if (m_Socket >= 0) {
        unlink(m_Path.c_str());
        close(std::exchange(m_Socket, -1));
    }
}

Eina_Bool RequestServer::m_OnConnect(void* data, Ecore_Fd_Handler*) {
    auto* self = static_cast<RequestServer*>(data);
    const int socket = accept4(self->m_Socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) {
        // Without a free descriptor the connection stays ready. The main loop would not sleep.
        self->m_Handler = nullptr;
        self->m_Pause = ecore_timer_add(kAcceptPause, m_AwaitConnection, self);
        return ECORE_CALLBACK_CANCEL;
    }
    self->m_Connections[socket] = std::make_unique<Connection>(*self, socket);
    if (!IsFromThisUser(socket)) {
        self->m_Reject(socket, "the sender is another user");
    } else if (self->m_Connections.size() > kMaxSenders) {
        self->m_Reject(socket, "more than " + std::to_string(kMaxSenders) + " senders at once");
    }
    return ECORE_CALLBACK_RENEW;
}

void RequestServer::m_Reject(Sender sender, const std::string& reason) {
    LogError("launch request rejected: " + reason);
    m_Answer(sender, kRejectedAnswer);
}

void RequestServer::m_Answer(Sender sender, char answer) {
    const auto found = m_Connections.find(sender);
    if (found != m_Connections.end()) {
        // The send buffer is empty, so send fails only when the sender has exited.
        (void)send(sender, &answer, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
        m_Connections.erase(found);
    }
}

}  // namespace quorvel::desktop
