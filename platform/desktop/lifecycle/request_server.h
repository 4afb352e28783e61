#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_

#include <Ecore.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "lifecycle/launch_request.h"

namespace quorvel::desktop {

// Receives the launch requests of second programs on the owner's socket, see protocol.h. Rejects an
// unexpected sender or message and logs one line. Senders wait while the process has no free
// descriptor.
// The server uses a plain socket instead of Ecore_Con. Ecore_Con logs an error for each socket that
// it opens, and lets other users write to the socket. Ecore_Con also loses the message of a sender
// that exits at once.
// Initialises Ecore for its own lifetime. Owned by the main loop; main-loop thread only.
class RequestServer {
public:
    // Identifies a sender that waits for its answer: the descriptor of its connection.
    using Sender = int;
    static constexpr Sender kNoSender = -1;
    using Receiver = std::function<void(KeyValues request, Sender sender)>;

    // path: the socket. receiver: called inside the main loop with each request.
    // timeoutSeconds: how long a connected sender may take to send its message.
    RequestServer(std::string path, Receiver receiver, double timeoutSeconds = 5.0);
    ~RequestServer();
    RequestServer(const RequestServer&) = delete;
    RequestServer& operator=(const RequestServer&) = delete;

    // Starts to listen. Replaces the socket of an ended owner, so only the owner may call this.
    // Returns false and logs the reason on failure.
    bool Listen();

    // Answers that the application has received the request. Ignores kNoSender and a sender that
    // has exited.
    void Accept(Sender sender);

    // Stops listening. Closes the connections of all senders without an answer.
    void Close();

private:
    class Connection;

    static Eina_Bool m_AwaitConnection(void* data);
    static Eina_Bool m_OnConnect(void* data, Ecore_Fd_Handler* handler);
    void m_Reject(Sender sender, const std::string& reason);
    void m_Answer(Sender sender, char answer);

    std::string m_Path;
    Receiver m_Receiver;
    double m_TimeoutSeconds;
    int m_Socket = -1;
    // The handler or the timer exists while the server listens.
    Ecore_Fd_Handler* m_Handler = nullptr;
    Ecore_Timer* m_Pause = nullptr;
    std::map<Sender, std::unique_ptr<Connection>> m_Connections;
};

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_REQUEST_SERVER_H_
