#include "lifecycle/display.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include "lifecycle/owner.h"
#include "log/log.h"
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

// Starts to connect if the variable names a display. A display that does not answer blocks connect
// for minutes, and connect cannot be cancelled. Therefore a child process connects. Returns the
// child, or -1 without a child.
pid_t StartChild(const char* variable, bool (*connect)()) {
    const pid_t parent = getpid();
    const pid_t child = EnvironmentValue(variable).empty() ? -1 : fork();
    if (child == 0) {
        // The child inherits the lock of the instance, so the kernel ends the child together with
        // its parent.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(getppid() == parent && connect() ? 0 : 1);
    }
    return child;
}

// Ends the child. Returns whether the child has connected before the deadline. Otherwise removes
// the variable from the environment.
bool Succeeds(pid_t child, const char* variable, Clock::time_point deadline) {
    int status = 1;
    if (child > 0) {
        const int end = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
        AwaitInput(end, deadline);
        close(end);
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    if (status != 0) {
        unsetenv(variable);
    }
    return status == 0;
}

std::string Reason(const std::string& x, const std::string& wayland) {
    if (x.empty() && wayland.empty()) {
        return "no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    }
    const std::string separator = x.empty() || wayland.empty() ? "" : " or ";
    return "no display: cannot connect to " + x + separator + wayland;
}

}  // namespace

bool FindDisplay() {
    if (DrawsWithoutDisplay()) {
        return true;
    }
    const std::string wayland = EnvironmentValue("WAYLAND_DISPLAY");
    const std::string x = EnvironmentValue("DISPLAY");
    const pid_t waylandChild = StartChild("WAYLAND_DISPLAY", ConnectToWayland);
    const pid_t xChild = StartChild("DISPLAY", ConnectToX);
    const Clock::time_point deadline = Clock::now() + kTimeout;
    const bool hasWayland = Succeeds(waylandChild, "WAYLAND_DISPLAY", deadline);
    const bool hasX = Succeeds(xChild, "DISPLAY", deadline);
    if (!hasWayland && !hasX) {
        LogError(Reason(x, wayland));
    }
    return hasWayland || hasX;
}

}  // namespace quorvel::desktop
