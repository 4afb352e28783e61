#include "lifecycle/request_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "lifecycle/instance.h"
#include "log/log.h"

namespace quorvel::desktop {

namespace {

constexpr std::size_t kMaxSenders = 64;

// The folder lets nobody else in; this is the second bolt.
bool IsOfThisUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

// The mode is set before the socket gets its name, so at no moment can others write to it.
bool BindAndListen(int socket, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    unlink(path.c_str());
    return fchmod(socket, S_IRUSR | S_IWUSR) == 0 &&
           bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
           listen(socket, SOMAXCONN) == 0;
}

}  // namespace

// One sender. Owned by the server; gone when it is answered, refused or has left.
class RequestServer::Connection {
public:
    Connection(RequestServer& server, Sender sender, int socket)
        : m_Server(server),
          m_Sender(sender),
          m_Socket(socket),
          m_Handler(
              ecore_main_fd_handler_add(socket, ECORE_FD_READ, OnReadable, this, nullptr, nullptr)),
          m_Timer(ecore_timer_add(server.m_TimeoutSeconds, OnTimeout, this)) {}

    ~Connection() {
        m_StopReading();
        close(m_Socket);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // One byte into an empty line: it fits, or the sender has gone.
    void Answer(char answer) const {
        (void)send(m_Socket, &answer, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }

private:
    void m_StopReading() {
        if (m_Handler != nullptr) {
            ecore_main_fd_handler_del(std::exchange(m_Handler, nullptr));
        }
        if (m_Timer != nullptr) {
            ecore_timer_del(std::exchange(m_Timer, nullptr));
        }
    }

    static Eina_Bool OnReadable(void* data, Ecore_Fd_Handler*) {
        static_cast<Connection*>(data)->m_Read();
        return ECORE_CALLBACK_RENEW;
    }

    static Eina_Bool OnTimeout(void* data) {
        auto* self = static_cast<Connection*>(data);
        self->m_Timer = nullptr;
        self->m_Server.m_Refuse(self->m_Sender, "it takes too long");
        return ECORE_CALLBACK_CANCEL;
    }

    // The object may be gone afterwards.
    void m_Read() {
        std::array<char, 16384> part{};
        const ssize_t size = recv(m_Socket, part.data(), part.size(), MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        if (size <= 0) {
            m_Server.m_Refuse(m_Sender, "it ends too early");
            return;
        }
        m_Received.append(part.data(), static_cast<std::size_t>(size));
        m_Judge();
    }

    void m_Judge() {
        KeyValues values;
        switch (DecodeMessage(m_Received, values)) {
            case Decoded::kIncomplete:
                return;
            case Decoded::kComplete:
                m_StopReading();
                m_Server.m_Receiver(std::move(values), m_Sender);
                return;
            case Decoded::kGarbage:
                m_Server.m_Refuse(m_Sender, "it is not a request");
                return;
            case Decoded::kTooLong:
                m_Server.m_Refuse(m_Sender, "it is too long");
                return;
        }
    }

    RequestServer& m_Server;
    Sender m_Sender;
    int m_Socket;
    Ecore_Fd_Handler* m_Handler;
    Ecore_Timer* m_Timer;
    std::string m_Received;
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
    m_Socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_Socket < 0 || !BindAndListen(m_Socket, m_Path)) {
        LogError("cannot listen on " + m_Path + ": " + std::strerror(errno));
        return false;
    }
    m_Handler =
        ecore_main_fd_handler_add(m_Socket, ECORE_FD_READ, OnConnect, this, nullptr, nullptr);
    return true;
}

void RequestServer::Accept(Sender sender) {
    const auto found = m_Connections.find(sender);
    if (found != m_Connections.end()) {
        found->second->Answer(kAccepted);
        m_Connections.erase(found);
    }
}

void RequestServer::Close() {
    m_Connections.clear();
    if (m_Handler != nullptr) {
        ecore_main_fd_handler_del(std::exchange(m_Handler, nullptr));
        unlink(m_Path.c_str());
    }
    if (m_Socket >= 0) {
        close(std::exchange(m_Socket, -1));
    }
}

Eina_Bool RequestServer::OnConnect(void* data, Ecore_Fd_Handler*) {
    auto* self = static_cast<RequestServer*>(data);
    const int socket = accept4(self->m_Socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) {
        return ECORE_CALLBACK_RENEW;
    }
    const Sender sender = ++self->m_LastSender;
    self->m_Connections[sender] = std::make_unique<Connection>(*self, sender, socket);
    if (!IsOfThisUser(socket)) {
        self->m_Refuse(sender, "it comes from another user");
    } else if (self->m_Connections.size() > kMaxSenders) {
        self->m_Refuse(sender, "too many come at once");
    }
    return ECORE_CALLBACK_RENEW;
}

void RequestServer::m_Refuse(Sender sender, const std::string& reason) {
    LogError("a request is dropped: " + reason);
    m_Connections[sender]->Answer(kRefused);
    m_Connections.erase(sender);
}

}  // namespace quorvel::desktop
