#include "request_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "instance.h"
#include "log.h"

namespace quorvel::desktop {

namespace {

constexpr double kSenderTimeoutSeconds = 5.0;
constexpr int kMaxSenders = 64;

// The folder lets nobody else in; this is the second bolt.
bool IsOfThisUser(Ecore_Con_Client* client) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    const int socket = ecore_con_client_fd_get(client);
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

// For a local socket the toolkit sets an option that only network sockets have, and logs an error
// at each start, which says nothing about this program.
Ecore_Con_Server* AddServerQuietly(const std::string& path) {
    const int level = eina_log_domain_level_get("ecore_con");
    eina_log_domain_level_set("ecore_con", EINA_LOG_LEVEL_CRITICAL);
    Ecore_Con_Server* server =
        ecore_con_server_add(ECORE_CON_LOCAL_SYSTEM, path.c_str(), -1, nullptr);
    eina_log_domain_level_set("ecore_con", level);
    return server;
}

}  // namespace

RequestServer::RequestServer(std::string path, Receiver receiver)
    : m_Path(std::move(path)), m_Receiver(std::move(receiver)) {
    ecore_con_init();
}

RequestServer::~RequestServer() {
    Close();
    ecore_con_shutdown();
}

bool RequestServer::Listen() {
    unlink(m_Path.c_str());
    m_Server = AddServerQuietly(m_Path);
    if (m_Server == nullptr || chmod(m_Path.c_str(), S_IRUSR | S_IWUSR) != 0) {
        LogError("cannot listen on " + m_Path);
        return false;
    }
    ecore_con_server_client_limit_set(m_Server, kMaxSenders, EINA_FALSE);
    m_Handlers[0] = ecore_event_handler_add(ECORE_CON_EVENT_CLIENT_ADD, OnConnect, this);
    m_Handlers[1] = ecore_event_handler_add(ECORE_CON_EVENT_CLIENT_DATA, OnReceive, this);
    m_Handlers[2] = ecore_event_handler_add(ECORE_CON_EVENT_CLIENT_DEL, OnDisconnect, this);
    return true;
}

void RequestServer::Accept(Sender sender) {
    for (const auto& [client, connection] : m_Connections) {
        if (connection.sender == sender) {
            m_Answer(client, kAccepted);
            return;
        }
    }
}

void RequestServer::Close() {
    for (Ecore_Event_Handler*& handler : m_Handlers) {
        if (handler != nullptr) {
            ecore_event_handler_del(handler);
            handler = nullptr;
        }
    }
    if (m_Server != nullptr) {
        ecore_con_server_del(m_Server);
        m_Server = nullptr;
        unlink(m_Path.c_str());
    }
    m_Connections.clear();
}

Eina_Bool RequestServer::OnConnect(void* data, int, void* event) {
    auto* self = static_cast<RequestServer*>(data);
    Ecore_Con_Client* client = static_cast<Ecore_Con_Event_Client_Add*>(event)->client;
    if (ecore_con_client_server_get(client) != self->m_Server) {
        return ECORE_CALLBACK_PASS_ON;
    }
    ecore_con_client_timeout_set(client, kSenderTimeoutSeconds);
    self->m_Connections[client] = {++self->m_LastSender, {}, false};
    if (!IsOfThisUser(client)) {
        self->m_Refuse(client, "it comes from another user");
    }
    return ECORE_CALLBACK_PASS_ON;
}

Eina_Bool RequestServer::OnReceive(void* data, int, void* event) {
    auto* self = static_cast<RequestServer*>(data);
    const auto* received = static_cast<Ecore_Con_Event_Client_Data*>(event);
    const auto found = self->m_Connections.find(received->client);
    if (found != self->m_Connections.end()) {
        found->second.received.append(static_cast<const char*>(received->data),
                                      static_cast<std::size_t>(received->size));
        self->m_Judge(received->client, found->second);
    }
    return ECORE_CALLBACK_PASS_ON;
}

Eina_Bool RequestServer::OnDisconnect(void* data, int, void* event) {
    auto* self = static_cast<RequestServer*>(data);
    const auto found =
        self->m_Connections.find(static_cast<Ecore_Con_Event_Client_Del*>(event)->client);
    if (found != self->m_Connections.end()) {
        if (!found->second.delivered) {
            LogError("a request is dropped: it ends too early or takes too long");
        }
        self->m_Connections.erase(found);
    }
    return ECORE_CALLBACK_PASS_ON;
}

void RequestServer::m_Judge(Ecore_Con_Client* client, Connection& connection) {
    KeyValues values;
    switch (connection.delivered ? Decoded::kGarbage : DecodeMessage(connection.received, values)) {
        case Decoded::kIncomplete:
            return;
        case Decoded::kComplete:
            connection.delivered = true;
            connection.received.clear();
            m_Receiver(std::move(values), connection.sender);
            return;
        case Decoded::kGarbage:
            m_Refuse(client, "it is not a request");
            return;
        case Decoded::kTooLong:
            m_Refuse(client, "it is too long");
            return;
    }
}

void RequestServer::m_Refuse(Ecore_Con_Client* client, const char* reason) {
    LogError(std::string("a request is dropped: ") + reason);
    m_Connections.erase(client);
    m_Answer(client, kRefused);
    ecore_con_client_del(client);
}

void RequestServer::m_Answer(Ecore_Con_Client* client, char answer) {
    ecore_con_client_send(client, &answer, 1);
    ecore_con_client_flush(client);
}

}  // namespace quorvel::desktop
