#include "QELApp.h"

#include <Elementary.h>
#include <app_control_internal.h>
#include <bundle.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "QELUtil.h"
#include "QELWindow.h"
#include "quorvel.h"

namespace {

const char* const kLaunchCounterFile =
    "/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data/num_of_launch";
const char* const kFlagFile = "/tmp/qel_first_execute";
const char* const kRequestKey = "EXEPARAM";
const char kCloseValue[] = "CLOSE";

// Intentional: only the first five characters are compared, so "CLOSED" is a close request too.
bool IsCloseValue(const char* value) {
    return value != nullptr && std::strncmp(value, kCloseValue, sizeof(kCloseValue) - 1) == 0;
}

// Creates or empties the flag file. Returns false when the file cannot be opened or is not a
// regular file. A FIFO does not block the call.
bool CreateFlagFile() {
    const int file =
        open(kFlagFile, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    struct stat status {};
    const bool isRegular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    close(file);
    return isRegular;
}

}  // namespace

QELWindow* QELApp::m_QelWindow = nullptr;

bool QELApp::s_Create(void* data) {
    QEL_LOGI("s_Create is called");
    if (data == nullptr) {
        QEL_LOGE("void* parameter is not valid");
        return false;
    }
    if (m_QelWindow != nullptr) {
        return true;
    }
    m_QelWindow = new (std::nothrow) QELWindow();
    if (m_QelWindow == nullptr) {
        QEL_LOGE("QELWindow creation is failed.");
        return false;
    }
    m_QelWindow->Create(static_cast<_appdata*>(data));
    return true;
}

void QELApp::s_Terminate(void* data) {
    QEL_LOGI("s_Terminate is called");
    if (data == nullptr) {
        QEL_LOGE("void* parameter is not valid");
        return;
    }
    m_DestroyWindow(data);
}

void QELApp::s_Pause(void* /*data*/) {
    QEL_LOGI("s_Pause is called");
}

void QELApp::s_Resume(void* /*data*/) {
    QEL_LOGI("s_Resume is called");
}

void QELApp::s_Control(app_control_h app_control, void* data) {
    QEL_LOGI("s_Control is called");
    if (data == nullptr) {
        return;
    }
    // Intentional: the bundle is not freed. The value below belongs to the bundle.
    bundle* request = nullptr;
    if (app_control_to_bundle(app_control, &request) != 0) {
        QEL_LOGE("failed to initialize tempBundle");
        return;
    }
    char* value = nullptr;
    bundle_get_str(request, kRequestKey, &value);
    if (IsCloseValue(value)) {
        m_DestroyWindow(data);
        elm_exit();
        return;
    }
    QELUtil::IncreaseCount(kLaunchCounterFile);
    if (!CreateFlagFile()) {
        QEL_LOGE("failed to create flag file");
    }
}

void QELApp::m_DestroyWindow(void* data) {
    if (m_QelWindow != nullptr) {
        m_QelWindow->Destroy(static_cast<_appdata*>(data));
        delete m_QelWindow;
        m_QelWindow = nullptr;
    }
}
