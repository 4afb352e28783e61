#include "lifecycle/display.h"

#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "log/log.h"
#include "paths.h"

namespace quorvel::desktop {

namespace {

using Clock = std::chrono::steady_clock;

// How long the displays may take to answer.
constexpr std::chrono::milliseconds kTimeout{1000};

bool DrawsWithoutDisplay() {
    const std::string engine = EnvironmentValue("ELM_ENGINE");
    return EnvironmentValue("ELM_DISPLAY") == "buffer" || engine.rfind("buffer", 0) == 0 ||
           engine.rfind("shot", 0) == 0;
}

bool ConnectToWayland(const std::string& name) {
    wl_display* display = wl_display_connect(name.c_str());
    if (display == nullptr) {
        return false;
    }
    // Connecting proves only that the socket exists. A round trip proves that a server answers.
    const bool answers = wl_display_roundtrip(display) >= 0;
    wl_display_disconnect(display);
    return answers;
}

bool ConnectToX(const std::string& name) {
    xcb_connection_t* connection = xcb_connect(name.c_str(), nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

// Connects on another thread. A display that does not answer blocks connect for minutes, and
// connect cannot be cancelled. The thread then ends with the connection or with the process.
std::future<bool> Start(bool (*connect)(const std::string&), const std::string& name) {
    std::packaged_task<bool()> task([connect, name] { return !name.empty() && connect(name); });
    std::future<bool> answers = task.get_future();
    std::thread(std::move(task)).detach();
    return answers;
}

bool Succeeds(std::future<bool>& answers, Clock::time_point deadline) {
    return answers.wait_until(deadline) == std::future_status::ready && answers.get();
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
    std::future<bool> waylandAnswers = Start(ConnectToWayland, wayland);
    std::future<bool> xAnswers = Start(ConnectToX, x);
    const Clock::time_point deadline = Clock::now() + kTimeout;
    const bool hasWayland = Succeeds(waylandAnswers, deadline);
    const bool hasX = Succeeds(xAnswers, deadline);
    // Only now, because the threads read the environment.
    if (!hasWayland) {
        unsetenv("WAYLAND_DISPLAY");
    }
    if (!hasX) {
        unsetenv("DISPLAY");
    }
    if (!hasWayland && !hasX) {
        LogError(Reason(x, wayland));
    }
    return hasWayland || hasX;
}

}  // namespace quorvel::desktop
