#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_

#include <Ecore.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "lifecycle/launch_request.h"

namespace quorvel::desktop {

// Takes the requests of programs that are started while this one runs, from a local socket that the
// toolkit's main loop watches. What is not a message, is too long or takes too long is dropped with
// one line in the log.
// The toolkit's own service for local sockets is not used: it logs an error for each that it opens,
// lets others write to it, and loses what a sender wrote that ends at once.
// Owned by the main loop, which alone calls it and is called by it.
class RequestServer {
public:
    // Names a waiting sender until it is answered.
    using Sender = unsigned long;
    using Receiver = std::function<void(KeyValues request, Sender sender)>;

    // path: where to listen. receiver: gets each request, inside the main loop. timeoutSeconds: how
    // long a sender may take.
    RequestServer(std::string path, Receiver receiver, double timeoutSeconds = 5.0);
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
    class Connection;

    static Eina_Bool OnConnect(void* data, Ecore_Fd_Handler* handler);
    void m_Refuse(Sender sender, const std::string& reason);

    std::string m_Path;
    Receiver m_Receiver;
    double m_TimeoutSeconds;
    int m_Socket = -1;
    Ecore_Fd_Handler* m_Handler = nullptr;
    std::map<Sender, std::unique_ptr<Connection>> m_Connections;
    Sender m_LastSender = 0;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_
