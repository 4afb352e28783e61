#ifndef QUORVEL_PLATFORM_DESKTOP_REQUEST_SERVER_H_
#define QUORVEL_PLATFORM_DESKTOP_REQUEST_SERVER_H_

#include <Ecore.h>
#include <Ecore_Con.h>

#include <functional>
#include <map>
#include <string>

#include "launch_request.h"

namespace quorvel::desktop {

// Takes the requests of programs that are started while this one runs, from a local socket.
// What is not a message, is too long or takes too long is dropped with one line in the log.
// Owned by the main loop, which alone calls it and is called by it.
class RequestServer {
public:
    // Names a waiting sender until it is answered.
    using Sender = unsigned long;
    using Receiver = std::function<void(KeyValues request, Sender sender)>;

    // path: where to listen. receiver: gets each request, inside the main loop.
    RequestServer(std::string path, Receiver receiver);
    ~RequestServer();
    RequestServer(const RequestServer&) = delete;
    RequestServer& operator=(const RequestServer&) = delete;

    // Starts listening, in place of a dead program when its socket was left. Only the holder of the
    // instance's lock may do so. False when it is not possible; the reason is logged.
    bool Listen();

    // Tells the sender that its request was delivered. A sender that has gone is no error.
    void Accept(Sender sender);

    // Stops listening. Senders that are not answered see their connection end.
    void Close();

private:
    struct Connection {
        Sender sender;
        std::string received;
        bool delivered;
    };

    static Eina_Bool OnConnect(void* data, int type, void* event);
    static Eina_Bool OnReceive(void* data, int type, void* event);
    static Eina_Bool OnDisconnect(void* data, int type, void* event);

    void m_Judge(Ecore_Con_Client* client, Connection& connection);
    void m_Refuse(Ecore_Con_Client* client, const char* reason);
    static void m_Answer(Ecore_Con_Client* client, char answer);

    std::string m_Path;
    Receiver m_Receiver;
    Ecore_Con_Server* m_Server = nullptr;
    Ecore_Event_Handler* m_Handlers[3] = {};
    std::map<Ecore_Con_Client*, Connection> m_Connections;
    Sender m_LastSender = 0;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_REQUEST_SERVER_H_
