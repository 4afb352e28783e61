// An application that records the platform's calls in the file $RECORD, one line for each call,
// such as "<process> create". The value of EXEPARAM in a launch request is a command: CLOSE ends
// the program as the application does. MINIMISE, RESTORE and QUIT act on the window as a user does.
// THROW throws an exception. WAIT waits for a line of input. COPY_AND_CLOSE ends the program while
// a log copy waits for a line of input. After COPY_COUNT_AND_CLOSE, the thread of the copy waits
// for another line and counts the copy. If $ONLY_CREATE is set, the program has no other callback.
// If $PARSE is set, create waits for a line of input and parses the file $PARSE. If $VERTICAL_SYNC
// is set, the frames have the source that EFL uses for a display with vertical synchronisation.

#include <Ecore_X.h>
#include <Elementary.h>
#include <app.h>
#include <app_control_internal.h>
#include <bundle.h>
#include <fcntl.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "log_copy/log_copy.h"

namespace {

Evas_Object* g_Window = nullptr;

bool IsSet(const char* variable) {
    return std::getenv(variable) != nullptr;
}

void Record(const std::string& event) {
    const std::string line = std::to_string(getpid()) + " " + event + "\n";
    const int file = open(std::getenv("RECORD"), O_WRONLY | O_APPEND | O_CREAT, 0600);
    if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        std::abort();
    }
    close(file);
}

// Records an event, and whether the callback received the data pointer of ui_app_main.
void Record(const std::string& event, const void* data) {
    Record(event + (data == &g_Window ? "" : " with other data"));
}

// The window manager manages a window that has the focus.
Eina_Bool OnFocus(void*, int, void*) {
    Record("focused");
    return ECORE_CALLBACK_PASS_ON;
}

// Parses the file after a line of input, as the application parses its result files.
void Parse(const char* path) {
    std::string line;
    std::getline(std::cin, line);
    xmlDoc* document = xmlParseFile(path);
    Record(document == nullptr ? "not parsed" : "parsed");
    xmlFreeDoc(document);
}

void RecordFrameSource(void*) {
    Record(ecore_animator_source_get() == ECORE_ANIMATOR_SOURCE_CUSTOM ? "frames of the display"
                                                                       : "frames of a timer");
}

// Records the source of the frames after all handlers of this event.
void OnNormal(void*, Evas_Object*, void*) {
    ecore_job_add(RecordFrameSource, nullptr);
}

bool Create(void* data) {
    Record("create", data);
    if (IsSet("PARSE")) {
        Parse(std::getenv("PARSE"));
    }
    if (IsSet("FAIL_CREATE")) {
        return false;
    }
    if (IsSet("NO_WINDOW")) {
        return true;
    }
    g_Window = elm_win_util_standard_add("recording", "recording");
    elm_win_autodel_set(g_Window, EINA_TRUE);
    if (elm_win_xwindow_get(g_Window) != 0) {
        ecore_event_handler_add(ECORE_X_EVENT_WINDOW_FOCUS_IN, OnFocus, nullptr);
    }
    if (IsSet("VERTICAL_SYNC")) {
        ecore_animator_source_set(ECORE_ANIMATOR_SOURCE_CUSTOM);
        evas_object_smart_callback_add(g_Window, "normal", OnNormal, nullptr);
    }
    evas_object_resize(g_Window, 200, 100);
    evas_object_show(g_Window);
    return true;
}

// The port blocks signals during shutdown, because a signal could break the connection to the X
// server.
bool IsTerminationBlocked() {
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGTERM) == 1;
}

void Terminate(void* data) {
    Record(IsTerminationBlocked() ? "terminate" : "terminate with unblocked signals", data);
    evas_object_del(g_Window);
}

// The port stops the frames of a paused window.
bool AreFramesStopped() {
    return ecore_animator_source_get() == ECORE_ANIMATOR_SOURCE_CUSTOM;
}

void Pause(void* data) {
    Record(AreFramesStopped() ? "pause" : "pause with frames", data);
}

void Resume(void* data) {
    Record(AreFramesStopped() ? "resume without frames" : "resume", data);
}

quorvel::desktop::UsbStorage StorageAfterInput() {
    Record("copy");
    std::string line;
    std::getline(std::cin, line);
    return {};
}

void Copy() {
    quorvel::desktop::RunLogCopy(
        {StorageAfterInput, [](bool, const std::string&) { Record("copied"); }}, {});
}

void CopyAndCount() {
    Copy();
    std::string line;
    std::getline(std::cin, line);
    Record("counted");
}

void Obey(const std::string& command) {
    const Ecore_X_Window window = elm_win_xwindow_get(g_Window);
    if (command == "CLOSE") {
        evas_object_del(g_Window);
        elm_exit();
    } else if (command == "COPY_AND_CLOSE") {
        std::thread(Copy).detach();
        Obey("CLOSE");
    } else if (command == "COPY_COUNT_AND_CLOSE") {
        std::thread(CopyAndCount).detach();
        Obey("CLOSE");
    } else if (command == "WAIT") {
        std::string line;
        std::getline(std::cin, line);
    } else if (command == "MINIMISE") {
        ecore_x_icccm_iconic_request_send(window, ecore_x_window_root_get(window));
    } else if (command == "RESTORE") {
        ecore_x_netwm_client_active_request(ecore_x_window_root_get(window), window, 2, 0);
    } else if (command == "QUIT") {
        ecore_x_window_delete_request_send(window);
    } else if (command == "THROW") {
        throw std::runtime_error("thrown on request");
    }
}

std::string Value(bundle* values, const char* key) {
    char* value = nullptr;
    bundle_get_str(values, key, &value);
    return value == nullptr ? "" : value;
}

void Control(app_control_h request, void* data) {
    bundle* values = nullptr;
    if (app_control_to_bundle(request, &values) != APP_CONTROL_ERROR_NONE) {
        std::abort();
    }
    const std::string command = Value(values, "EXEPARAM");
    Record("control " + Value(values, "NAME") + command +
               (ecore_main_loop_nested_get() > 0 ? "" : " outside the main loop"),
           data);
    Obey(command);
}

}  // namespace

extern "C" int __real_elm_init(int argc, char** argv);
extern "C" int __wrap_elm_init(int argc, char** argv);

// Simulates a toolkit that cannot start.
extern "C" int __wrap_elm_init(int argc, char** argv) {
    return IsSet("FAIL_TOOLKIT") ? 0 : __real_elm_init(argc, argv);
}

int main(int argc, char** argv) {
    ui_app_lifecycle_callback_s callbacks{Create, Terminate, Pause, Resume, Control};
    if (IsSet("ONLY_CREATE")) {
        callbacks = {Create, nullptr, nullptr, nullptr, nullptr};
    }
    const int result = ui_app_main(argc, argv, &callbacks, &g_Window);
    Record(result == APP_ERROR_NONE ? "exit" : "exit with an error");
    return result == APP_ERROR_NONE ? 0 : 1;
}
