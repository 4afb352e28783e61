#ifndef QUORVEL_TESTS_PLATFORM_SOCKET_H_
#define QUORVEL_TESTS_PLATFORM_SOCKET_H_

#include <filesystem>
#include <string>

// One end of a socket, with blocking calls; closed with the object.
class Socket {
public:
    static Socket Connect(const std::filesystem::path& path);
    static Socket Listen(const std::filesystem::path& path);
    // On a port of the loopback network that nobody else uses.
    static Socket ListenOnLoopback();
    ~Socket();
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&&) = delete;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    Socket Accept() const;
    // Of a socket that listens on the loopback network.
    int Port() const;
    // Stops at a reader that does not want more.
    void Send(const std::string& bytes) const;
    // What comes next, at most so many bytes; empty at the end.
    std::string Receive(std::size_t most = 1) const;

private:
    explicit Socket(int file) : m_File(file) {}
    int m_File;
};

#endif  // QUORVEL_TESTS_PLATFORM_SOCKET_H_
