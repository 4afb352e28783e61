#include "support/Socket.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace {

int MakeSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

sockaddr_un AddressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    return address;
}

}  // namespace

Socket Socket::Connect(const std::filesystem::path& path) {
    Socket made(MakeSocket());
    const sockaddr_un address = AddressOf(path);
    if (connect(made.m_File, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::runtime_error("nobody listens on " + path.string());
    }
    return made;
}

Socket Socket::Listen(const std::filesystem::path& path) {
    Socket made(MakeSocket());
    const sockaddr_un address = AddressOf(path);
    if (bind(made.m_File, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(made.m_File, 1) != 0) {
        throw std::runtime_error("cannot listen on " + path.string());
    }
    return made;
}

Socket Socket::ListenOnLoopback() {
    Socket made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(made.m_File, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(made.m_File, 1) != 0) {
        throw std::runtime_error("cannot listen on the loopback network");
    }
    return made;
}

Socket::~Socket() {
    close(m_File);
}

Socket::Socket(Socket&& other) noexcept : m_File(std::exchange(other.m_File, -1)) {}

Socket Socket::Accept() const {
    return Socket(accept4(m_File, nullptr, nullptr, SOCK_CLOEXEC));
}

int Socket::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    getsockname(m_File, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

void Socket::Send(const std::string& bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t sent = send(m_File, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        done += static_cast<std::size_t>(sent);
    }
}

std::string Socket::Receive(std::size_t most) const {
    std::string bytes(most, '\0');
    const ssize_t size = recv(m_File, bytes.data(), most, 0);
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return bytes;
}
