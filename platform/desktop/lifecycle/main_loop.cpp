#include <Ecore.h>
#include <Efl_Core.h>
#include <Efreet.h>
#include <Elementary.h>
#include <app.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>

#include "lifecycle/display.h"
#include "lifecycle/launch_request.h"
#include "lifecycle/owner.h"
#include "lifecycle/request_server.h"
#include "log/log.h"
#include "log_copy/log_copy.h"
#include "paths.h"
#include "toolkit/ui_setup.h"
#include "toolkit/window.h"
#include "xml_input.h"

namespace quorvel::desktop {

namespace {

namespace fs = std::filesystem;

// How long a second program waits for the owner. The owner starts with the largest result files in
// less time.
constexpr std::chrono::seconds kOwnerTimeout{10};

// How long shutdown waits for a log copy. Shorter than kOwnerTimeout, so that a second program
// still gets the lock.
constexpr std::chrono::seconds kLogCopyTimeout{5};
// How long shutdown then waits for the worker of the capture, which only counts the capture.
constexpr std::chrono::seconds kCaptureTimeout{2};

// EFL crashes when it cannot open a file. A start opens about 30 files, and a log copy 15.
constexpr rlim_t kNeededFiles = 64;
constexpr rlim_t kUsualFileLimit = 1024;

// Raises the limit on open files to the usual limit if possible. Returns whether the process can
// open the needed files besides the files that are already open.
bool CanOpenNeededFiles() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < kUsualFileLimit) {
        limit.rlim_cur = std::min(kUsualFileLimit, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    std::error_code error;
    const auto open = std::distance(fs::directory_iterator("/proc/self/fd", error), {});
    return static_cast<rlim_t>(open) + kNeededFiles <= limit.rlim_cur;
}

// The signals that end the program. Ecore replaces the SIG_IGN of nohup, so the first call must
// come before Ecore starts.
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

// Whether one of the blocked signals has arrived.
bool IsEndPending() {
    sigset_t pending;
    sigpending(&pending);
    sigandset(&pending, &pending, &EndingSignals());
    return sigisemptyset(&pending) == 0;
}

Eina_Bool OnEndingSignal(void*, Ecore_Fd_Handler*) {
    elm_exit();
    return ECORE_CALLBACK_RENEW;
}

// Without result files, the screen is the same as for a run without failures.
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
    // first: the launch request of this process.
    Application(const ui_app_lifecycle_callback_s& callbacks, void* userData,
                const std::string& socketPath, KeyValues first)
        : m_Callbacks(callbacks),
          m_UserData(userData),
          m_Server(socketPath, [this](KeyValues values, RequestServer::Sender sender) {
              m_Enqueue({{{std::move(values)}}, sender});
          }) {
        m_Requests.push_back({{{std::move(first)}}, RequestServer::kNoSender});
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // Runs the application from create to terminate. Returns an app_error_e.
    int Run(int argc, char** argv);

private:
    struct Request {
        app_control_s control;
        RequestServer::Sender sender;
    };

    int m_RunUi();
    int m_RunLoop();
    void m_Enqueue(Request request);
    void m_Deliver();

    static void m_OnDeliver(void* data) { static_cast<Application*>(data)->m_Deliver(); }
    static void m_OnPause(void* data, const Efl_Event* event);
    static void m_OnRestored(void* data, Evas_Object* window, void* event);
    static void m_OnResume(void* data, const Efl_Event* event);

    const ui_app_lifecycle_callback_s& m_Callbacks;
    void* m_UserData;
    RequestServer m_Server;
    std::deque<Request> m_Requests;
    Ecore_Job* m_Delivery = nullptr;  // pending while a request waits in the main loop
    bool m_IsPaused = false;
    Ecore_Animator_Source m_FrameSource{};  // of the frames before the last pause
};

int Application::Run(int argc, char** argv) {
    // m_Server has initialised Ecore, which unblocks the signals. A signal could break the
    // connection to the X server while a window opens or closes, so the signals stay pending. The
    // main loop and the reading of the result files stop when a signal is pending.
    pthread_sigmask(SIG_BLOCK, &EndingSignals(), nullptr);
    if (!FindDisplay() || !m_Server.Listen()) {
        return APP_ERROR_INVALID_CONTEXT;
    }
    // Efreet's helper process would outlive this process and keep the terminal open.
    efreet_cache_disable();
    if (elm_init(argc, argv) == 0) {
        LogError("cannot initialise EFL; check its installation");
        return APP_ERROR_INVALID_CONTEXT;
    }
    const int result = StartUi() ? m_RunUi() : APP_ERROR_INVALID_CONTEXT;
    StopUi();
    elm_shutdown();
    return result;
}

// As on the set, terminate is called only after create has succeeded.
int Application::m_RunUi() {
    elm_policy_set(ELM_POLICY_QUIT, ELM_POLICY_QUIT_LAST_WINDOW_CLOSED);
    if (m_Callbacks.create != nullptr && !m_Callbacks.create(m_UserData)) {
        LogError("the create callback of the application failed; see the log");
        return APP_ERROR_INVALID_CONTEXT;
    }
    const int result = m_RunLoop();
    // A sender without an answer starts the application again in its own process.
    m_Server.Close();
    if (m_Callbacks.terminate != nullptr) {
        m_Callbacks.terminate(m_UserData);
    }
    return result;
}

int Application::m_RunLoop() {
    if (MainWindow() == nullptr) {
        LogError("no window was opened; check DISPLAY and WAYLAND_DISPLAY");
        return APP_ERROR_INVALID_CONTEXT;
    }
    ReportMissingResultFiles();
    FinishUi();
    Efl_Object* loop = efl_main_loop_get();
    efl_event_callback_add(loop, EFL_APP_EVENT_PAUSE, m_OnPause, this);
    efl_event_callback_add(loop, EFL_APP_EVENT_RESUME, m_OnResume, this);
    evas_object_smart_callback_add(MainWindow(), "normal", m_OnRestored, this);
    const int signals = signalfd(-1, &EndingSignals(), SFD_CLOEXEC);
    Ecore_Fd_Handler* handler = ecore_main_fd_handler_add(signals, ECORE_FD_READ, OnEndingSignal,
                                                          nullptr, nullptr, nullptr);
    m_Delivery = ecore_job_add(m_OnDeliver, this);
    elm_run();
    if (!m_Requests.empty()) {
        // EFL would run the job during its shutdown.
        ecore_job_del(m_Delivery);
    }
    ecore_main_fd_handler_del(handler);
    close(signals);
    efl_event_callback_del(loop, EFL_APP_EVENT_PAUSE, m_OnPause, this);
    efl_event_callback_del(loop, EFL_APP_EVENT_RESUME, m_OnResume, this);
    return APP_ERROR_NONE;
}

void Application::m_Enqueue(Request request) {
    m_Requests.push_back(std::move(request));
    if (m_Requests.size() == 1) {
        m_Delivery = ecore_job_add(m_OnDeliver, this);
    }
}

// Delivers one request in each iteration of the main loop. A request that ends the loop therefore
// leaves later requests undelivered, and their senders start the application again.
void Application::m_Deliver() {
    Request& request = m_Requests.front();
    if (request.sender != RequestServer::kNoSender && request.control.request.values.empty()) {
        // A second start on the same files.
        elm_win_raise(MainWindow());
        elm_win_activate(MainWindow());
    }
    if (m_Callbacks.app_control != nullptr) {
        m_Callbacks.app_control(&request.control, m_UserData);
    }
    m_Server.Accept(request.sender);
    m_Requests.pop_front();
    if (!m_Requests.empty()) {
        m_Delivery = ecore_job_add(m_OnDeliver, this);
    }
}

// EFL also reports a pause when the last window closes, and a resume when the first window opens.
void Application::m_OnPause(void* data, const Efl_Event*) {
    auto* self = static_cast<Application*>(data);
    if (self->m_IsPaused || elm_win_iconified_get(MainWindow()) == EINA_FALSE) {
        return;
    }
    self->m_IsPaused = true;
    self->m_FrameSource = ecore_animator_source_get();
    ecore_animator_source_set(ECORE_ANIMATOR_SOURCE_CUSTOM);
    if (self->m_Callbacks.pause != nullptr) {
        self->m_Callbacks.pause(self->m_UserData);
    }
}

// Without frames, EFL neither draws nor reports the resume. EFL also calls this function when the
// window opens.
void Application::m_OnRestored(void* data, Evas_Object*, void*) {
    auto* self = static_cast<Application*>(data);
    if (self->m_IsPaused) {
        ecore_animator_source_set(self->m_FrameSource);
    }
}

void Application::m_OnResume(void* data, const Efl_Event*) {
    auto* self = static_cast<Application*>(data);
    if (!self->m_IsPaused) {
        return;
    }
    self->m_IsPaused = false;
    if (self->m_Callbacks.resume != nullptr) {
        self->m_Callbacks.resume(self->m_UserData);
    }
}

int RunAsOwner(int argc, char** argv, const ui_app_lifecycle_callback_s& callbacks, void* userData,
               const std::string& socketPath, KeyValues first) {
    EndingSignals();
    LimitXmlInput([](const std::string& line) { LogError(line); }, ResultFileLinks::kFollow,
                  IsEndPending);
    if (!CanOpenNeededFiles()) {
        LogError("cannot open " + std::to_string(kNeededFiles) +
                 " files at once; raise the limit: ulimit -n " + std::to_string(kUsualFileLimit));
        return APP_ERROR_INVALID_CONTEXT;
    }
    PrepareToolkit();
    const int result =
        Application(callbacks, userData, socketPath, std::move(first)).Run(argc, argv);
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
    for (int i = 1; i < argc; ++i) {
        // entry.cpp has rejected arguments of another form, except "--".
        AddKeyValue(request, argv[i]);
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
