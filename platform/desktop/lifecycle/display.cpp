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
#include <string_view>

namespace quorvel::desktop {

namespace {

constexpr int kPatienceMs = 400;

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

bool ConnectsToWayland() {
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return false;
    }
    // Connecting takes no more than a socket, behind which nobody may be.
    const bool answers = wl_display_roundtrip(display) >= 0;
    wl_display_disconnect(display);
    return answers;
}

bool ConnectsToX() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool good = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return good;
}

// Whether the other end of the pipe writes a byte in time.
bool SaysYes(int reader) {
    pollfd waiting{reader, POLLIN, 0};
    char answer = 0;
    return poll(&waiting, 1, kPatienceMs) == 1 && read(reader, &answer, 1) == 1;
}

// The child holds the lock of the running program as well: it must not outlive its parent.
[[noreturn]] void TryIn(bool (*connects)(), pid_t parent, int writer) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const bool good = getppid() == parent && connects() && write(writer, "y", 1) == 1;
    _exit(good ? 0 : 1);
}

// A display that is silent blocks for minutes, and cannot be called off. So a child process tries
// it, and is ended when it takes too long.
bool InTime(bool (*connects)()) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        TryIn(connects, parent, ends[1]);
    }
    close(ends[1]);
    const bool good = SaysYes(ends[0]);
    close(ends[0]);
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    return good;
}

// Takes the variable away when the display that it names does not answer in time.
bool IsUsable(const char* variable, bool (*connects)()) {
    if (Environment(variable).empty()) {
        return false;
    }
    const bool good = InTime(connects);
    if (!good) {
        unsetenv(variable);
    }
    return good;
}

std::string Reason(const std::string& x, const std::string& wayland) {
    if (x.empty() && wayland.empty()) {
        return "no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    }
    const std::string between = x.empty() || wayland.empty() ? "" : " or ";
    return "no display: cannot connect to " + x + between + wayland;
}

}  // namespace

bool FindDisplay(std::string& why) {
    if (DrawsWithoutDisplay()) {
        return true;
    }
    const std::string wayland(Environment("WAYLAND_DISPLAY"));
    const std::string x(Environment("DISPLAY"));
    const bool hasWayland = IsUsable("WAYLAND_DISPLAY", ConnectsToWayland);
    const bool hasX = IsUsable("DISPLAY", ConnectsToX);
    if (hasWayland || hasX) {
        return true;
    }
    why = Reason(x, wayland);
    return false;
}

}  // namespace quorvel::desktop
