#include "lifecycle/protocol.h"

#include <sys/socket.h>

namespace quorvel::desktop {

std::string EncodeRequest(const KeyValues& request) {
    std::string message(kMessageWord);
    for (const auto& [key, value] : request) {
        message.append(key).append("=").append(value).append(1, '\0');
    }
    return message.size() > kMaxMessageBytes ? std::string() : message;
}

std::optional<KeyValues> DecodeRequest(std::string_view message) {
    if (message.size() > kMaxMessageBytes ||
        message.substr(0, kMessageWord.size()) != kMessageWord) {
        return std::nullopt;
    }
    message.remove_prefix(kMessageWord.size());
    KeyValues request;
    while (!message.empty()) {
        const std::size_t end = message.find('\0');
        if (end == std::string_view::npos || !AddKeyValue(request, message.substr(0, end))) {
            return std::nullopt;
        }
        message.remove_prefix(end + 1);
    }
    return request;
}

int OpenSocket() {
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

sockaddr_un SocketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    return address;
}

}  // namespace quorvel::desktop
