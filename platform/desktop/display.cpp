#include "display.h"

#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>

namespace quorvel::desktop {

namespace {

constexpr std::chrono::milliseconds kPatience{400};

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

// Connecting blocks for minutes when the machine named in DISPLAY is silent. The thread is then
// left to itself, as the program is about to end.
bool InTime(bool (*connects)()) {
    std::packaged_task<bool()> task(connects);
    std::future<bool> result = task.get_future();
    std::thread(std::move(task)).detach();
    return result.wait_for(kPatience) == std::future_status::ready && result.get();
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
