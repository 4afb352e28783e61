#include <app.h>

#include "QELApp.h"
#include "quorvel.h"

int main(int argc, char** argv) {
    // Intentional: the start line is an error line.
    QEL_LOGE("quorvel is launched.");
    _appdata ad = {};
    ui_app_lifecycle_callback_s callbacks = {};
    callbacks.create = QELApp::s_Create;
    callbacks.terminate = QELApp::s_Terminate;
    callbacks.pause = QELApp::s_Pause;
    callbacks.resume = QELApp::s_Resume;
    callbacks.app_control = QELApp::s_Control;

    const int result = ui_app_main(argc, argv, &callbacks, &ad);
    if (result != 0) {
        QEL_LOGE("app_main() is failed. err = [%d]", result);
    }
    return result;
}
