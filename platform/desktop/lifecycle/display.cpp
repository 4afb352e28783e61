#include "lifecycle/display.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "lifecycle/owner.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

// How long the displays may take to answer.
constexpr std::chrono::milliseconds kTimeout{1000};

bool DrawsWithoutDisplay() {
    const std::string engine = EnvironmentValue("ELM_ENGINE");
    return EnvironmentValue("ELM_DISPLAY") == "buffer" || engine.rfind("buffer", 0) == 0 ||
           engine.rfind("shot", 0) == 0;
}

bool ConnectToWayland() {
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return false;
    }
    // Connecting proves only that the socket exists. A round trip proves that a server answers.
    const bool answers = wl_display_roundtrip(display) >= 0;
    wl_display_disconnect(display);
    return answers;
}

bool ConnectToX() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

// Runs in the child process. The child inherits the lock of the instance, so the kernel ends the
// child together with its parent.
[[noreturn]] void ReportConnection(bool (*connect)(), pid_t parent, int pipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const bool success = getppid() == parent && connect() && write(pipe, "y", 1) == 1;
    _exit(success ? 0 : 1);
}

// Returns whether a byte arrives before the deadline.
bool ReceivesByte(int pipe, Clock::time_point deadline) {
    char byte = 0;
    return AwaitInput(pipe, deadline) && read(pipe, &byte, 1) == 1;
}

// One attempt to connect to a display. A display that does not answer blocks connect for minutes,
// and connect cannot be cancelled. Therefore a child process connects, and the destructor kills it.
class Attempt {
public:
    // Starts to connect if the variable names a display.
    Attempt(const char* variable, bool (*connect)()) : m_Variable(variable) {
        std::array<int, 2> pipe{};
        if (EnvironmentValue(variable).empty() || pipe2(pipe.data(), O_CLOEXEC) != 0) {
            return;
        }
        m_Pipe = pipe[0];
        const pid_t parent = getpid();
        m_Child = fork();
        if (m_Child == 0) {
            ReportConnection(connect, parent, pipe[1]);
        }
        close(pipe[1]);
    }
    ~Attempt() {
        if (m_Pipe >= 0) {
            close(m_Pipe);
        }
        if (m_Child > 0) {
            kill(m_Child, SIGKILL);
            waitpid(m_Child, nullptr, 0);
        }
    }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    // Returns whether the display answers before the deadline. Otherwise removes the variable from
    // the environment.
    bool Succeeds(Clock::time_point deadline) const {
        const bool success = m_Pipe >= 0 && ReceivesByte(m_Pipe, deadline);
        if (!success) {
            unsetenv(m_Variable);
        }
        return success;
    }

private:
    const char* m_Variable;
    int m_Pipe = -1;
    pid_t m_Child = -1;
};

std::string Reason(const std::string& x, const std::string& wayland) {
    if (x.empty() && wayland.empty()) {
        return "no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    }
    const std::string separator = x.empty() || wayland.empty() ? "" : " or ";
    return "no display: cannot connect to " + x + separator + wayland;
}

}  // namespace

bool FindDisplay(std::string& why) {
    if (DrawsWithoutDisplay()) {
        return true;
    }
    const std::string wayland = EnvironmentValue("WAYLAND_DISPLAY");
    const std::string x = EnvironmentValue("DISPLAY");
    const Attempt waylandAttempt("WAYLAND_DISPLAY", ConnectToWayland);
    const Attempt xAttempt("DISPLAY", ConnectToX);
    const Clock::time_point deadline = Clock::now() + kTimeout;
    const bool hasWayland = waylandAttempt.Succeeds(deadline);
    const bool hasX = xAttempt.Succeeds(deadline);
    if (hasWayland || hasX) {
        return true;
    }
    why = Reason(x, wayland);
    return false;
}

}  // namespace quorvel::desktop
