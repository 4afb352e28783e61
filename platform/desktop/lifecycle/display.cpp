#include "lifecycle/display.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace quorvel::desktop {

namespace {

// How long one display may take to answer.
constexpr timespec kTimeout{0, 400'000'000};

std::string_view Environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? std::string_view() : value;
}

bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

bool DrawsWithoutDisplay() {
    const std::string_view engine = Environment("ELM_ENGINE");
    return Environment("ELM_DISPLAY") == "buffer" || StartsWith(engine, "buffer") ||
           StartsWith(engine, "shot");
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

// Returns whether a byte arrives before the timeout. Signals wait until then.
bool ReceivesByte(int pipe) {
    sigset_t all;
    sigfillset(&all);
    pollfd waiting{pipe, POLLIN, 0};
    char byte = 0;
    return ppoll(&waiting, 1, &kTimeout, &all) == 1 && read(pipe, &byte, 1) == 1;
}

// A display that does not answer blocks connect for minutes, and connect cannot be cancelled.
// Therefore a child process connects, and this function kills the child after the timeout.
bool ConnectsInTime(bool (*connect)()) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        ReportConnection(connect, parent, pipe[1]);
    }
    close(pipe[1]);
    const bool success = ReceivesByte(pipe[0]);
    close(pipe[0]);
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    return success;
}

// Removes the variable from the environment when its display does not answer.
bool IsUsable(const char* variable, bool (*connect)()) {
    if (Environment(variable).empty()) {
        return false;
    }
    const bool usable = ConnectsInTime(connect);
    if (!usable) {
        unsetenv(variable);
    }
    return usable;
}

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
    const std::string wayland(Environment("WAYLAND_DISPLAY"));
    const std::string x(Environment("DISPLAY"));
    const bool hasWayland = IsUsable("WAYLAND_DISPLAY", ConnectToWayland);
    const bool hasX = IsUsable("DISPLAY", ConnectToX);
    if (hasWayland || hasX) {
        return true;
    }
    why = Reason(x, wayland);
    return false;
}

}  // namespace quorvel::desktop
