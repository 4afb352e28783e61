#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_

#include <sys/un.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lifecycle/launch_request.h"

// The protocol between the owner and another program that hands its launch request over. The
// program connects to the owner's socket, sends one message and receives one byte as the answer.
// The socket has the type SOCK_SEQPACKET: each message arrives whole or not at all. Any thread.
namespace quorvel::desktop {

// The first bytes of each message.
constexpr std::string_view kMessageWord = "quorvel2";
// The largest number of bytes after the word.
constexpr std::size_t kMaxRequestBytes = 65536;
constexpr std::size_t kMaxMessageBytes = kMessageWord.size() + kMaxRequestBytes;

// Returns the message that a second program sends to the owner: kMessageWord and each "KEY=VALUE"
// with a zero byte at its end. Returns an empty string when the message would exceed
// kMaxMessageBytes.
std::string EncodeRequest(const KeyValues& request);

// Returns the request in a message; no value when the message is invalid.
std::optional<KeyValues> DecodeRequest(std::string_view message);

// The answer of the owner: the application has received the request, or the message was rejected.
constexpr char kAcceptedAnswer = '\x06';
constexpr char kRejectedAnswer = '\x15';

// Returns a new non-blocking socket, which the caller closes. Returns -1 and sets errno on failure.
int OpenSocket();

// Returns the address of the socket at path. The path fits when RuntimeFolder accepts its folder.
sockaddr_un SocketAddress(const std::string& path);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_PROTOCOL_H_
