#include <Ecore_Evas.h>
#include <Efl_Core.h>
#include <Efreet.h>
#include <Elementary.h>
#include <app.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/display.h"
#include "lifecycle/launch_request.h"
#include "lifecycle/owner.h"
#include "lifecycle/request_server.h"
#include "log/log.h"
#include "log_copy/log_copy.h"
#include "paths.h"
#include "toolkit/ui_setup.h"
#include "xml_input.h"

namespace quorvel::desktop {

namespace {

// How long a second program waits for the owner. The owner starts with the largest result files in
// less time.
constexpr std::chrono::seconds kOwnerTimeout{10};

// How long shutdown waits for a log copy. A working storage finishes earlier, and a second program
// waits longer for the lock.
constexpr std::chrono::seconds kLogCopyTimeout{5};
// How long shutdown then waits for the thread of the log copy, which only counts the capture.
constexpr std::chrono::seconds kCaptureTimeout{2};

// EFL crashes when it cannot open a file. A start opens about 30 files, and a log copy 15.
constexpr int kNeededFiles = 64;
constexpr rlim_t kUsualFileLimit = 1024;

void RaiseFileLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < kUsualFileLimit) {
        limit.rlim_cur = std::min(kUsualFileLimit, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Opens the files, since the files that are already open count too.
bool CanOpenNeededFiles() {
    std::vector<int> files;
    while (files.size() < kNeededFiles) {
        const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (file < 0) {
            break;
        }
        files.push_back(file);
    }
    std::for_each(files.begin(), files.end(), close);
    return files.size() == kNeededFiles;
}

// Seconds between two frames of a minimised window. The toolkit would draw 60 frames a second.
constexpr double kPausedFrameTime = 3600;

// The signals that end the program. Ecore handles them in the main loop and also replaces the
// SIG_IGN of nohup, so the first call must come before Ecore starts.
const sigset_t& EndingSignals() {
    static const sigset_t signals = [] {
        sigset_t chosen;
        sigemptyset(&chosen);
        sigaddset(&chosen, SIGTERM);
        sigaddset(&chosen, SIGINT);
        struct sigaction hangup {};
        sigaction(SIGHUP, nullptr, &hangup);
        if (hangup.sa_handler != SIG_IGN) {
            sigaddset(&chosen, SIGHUP);
        }
        return chosen;
    }();
    return signals;
}

// how: SIG_BLOCK or SIG_UNBLOCK.
void SetSignalMask(int how) {
    pthread_sigmask(how, &EndingSignals(), nullptr);
}

// Whether one of the blocked signals has arrived.
bool IsEndPending() {
    sigset_t pending;
    sigpending(&pending);
    sigandset(&pending, &pending, &EndingSignals());
    return sigisemptyset(&pending) == 0;
}

// Upstream EFL ends its main loop at SIGTERM and SIGINT only.
void OnHangup(void*, const Efl_Event*) {
    if (sigismember(&EndingSignals(), SIGHUP) == 1) {
        elm_exit();
    }
}

std::vector<Ecore_Evas*> Windows() {
    std::vector<Ecore_Evas*> windows;
    Eina_List* list = ecore_evas_ecore_evas_list_get();
    void* window = nullptr;
    EINA_LIST_FREE(list, window) {
        windows.push_back(static_cast<Ecore_Evas*>(window));
    }
    return windows;
}

bool IsMinimised() {
    const std::vector<Ecore_Evas*> windows = Windows();
    return std::any_of(windows.begin(), windows.end(), ecore_evas_iconified_get);
}

// Without result files, the screen looks like the screen of a run without failures.
void ReportMissingResultFiles() {
    const std::string folder = DataFolder() + "/";
    if (access((folder + kMainResultFile).c_str(), F_OK) != 0 &&
        access((folder + kRnscResultFile).c_str(), F_OK) != 0) {
        LogError(DataFolder() + ": no " + kMainResultFile + " or " + kRnscResultFile + " found");
    }
}

// Calls the callbacks of the application in the order of the platform and delivers launch requests.
// Owned by ui_app_main; main-loop thread only.
class Application {
public:
    Application(const ui_app_lifecycle_callback_s& callbacks, void* userData,
                const std::string& socketPath)
        : m_Callbacks(callbacks),
          m_UserData(userData),
          m_Server(socketPath, [this](KeyValues values, RequestServer::Sender sender) {
              m_Enqueue({{std::move(values)}, sender});
          }) {}
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // Runs the application from create to terminate. first: the launch request of this process.
    // Returns an app_error_e.
    int Run(int argc, char** argv, KeyValues first);

private:
    // sender: 0 for the launch request of this process, which has no waiting sender.
    struct Request {
        app_control_s control;
        RequestServer::Sender sender;
    };

    int m_RunUi(KeyValues first);
    int m_RunLoop(KeyValues first);
    void m_Enqueue(Request request);
    void m_Deliver();

    static void OnDeliver(void* data) { static_cast<Application*>(data)->m_Deliver(); }
    static void OnPause(void* data, const Efl_Event* event);
    static void OnResume(void* data, const Efl_Event* event);

    const ui_app_lifecycle_callback_s& m_Callbacks;
    void* m_UserData;
    RequestServer m_Server;
    std::deque<Request> m_Requests;
    Ecore_Job* m_Delivery = nullptr;  // pending while a request waits
    bool m_IsPaused = false;
    double m_FrameTime = 0;  // of the animator, in seconds; kept while the application is paused
};

int Application::Run(int argc, char** argv, KeyValues first) {
    // m_Server has initialised Ecore, which unblocks the signals and handles them in the main loop.
    // Until then they stay pending: a signal while a window opens can break the connection to the X
    // server. Reading the result files stops when a signal is pending.
    SetSignalMask(SIG_BLOCK);
    if (!FindDisplay() || !m_Server.Listen()) {
        return APP_ERROR_INVALID_CONTEXT;
    }
    // Efreet's helper process would outlive this process and keep the terminal open.
    efreet_cache_disable();
    if (elm_init(argc, argv) == 0) {
        LogError("cannot initialise EFL; check its installation");
        return APP_ERROR_INVALID_CONTEXT;
    }
    const int result = StartUi() ? m_RunUi(std::move(first)) : APP_ERROR_INVALID_CONTEXT;
    StopUi();
    m_Server.Close();
    elm_shutdown();
    return result;
}

// As on the set, terminate is called only after create has succeeded.
int Application::m_RunUi(KeyValues first) {
    elm_policy_set(ELM_POLICY_QUIT, ELM_POLICY_QUIT_LAST_WINDOW_CLOSED);
    if (m_Callbacks.create != nullptr && !m_Callbacks.create(m_UserData)) {
        LogError("the create callback of the application failed; see the log");
        return APP_ERROR_INVALID_CONTEXT;
    }
    const int result = m_RunLoop(std::move(first));
    // A sender without an answer starts the application again in its own process.
    m_Server.Close();
    if (m_Callbacks.terminate != nullptr) {
        m_Callbacks.terminate(m_UserData);
    }
    return result;
}

int Application::m_RunLoop(KeyValues first) {
    if (Windows().empty()) {
        LogError("no window was opened; check DISPLAY and WAYLAND_DISPLAY");
        return APP_ERROR_INVALID_CONTEXT;
    }
    ReportMissingResultFiles();
    FinishUi();
    Efl_Object* loop = efl_main_loop_get();
    efl_event_callback_add(loop, EFL_APP_EVENT_PAUSE, OnPause, this);
    efl_event_callback_add(loop, EFL_APP_EVENT_RESUME, OnResume, this);
    efl_event_callback_add(loop, EFL_APP_EVENT_SIGNAL_HUP, OnHangup, nullptr);
    m_Enqueue({{{std::move(first)}}, 0});
    SetSignalMask(SIG_UNBLOCK);
    elm_run();
    // The program already ends. Another signal could break the connection to the X server, or
    // arrive after Ecore has closed its pipe.
    SetSignalMask(SIG_BLOCK);
    if (!m_Requests.empty()) {
        // EFL would run the job during its shutdown.
        ecore_job_del(m_Delivery);
    }
    efl_event_callback_del(loop, EFL_APP_EVENT_PAUSE, OnPause, this);
    efl_event_callback_del(loop, EFL_APP_EVENT_RESUME, OnResume, this);
    efl_event_callback_del(loop, EFL_APP_EVENT_SIGNAL_HUP, OnHangup, nullptr);
    return APP_ERROR_NONE;
}

void Application::m_Enqueue(Request request) {
    m_Requests.push_back(std::move(request));
    if (m_Requests.size() == 1) {
        m_Delivery = ecore_job_add(OnDeliver, this);
    }
}

// Delivers one request in each iteration of the main loop. A request that ends the loop therefore
// leaves later requests undelivered, and their senders start the application again.
void Application::m_Deliver() {
    Request& request = m_Requests.front();
    if (request.sender != 0 && request.control.request.values.empty()) {
        // A second start on the same files.
        for (Ecore_Evas* window : Windows()) {
            ecore_evas_raise(window);
            ecore_evas_activate(window);
        }
    }
    if (m_Callbacks.app_control != nullptr) {
        m_Callbacks.app_control(&request.control, m_UserData);
    }
    m_Server.Accept(request.sender);
    m_Requests.pop_front();
    if (!m_Requests.empty()) {
        m_Delivery = ecore_job_add(OnDeliver, this);
    }
}

// EFL also reports a pause when the last window closes, and a resume when the first window opens.
void Application::OnPause(void* data, const Efl_Event*) {
    auto* self = static_cast<Application*>(data);
    if (self->m_IsPaused || !IsMinimised()) {
        return;
    }
    self->m_IsPaused = true;
    self->m_FrameTime = ecore_animator_frametime_get();
    ecore_animator_frametime_set(kPausedFrameTime);
    if (self->m_Callbacks.pause != nullptr) {
        self->m_Callbacks.pause(self->m_UserData);
    }
}

void Application::OnResume(void* data, const Efl_Event*) {
    auto* self = static_cast<Application*>(data);
    if (!self->m_IsPaused) {
        return;
    }
    self->m_IsPaused = false;
    ecore_animator_frametime_set(self->m_FrameTime);
    if (self->m_Callbacks.resume != nullptr) {
        self->m_Callbacks.resume(self->m_UserData);
    }
}

int RunAsOwner(int argc, char** argv, const ui_app_lifecycle_callback_s& callbacks, void* userData,
               const std::string& socketPath, KeyValues first) {
    EndingSignals();
    LimitXmlInput([](const std::string& line) { LogError(line); }, ResultFileLinks::kFollow,
                  IsEndPending);
    RaiseFileLimit();
    if (!CanOpenNeededFiles()) {
        LogError("cannot open " + std::to_string(kNeededFiles) +
                 " files at once; raise the limit: ulimit -n " + std::to_string(kUsualFileLimit));
        return APP_ERROR_INVALID_CONTEXT;
    }
    PrepareToolkit();
    const int result =
        Application(callbacks, userData, socketPath).Run(argc, argv, std::move(first));
    if (!AwaitLogCopies(kLogCopyTimeout)) {
        LogError("shutdown stops a log copy; the next log copy removes its temporary folder");
    } else if (!AwaitLogCopyThreads(kCaptureTimeout)) {
        LogError("shutdown stops a capture after its log copy; its counter may be too low");
    }
    return result;
}

}  // namespace

}  // namespace quorvel::desktop

int ui_app_main(int argc, char** argv, ui_app_lifecycle_callback_s* callback, void* user_data) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    if (argc < 1 || argv == nullptr || callback == nullptr) {
        return APP_ERROR_INVALID_PARAMETER;
    }
    KeyValues request;
    if (const char* invalid = ReadArguments(argc, argv, request)) {
        LogError(std::string(invalid) +
                 ": not of the form KEY=VALUE; usage: quorvel [KEY=VALUE...]");
        return APP_ERROR_INVALID_PARAMETER;
    }
    std::string why;
    const std::string folder = RuntimeFolder(why);
    if (folder.empty()) {
        LogError(why);
        return APP_ERROR_INVALID_CONTEXT;
    }
    // quorvel-view sets the variables, since the data folder is then a private copy.
    Instance instance(folder,
                      EnvironmentValue("QUORVEL_RUN_IDENTITY", FolderIdentity(DataFolder())),
                      EnvironmentValue("QUORVEL_RUN_PATH", DataFolder()));
    switch (instance.ClaimOrHandOver(request, kOwnerTimeout, why)) {
        case Instance::Claim::kOwner:
            return RunAsOwner(argc, argv, *callback, user_data, SocketPath(folder),
                              std::move(request));
        case Instance::Claim::kHandedOver:
            LogInfo("the running quorvel has accepted the launch request");
            return APP_ERROR_NONE;
        case Instance::Claim::kFailed:
            LogError(why);
            break;
    }
    return APP_ERROR_ALREADY_RUNNING;
}
