#ifndef QUORVEL_TESTS_PLATFORM_X_SERVER_H_
#define QUORVEL_TESTS_PLATFORM_X_SERVER_H_

#include <csignal>
#include <string>

#include "support/ChildProgram.h"
#include "support/PrivateFolders.h"

// An X server that nobody sees, until the object goes.
class XServer {
public:
    explicit XServer(const PrivateFolders& folders)
        : m_Program(
              folders, "Xvfb",
              // It must not reset when the program's look for a display is the only client,
              // and goes: that would take a window manager along.
              {"-displayfd", "1", "-noreset", "-screen", "0", "640x480x24", "-nolisten", "tcp"}) {}
    // So that the server takes its files away.
    ~XServer() {
        m_Program.Signal(SIGTERM);
        m_Program.Exit();
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // What DISPLAY has to be; empty when the server does not come up.
    std::string Display() const {
        const bool isUp = Await([this] { return !LinesOf(m_Program.Output()).empty(); });
        return isUp ? ":" + LinesOf(m_Program.Output()).front() : "";
    }

private:
    ChildProgram m_Program;
};

#endif  // QUORVEL_TESTS_PLATFORM_X_SERVER_H_
