#include "display.h"

#include <fcntl.h>
#include <poll.h>
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
    wl_display_disconnect(display);
    return true;
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

// Connecting blocks for minutes when the machine named in DISPLAY is silent, and cannot be called
// off. So a child process tries it, and is ended when it takes too long.
bool InTime(bool (*connects)()) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        _exit(connects() && write(ends[1], "y", 1) == 1 ? 0 : 1);
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

}  // namespace

bool IsDisplayReachable(std::string& why) {
    if (DrawsWithoutDisplay()) {
        return true;
    }
    const std::string_view wayland = Environment("WAYLAND_DISPLAY");
    const std::string_view x = Environment("DISPLAY");
    if ((!wayland.empty() && InTime(ConnectsToWayland)) || (!x.empty() && InTime(ConnectsToX))) {
        return true;
    }
    why = "no display: ";
    if (wayland.empty() && x.empty()) {
        why += "neither DISPLAY nor WAYLAND_DISPLAY is set";
    } else {
        why += "cannot connect to " + std::string(x.empty() ? wayland : x);
    }
    return false;
}

}  // namespace quorvel::desktop
