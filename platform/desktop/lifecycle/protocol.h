#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lifecycle/launch_request.h"

// The hand-over of a launch request between two processes. A second program connects to the local
// socket of the owner, sends one message and receives one byte as the answer. The socket has the
// type SOCK_SEQPACKET: each message arrives whole or not at all.
// Instance sends and RequestServer receives. The functions keep no state; any thread.
namespace quorvel::desktop {

// The first bytes of each message.
constexpr std::string_view kMessageWord = "quorvel2";
// Limit of the bytes after the word.
constexpr std::size_t kMaxRequestBytes = 65536;
constexpr std::size_t kMaxMessageBytes = kMessageWord.size() + kMaxRequestBytes;

// The answer: the application has received the request, or the message was rejected.
constexpr char kAcceptedAnswer = '\x06';
constexpr char kRejectedAnswer = '\x15';

// Returns the message for a request: kMessageWord and each "KEY=VALUE" with a zero byte at its end.
// Returns an empty string when the message would exceed kMaxMessageBytes.
std::string EncodeRequest(const KeyValues& request);

// Returns the request in a message; no value when the message is invalid.
std::optional<KeyValues> DecodeRequest(std::string_view message);

// Returns a new non-blocking socket, which the caller closes. Returns -1 and sets errno on failure.
int OpenSocket();

// Returns the address of the socket at path. The path fits when RuntimeFolder accepts its folder.
sockaddr_un SocketAddress(const std::string& path);

// Returns process and user at the other end of a connection: process 0 and no valid user when the
// socket is not connected.
ucred PeerCredentials(int socket);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_
